#pragma once
// Damaged copies of an Access file: cut short at several points, or with one structure
// broken on purpose (header fields, page numbers, counts, offsets, usage maps, long value
// pointers) or with bytes flipped at random from fixed seeds. The same file always gives
// the same copies.

#include <cstdint>
#include <string>
#include <vector>

namespace px::testing {

struct DamagedCopy {
  std::string label;  // what was broken, usable in a file name ("tdef-p2-next-self")
  std::vector<uint8_t> bytes;
};

std::vector<DamagedCopy> MakeDamagedCopies(const std::vector<uint8_t>& original);

}  // namespace px::testing
