#include "jet/index_page.h"

#include <algorithm>

namespace px::jet {

namespace {

constexpr size_t kFreeSpaceOffset = 2;

size_t MaxPrefix(const JetFormat& f) {
  return f.version == JetVersion::kJet3 ? 0xFF : 0xFFFF;
}

// Entries are in ascending order, so the first entry shares least with the last one; and
// a later entry, being larger, always keeps at least one byte of its own.
size_t CommonPrefix(const JetFormat& f, Bytes first, Bytes last) {
  const size_t n = std::min({first.size(), last.size() - 1, MaxPrefix(f)});
  size_t k = 0;
  while (k < n && first[k] == last[k]) ++k;
  return k;
}

size_t CommonPrefix(const JetFormat& f, const std::vector<EntryBytes>& entries) {
  if (entries.size() < 2) return 0;
  return CommonPrefix(f, entries.front(), entries.back());
}

size_t EntryArea(const JetFormat& f) {
  return f.page_size - f.index_first_entry;
}

}  // namespace

size_t IndexEntryArea(const JetFormat& f) {
  return EntryArea(f);
}

size_t IndexEntriesBytes(const JetFormat& f, Bytes first, Bytes last, size_t total, size_t count) {
  if (count < 2) return total;
  return total - CommonPrefix(f, first, last) * (count - 1);
}

bool IndexPageFits(const JetFormat& f, const std::vector<EntryBytes>& entries) {
  if (entries.empty()) return true;
  size_t total = 0;
  for (const auto& e : entries) total += e.size();
  return IndexEntriesBytes(f, entries.front(), entries.back(), total, entries.size()) <=
         EntryArea(f);
}

Result<IndexPage> DecodeIndexPage(const JetFormat& f, Bytes page, const std::string& where) {
  if (page.size() != f.page_size ||
      (page[0] != page_type::kIndexLeaf && page[0] != page_type::kIndexNode)) {
    return Status::Corruption(where + ": not an index page");
  }
  IndexPage out;
  out.leaf = page[0] == page_type::kIndexLeaf;
  out.prev = LoadLe32(&page[f.index_prev_page]);
  out.next = LoadLe32(&page[f.index_next_page]);
  out.tail = LoadLe32(&page[f.index_tail_page]);
  const size_t prefix = f.version == JetVersion::kJet3 ? page[f.index_prefix_len]
                                                       : LoadLe16(&page[f.index_prefix_len]);
  const size_t area = EntryArea(f);
  const size_t min_entry = kIndexRowPointerSize + (out.leaf ? 0 : kIndexChildSize);
  size_t start = 0;
  for (size_t k = 0; k <= area && f.index_bitmask + k / 8 < f.index_first_entry; ++k) {
    if (!(page[f.index_bitmask + k / 8] & (1u << (k % 8)))) continue;
    Bytes stored = page.subspan(f.index_first_entry + start, k - start);
    EntryBytes e;
    if (!out.entries.empty()) {
      if (prefix > out.entries.front().size()) {
        return Status::Corruption(where + ": prefix of " + std::to_string(prefix) +
                                  " bytes is longer than the first entry");
      }
      e.assign(out.entries.front().begin(), out.entries.front().begin() + prefix);
    }
    e.insert(e.end(), stored.begin(), stored.end());
    if (e.size() < min_entry) {
      return Status::Corruption(where + ": index entry " + std::to_string(out.entries.size()) +
                                " of " + std::to_string(e.size()) + " bytes is too short");
    }
    out.entries.push_back(std::move(e));
    start = k;
  }
  return out;
}

Status EncodeIndexPage(const JetFormat& f, const IndexPage& page, uint32_t owner,
                       MutableBytes out) {
  const size_t prefix = CommonPrefix(f, page.entries);
  size_t total = 0;
  for (size_t i = 0; i < page.entries.size(); ++i) {
    total += page.entries[i].size() - (i == 0 ? 0 : prefix);
  }
  if (total > EntryArea(f)) {
    return Status::InvalidArgument("index entries of " + std::to_string(total) +
                                   " bytes do not fit a page");
  }
  std::fill(out.begin(), out.end(), 0);
  out[0] = page.leaf ? page_type::kIndexLeaf : page_type::kIndexNode;
  out[1] = 0x01;
  StoreLe16(&out[kFreeSpaceOffset], uint16_t(EntryArea(f) - total));
  StoreLe32(&out[f.data_owner], owner);
  StoreLe32(&out[f.index_prev_page], page.prev);
  StoreLe32(&out[f.index_next_page], page.next);
  StoreLe32(&out[f.index_tail_page], page.leaf ? 0 : page.tail);
  out[f.index_prefix_len] = uint8_t(prefix);
  if (f.version != JetVersion::kJet3) out[f.index_prefix_len + 1] = uint8_t(prefix >> 8);
  size_t pos = 0;
  for (size_t i = 0; i < page.entries.size(); ++i) {
    const EntryBytes& e = page.entries[i];
    const size_t skip = i == 0 ? 0 : prefix;
    std::copy(e.begin() + skip, e.end(), out.begin() + f.index_first_entry + pos);
    pos += e.size() - skip;
    out[f.index_bitmask + pos / 8] |= uint8_t(1u << (pos % 8));
  }
  return Status::Ok();
}

RowPointer EntryRowPointer(const EntryBytes& e, bool leaf) {
  const size_t at = e.size() - kIndexRowPointerSize - (leaf ? 0 : kIndexChildSize);
  return RowPointer{LoadBe24(&e[at]), e[at + 3]};
}

uint32_t EntryChild(const EntryBytes& e) {
  return LoadBe32(&e[e.size() - kIndexChildSize]);
}

EntryBytes EntryWithoutChild(const EntryBytes& e) {
  return EntryBytes(e.begin(), e.end() - kIndexChildSize);
}

EntryBytes LeafEntry(Bytes key, RowPointer row) {
  EntryBytes e(key.begin(), key.end());
  e.insert(e.end(), {uint8_t(row.page >> 16), uint8_t(row.page >> 8), uint8_t(row.page), row.row});
  return e;
}

EntryBytes NodeEntry(const EntryBytes& leaf_entry, uint32_t child) {
  EntryBytes e = leaf_entry;
  e.insert(e.end(),
           {uint8_t(child >> 24), uint8_t(child >> 16), uint8_t(child >> 8), uint8_t(child)});
  return e;
}

}  // namespace px::jet
