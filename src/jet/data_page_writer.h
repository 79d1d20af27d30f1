#pragma once
// Writing data pages (layout in data_page.h): a fresh page, rows appended below the last
// one, rows flagged deleted. Rows are never moved: a deleted row keeps its bytes and its
// offset so that its neighbours' lengths stay computable, and its space is not counted
// free again (Jet reclaims it when it compacts).
//
// The free-space field always equals the gap between the end of the offset table and the
// start of the lowest row: page_size - 14 on a fresh Jet 4 page, each row then costing its
// length plus its 2-byte offset entry.

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "core/bytes.h"
#include "core/result.h"
#include "jet/format.h"

namespace px::jet {

// Owner field of long-value pages: ASCII "LVAL".
inline constexpr uint32_t kLongValuePageOwner = 0x4C41564Cu;
// A row pointer has one byte for the row number.
inline constexpr size_t kMaxRowsPerDataPage = 255;

void InitDataPage(const JetFormat& f, MutableBytes page, uint32_t owner);

// Free bytes as the page's geometry gives them (Corruption when its offsets make no sense).
Result<size_t> DataPageFreeSpace(const JetFormat& f, Bytes page, const std::string& where);

// True when a row of `row_size` bytes (plus its offset entry) still fits.
bool DataPageFits(const JetFormat& f, Bytes page, size_t row_size);

// Appends a row and returns its row number. `where` ("file: page 12") leads messages.
Result<uint8_t> AppendDataRow(const JetFormat& f, MutableBytes page, Bytes row,
                              const std::string& where);
// The same without a message: nullopt when the row does not fit (or the page is not a
// sound data page), the page then unchanged.
std::optional<uint8_t> TryAppendDataRow(const JetFormat& f, MutableBytes page, Bytes row);

// Flags row `row` deleted (its bytes stay). Deleting a deleted row is an error.
Status MarkDataRowDeleted(const JetFormat& f, MutableBytes page, uint16_t row,
                          const std::string& where);

// Start and end offsets of row `row` within the page, checked against the page and the
// neighbouring rows.
Result<std::pair<size_t, size_t>> DataRowBounds(const JetFormat& f, Bytes page, uint16_t row,
                                                const std::string& where);

// Overwrites row `row` with bytes of exactly its current length.
Status OverwriteDataRow(const JetFormat& f, MutableBytes page, uint16_t row, Bytes bytes,
                        const std::string& where);

}  // namespace px::jet
