#include "jet/long_value.h"

#include <unordered_set>

#include "jet/data_page.h"

namespace px::jet {

namespace {

constexpr size_t kChainPointerSize = 4;

uint64_t Key(RowPointer p) {
  return uint64_t(p.page) << 8 | p.row;
}

Result<std::vector<uint8_t>> ReadChain(Pager& pager, const JetFormat& f, RowPointer first,
                                       uint32_t length, const std::string& where) {
  std::vector<uint8_t> out;
  std::unordered_set<uint64_t> seen;
  RowPointer ptr = first;
  while (out.size() < length) {
    if (ptr.page == 0) {
      return Status::Corruption(where + ": long value chain ends after " +
                                std::to_string(out.size()) + " of " + std::to_string(length) +
                                " bytes");
    }
    if (!seen.insert(Key(ptr)).second) {
      return Status::Corruption(where + ": long value chain loops at page " +
                                std::to_string(ptr.page) + " row " + std::to_string(ptr.row));
    }
    Page holder;
    auto row = ReadRowAt(pager, f, ptr, holder);
    if (!row.ok()) return row.status().WithContext(where + ": long value chain");
    if (row->size() <= kChainPointerSize) {
      return Status::Corruption(where + ": long value chain row at page " +
                                std::to_string(ptr.page) + " row " + std::to_string(ptr.row) +
                                " holds no data");
    }
    const size_t take = std::min<size_t>(row->size() - kChainPointerSize, length - out.size());
    out.insert(out.end(), row->begin() + kChainPointerSize,
               row->begin() + kChainPointerSize + take);
    ptr = DecodeRowPointer(LoadLe32(row->data()));
  }
  return out;
}

}  // namespace

Result<std::vector<uint8_t>> ReadLongValue(Pager& pager, const JetFormat& f, Bytes descriptor,
                                           const std::string& where) {
  if (descriptor.size() < kLongValueHeaderSize) {
    return Status::Corruption(where + ": long value descriptor of " +
                              std::to_string(descriptor.size()) + " bytes");
  }
  const uint32_t word = LoadLe32(descriptor.data());
  const uint32_t length = word & kLongValueLengthMask;
  const RowPointer first = DecodeRowPointer(LoadLe32(descriptor.data() + 4));
  if (word & kLongValueInline) {
    if (length > descriptor.size() - kLongValueHeaderSize) {
      return Status::Corruption(where + ": inline long value of " + std::to_string(length) +
                                " bytes does not fit its " + std::to_string(descriptor.size()) +
                                "-byte column");
    }
    auto data = descriptor.subspan(kLongValueHeaderSize, length);
    return std::vector<uint8_t>(data.begin(), data.end());
  }
  if (length > pager.page_count() * uint64_t(pager.page_size())) {
    return Status::Corruption(where + ": long value claims " + std::to_string(length) +
                              " bytes, more than the file holds");
  }
  if (word & kLongValueSingle) {
    Page holder;
    auto row = ReadRowAt(pager, f, first, holder);
    if (!row.ok()) return row.status().WithContext(where + ": long value");
    if (row->size() < length) {
      return Status::Corruption(where + ": long value row at page " + std::to_string(first.page) +
                                " holds " + std::to_string(row->size()) + " of " +
                                std::to_string(length) + " bytes");
    }
    return std::vector<uint8_t>(row->begin(), row->begin() + length);
  }
  return ReadChain(pager, f, first, length, where);
}

}  // namespace px::jet
