#pragma once
// Long values (Memo, OLE, property blobs). The row holds a 12-byte descriptor:
//
//   0..3   length in the low 30 bits; 0x80000000 = data inline after the descriptor,
//          0x40000000 = data in one LVAL row, neither = a chain of LVAL rows
//   4..7   row pointer of the first LVAL row (row byte, 24-bit page)
//   8..11  unused
// Each row of a chain starts with the 4-byte pointer of the next row (0 = last).

#include <cstdint>
#include <string>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/page_source.h"

namespace px::jet {

// Reads the whole value a descriptor names. The declared length caps what is collected,
// chains are followed once per row (a loop is corruption), and a chain that ends early
// is corruption. `where` names the row and column in messages.
Result<std::vector<uint8_t>> ReadLongValue(Pager& pager, const JetFormat& f, Bytes descriptor,
                                           const std::string& where);

}  // namespace px::jet
