#include "jet/long_value_writer.h"

namespace px::jet {

size_t MaxLongValueRow(const JetFormat& f) {
  // A page less its header, one offset entry and 4 bytes.
  return f.page_size - f.data_row_table - 2 - 4;
}

LongValueKind ChooseLongValueKind(const JetFormat& f, size_t size, bool inline_fits) {
  if (size <= kMaxInlineLongValue && inline_fits) return LongValueKind::kInline;
  if (size <= MaxLongValueRow(f)) return LongValueKind::kSingle;
  return LongValueKind::kChain;
}

size_t ChainPieceSize(const JetFormat& f) {
  return MaxLongValueRow(f) - kChainPointerSize;
}

std::array<uint8_t, kLongValueHeaderSize> LongValueDescriptor(LongValueKind kind, uint32_t length,
                                                              RowPointer first) {
  std::array<uint8_t, kLongValueHeaderSize> out{};
  uint32_t word = length & kLongValueLengthMask;
  if (kind == LongValueKind::kInline) word |= kLongValueInline;
  if (kind == LongValueKind::kSingle) word |= kLongValueSingle;
  StoreLe32(&out[0], word);
  if (kind != LongValueKind::kInline) StoreLe32(&out[4], EncodeRowPointer(first));
  return out;
}

std::vector<uint8_t> InlineLongValue(Bytes payload) {
  auto d = LongValueDescriptor(LongValueKind::kInline, uint32_t(payload.size()), {});
  std::vector<uint8_t> out(d.begin(), d.end());
  out.insert(out.end(), payload.begin(), payload.end());
  return out;
}

std::vector<uint8_t> ChainRow(RowPointer next, Bytes piece) {
  std::vector<uint8_t> out(kChainPointerSize);
  StoreLe32(out.data(), EncodeRowPointer(next));
  out.insert(out.end(), piece.begin(), piece.end());
  return out;
}

}  // namespace px::jet
