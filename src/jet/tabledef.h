#pragma once
// Table definitions (TDEF pages, type 0x02). A definition may span several pages: bytes
// 4..7 of each page name the next one (0 = last); the logical definition is the first page
// followed by every continuation page from its byte 8 on. Order of the logical definition:
//
//   header (43 / 63 bytes, offsets in JetFormat::tdef_*)
//   per real index:   8 / 12 bytes (bytes 4..7: unique entry count)
//   per column:       18 / 25 bytes (offsets in JetFormat::col_*)
//   column names:     Jet 3 length byte + code-page bytes; Jet 4 16-bit byte length + UTF-16LE
//   per real index:   39 / 52 bytes: 10 x (column number 16, order 8), used-pages map
//                     pointer, root page, flags (offsets in JetFormat::real_idx_*)
//   per logical index: 20 / 28 bytes: number, real index, related table type, related
//                     index, related table page, cascade bytes, type (JetFormat::logical_idx_*)
//   logical index names, same encoding as column names
//   per long-value column: column number, owned and free map pointers; ends with FF FF
//
// These structures serve reading and writing alike: a writer fills them and encodes.

#include <cstdint>
#include <string>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/page_source.h"

namespace px::jet {

struct ColumnDef {
  std::string name;           // UTF-8
  uint8_t type = 0;           // coltype::*
  uint16_t number = 0;        // column id; bit in the null mask
  uint16_t var_index = 0;     // slot in the variable-offset table (variable columns)
  uint16_t fixed_offset = 0;  // from the start of the fixed area (fixed columns)
  uint16_t length = 0;        // bytes (0 for Memo/OLE)
  uint8_t flags = 0;
  uint8_t extra_flags = 0;
  uint8_t precision = 0;     // Numeric
  uint8_t scale = 0;         // Numeric
  uint16_t sort_order = 0;   // Text/Memo LCID
  uint8_t sort_version = 0;  // Jet 4 Text/Memo sort-order version (0 legacy, 1 General)
  uint16_t code_page = 0;    // Jet 3 Text/Memo

  // The stored column block as read (empty for a new column): bytes the reader does not
  // interpret survive a rewrite of the definition.
  std::vector<uint8_t> raw;

  bool fixed() const { return (flags & colflag::kFixed) != 0; }
  bool long_value() const { return type == coltype::kMemo || type == coltype::kOle; }
  bool autonumber() const { return (flags & (colflag::kAutoLong | colflag::kAutoGuid)) != 0; }
};

struct IndexColumn {
  uint16_t column_number = 0;
  bool ascending = true;
};

struct RealIndex {
  std::vector<IndexColumn> columns;
  RowPointer used_map;
  uint32_t root_page = 0;
  uint8_t flags = 0;  // idxflag::*
  uint32_t unique_entry_count = 0;
  std::vector<uint8_t> raw;           // stored definition block, as for ColumnDef::raw
  std::vector<uint8_t> raw_preamble;  // stored per-index preamble
  bool unique() const { return (flags & idxflag::kUnique) != 0; }
};

struct LogicalIndex {
  std::string name;
  uint32_t number = 0;
  uint32_t real_index = 0;
  uint8_t related_table_type = 0;
  int32_t related_index = -1;
  uint32_t related_table_page = 0;
  uint8_t type = kLogicalIndexPlain;
  std::vector<uint8_t> raw;  // stored definition block, as for ColumnDef::raw
};

// Where the pages of one Memo/OLE column are listed.
struct LongValueMaps {
  uint16_t column_number = 0;
  RowPointer owned;
  RowPointer free;
};

struct TableDef {
  uint32_t page = 0;
  std::vector<uint32_t> pages;  // every TDEF page, first to last
  uint32_t row_count = 0;
  uint32_t autonumber_last = 0;
  int32_t autonumber_increment = 1;  // the next value is the last issued plus this
  uint8_t table_type = 0;
  uint16_t max_cols = 0;  // high-water of column ids: the column count written in rows
  uint16_t var_cols = 0;
  std::vector<ColumnDef> columns;  // in the order of the definition
  std::vector<RealIndex> real_indexes;
  std::vector<LogicalIndex> logical_indexes;
  RowPointer owned_map;
  RowPointer free_map;
  std::vector<LongValueMaps> long_value_maps;  // empty when the list is absent
  std::vector<uint8_t> raw_header;             // stored header, as for ColumnDef::raw

  // Index into `columns` of the column with id `number`, or -1.
  int ColumnByNumber(uint16_t number) const;
};

// TDEF page layout: byte 0 type, 1 = 0x01, 2..3 free space (Jet 4), 4..7 next page;
// continuation pages carry the definition on from byte 8.
inline constexpr size_t kTdefFreeSpace = 2;
inline constexpr size_t kTdefNextPage = 4;
inline constexpr size_t kTdefContinuationStart = 8;
inline constexpr size_t kTdefLength = 8;  // logical length, in the definition's header
// Jet 4 record marker at the start of the header, each column and each logical index.
inline constexpr uint16_t kTdefRecordMarker = 1625;
// Jet 4 marker at the start of each real index definition.
inline constexpr uint16_t kRealIndexMarker = 1923;
inline constexpr uint16_t kUnusedIndexColumn = 0xFFFF;
inline constexpr uint8_t kIndexColumnAscending = 0x01;

// Limits that a sane definition stays within; anything larger is reported as corruption.
inline constexpr size_t kMaxTableDefPages = 512;
inline constexpr size_t kMaxColumns = 255;
inline constexpr size_t kMaxIndexes = 1024;

// Reads the definition starting at `page`. `code_page` decodes Jet 3 names; `what` names
// the table in messages.
Result<TableDef> ReadTableDef(Pager& pager, const JetFormat& f, uint32_t page, int code_page,
                              const std::string& what);

}  // namespace px::jet
