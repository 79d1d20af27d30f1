#pragma once
// Long values for storage (descriptor layout in long_value.h). A payload of at most 64
// bytes goes inline when the row has room for it; up to one LVAL row's worth (2032 bytes
// Jet 3, 4076 Jet 4) goes into a single row; anything longer is a chain of LVAL rows, each
// starting with the pointer of the next (0 on the last) and carrying at most a row's worth
// less those 4 bytes.

#include <array>
#include <cstdint>
#include <vector>

#include "core/bytes.h"
#include "jet/format.h"

namespace px::jet {

inline constexpr size_t kMaxInlineLongValue = 64;
inline constexpr size_t kChainPointerSize = 4;

enum class LongValueKind { kInline, kSingle, kChain };

// Largest row on an LVAL page.
size_t MaxLongValueRow(const JetFormat& f);

// How a payload of `size` bytes is stored; `inline_fits` says whether the row has room
// for it beside the descriptor.
LongValueKind ChooseLongValueKind(const JetFormat& f, size_t size, bool inline_fits);

// Payload bytes carried by each row of a chain.
size_t ChainPieceSize(const JetFormat& f);

// The 12-byte descriptor of a value stored in LVAL rows starting at `first`.
std::array<uint8_t, kLongValueHeaderSize> LongValueDescriptor(LongValueKind kind, uint32_t length,
                                                              RowPointer first);

// The column bytes of an inline value: descriptor then the payload.
std::vector<uint8_t> InlineLongValue(Bytes payload);

// One row of a chain: the next row's pointer (page 0 = last), then the piece.
std::vector<uint8_t> ChainRow(RowPointer next, Bytes piece);

// A row pointer as stored little-endian: row byte, then 24-bit page.
inline uint32_t EncodeRowPointer(RowPointer p) {
  return p.page << 8 | p.row;
}

}  // namespace px::jet
