#pragma once
// Builds pages by hand for tests of the decoders: data pages with rows packed from the
// end, and whole in-memory files of such pages.

#include <cstdint>
#include <string>
#include <vector>

#include "core/bytes.h"
#include "jet/format.h"

namespace px::jet::testing {

inline std::vector<uint8_t> Utf16(const std::u16string& s) {
  std::vector<uint8_t> out;
  for (char16_t c : s) {
    out.push_back(uint8_t(c));
    out.push_back(uint8_t(c >> 8));
  }
  return out;
}

inline void Append16(std::vector<uint8_t>& v, uint16_t x) {
  v.push_back(uint8_t(x));
  v.push_back(uint8_t(x >> 8));
}
inline void Append32(std::vector<uint8_t>& v, uint32_t x) {
  for (int i = 0; i < 4; ++i) v.push_back(uint8_t(x >> (8 * i)));
}

// A data page owned by `owner` holding `rows` (row 0 at the end of the page). `flags`, when
// given, are OR-ed into each row's offset entry.
inline std::vector<uint8_t> DataPage(const JetFormat& f, uint32_t owner,
                                     const std::vector<std::vector<uint8_t>>& rows,
                                     const std::vector<uint16_t>& flags = {}) {
  std::vector<uint8_t> page(f.page_size, 0);
  page[0] = page_type::kData;
  page[1] = 0x01;
  StoreLe32(&page[f.data_owner], owner);
  StoreLe16(&page[f.data_row_count], uint16_t(rows.size()));
  size_t end = f.page_size;
  for (size_t i = 0; i < rows.size(); ++i) {
    const size_t start = end - rows[i].size();
    std::copy(rows[i].begin(), rows[i].end(), page.begin() + start);
    const uint16_t flag = i < flags.size() ? flags[i] : 0;
    StoreLe16(&page[f.data_row_table + 2 * i], uint16_t(start | flag));
    end = start;
  }
  return page;
}

// A file of whole pages.
inline std::vector<uint8_t> Join(const std::vector<std::vector<uint8_t>>& pages) {
  std::vector<uint8_t> out;
  for (const auto& p : pages) out.insert(out.end(), p.begin(), p.end());
  return out;
}

}  // namespace px::jet::testing
