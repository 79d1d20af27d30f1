#pragma once
// On-disk constants of the Jet 3 (Access 97) and Jet 4 (Access 2000-2003) database formats.
// Every offset that differs between the two versions lives in one JetFormat table; code
// asks the table instead of branching on the version. Offsets are from the start of the
// structure named in each group. Layout notes: docs in the header comments of the readers.

#include <cstddef>
#include <cstdint>

namespace px::jet {

enum class JetVersion { kJet3, kJet4 };

// First byte of every page.
namespace page_type {
inline constexpr uint8_t kHeader = 0x00;
inline constexpr uint8_t kData = 0x01;
inline constexpr uint8_t kTableDef = 0x02;
inline constexpr uint8_t kIndexNode = 0x03;
inline constexpr uint8_t kIndexLeaf = 0x04;
inline constexpr uint8_t kUsageMap = 0x05;
}  // namespace page_type

// Column type codes stored in a table definition.
namespace coltype {
inline constexpr uint8_t kBoolean = 0x01;
inline constexpr uint8_t kByte = 0x02;
inline constexpr uint8_t kInteger = 0x03;
inline constexpr uint8_t kLong = 0x04;
inline constexpr uint8_t kCurrency = 0x05;
inline constexpr uint8_t kSingle = 0x06;
inline constexpr uint8_t kDouble = 0x07;
inline constexpr uint8_t kDateTime = 0x08;
inline constexpr uint8_t kBinary = 0x09;
inline constexpr uint8_t kText = 0x0A;
inline constexpr uint8_t kOle = 0x0B;
inline constexpr uint8_t kMemo = 0x0C;
inline constexpr uint8_t kGuid = 0x0F;
inline constexpr uint8_t kNumeric = 0x10;
}  // namespace coltype

// Column flag bits (byte "flags" of a column definition).
namespace colflag {
inline constexpr uint8_t kFixed = 0x01;
inline constexpr uint8_t kAutoLong = 0x04;
inline constexpr uint8_t kAutoGuid = 0x40;
inline constexpr uint8_t kHyperlink = 0x80;
}  // namespace colflag
// Extra column flags (Jet 4 only).
inline constexpr uint8_t kColExtraCompressedUnicode = 0x01;

// Row offset table entry bits on data pages.
inline constexpr uint16_t kRowOffsetMask = 0x1FFF;
inline constexpr uint16_t kRowLookupFlag = 0x4000;
inline constexpr uint16_t kRowDeletedFlag = 0x8000;

// Real index flag bits.
namespace idxflag {
inline constexpr uint8_t kUnique = 0x01;
inline constexpr uint8_t kIgnoreNulls = 0x02;
inline constexpr uint8_t kRequired = 0x08;
}  // namespace idxflag

// Logical index types.
inline constexpr uint8_t kLogicalIndexPlain = 0;
inline constexpr uint8_t kLogicalIndexPrimary = 1;
inline constexpr uint8_t kLogicalIndexForeign = 2;
// Related-table type byte of a foreign-key logical index on the referenced (parent) side.
inline constexpr uint8_t kForeignKeyPrimaryTable = 0x01;

// Long-value descriptor: 12 bytes in the row, then the data when inline.
inline constexpr size_t kLongValueHeaderSize = 12;
inline constexpr uint32_t kLongValueInline = 0x80000000u;
inline constexpr uint32_t kLongValueSingle = 0x40000000u;
inline constexpr uint32_t kLongValueLengthMask = 0x3FFFFFFFu;

inline constexpr size_t kMaxIndexColumns = 10;

struct JetFormat {
  JetVersion version;
  uint32_t page_size;
  bool text_is_unicode;

  // Header page (page 0).
  size_t header_mask_length;  // bytes XOR-masked from offset 0x18
  size_t header_code_page;
  size_t header_sort_order;  // LCID of the database collation
  size_t header_db_key;

  // Data pages.
  size_t data_owner;      // owning TDEF page (4 bytes)
  size_t data_row_count;  // number of row slots (2 bytes)
  size_t data_row_table;  // first row offset entry

  // Table definition header.
  size_t tdef_row_count;
  size_t tdef_autonumber;
  // The AutoNumber increment (signed, 32 bits; Access writes 1); 0 = Jet 3 has none and
  // always counts by 1.
  size_t tdef_autonumber_increment;
  size_t tdef_table_type;
  size_t tdef_max_cols;
  size_t tdef_var_cols;
  size_t tdef_num_cols;
  size_t tdef_num_logical;
  size_t tdef_num_real;
  size_t tdef_owned_map;
  size_t tdef_free_map;
  size_t tdef_header_size;
  size_t tdef_real_preamble;  // per real index, right after the header

  // Column definition block.
  size_t col_size;
  size_t col_type;
  size_t col_number;
  size_t col_var_index;
  size_t col_sort_order;
  size_t col_code_page;  // 0 when the format has none
  size_t col_precision;
  size_t col_scale;
  size_t col_flags;
  size_t col_extra_flags;  // 0 when the format has none
  size_t col_fixed_offset;
  size_t col_length;
  size_t name_length_size;  // 1 (Jet 3, code-page bytes) or 2 (Jet 4, UTF-16LE bytes)

  // Real index definition block.
  size_t real_idx_size;
  size_t real_idx_columns;  // first of 10 (column number, order) triples
  size_t real_idx_used_map;
  size_t real_idx_root;
  size_t real_idx_flags;

  // Logical index definition block.
  size_t logical_idx_size;
  size_t logical_idx_number;
  size_t logical_idx_real;
  size_t logical_idx_rel_type;
  size_t logical_idx_rel_index;
  size_t logical_idx_rel_table;
  size_t logical_idx_type;

  // Rows.
  size_t row_count_size;  // width of the column count and var fields in a row (1 or 2)

  // Index pages.
  size_t index_prev_page;
  size_t index_next_page;
  size_t index_tail_page;
  size_t index_prefix_len;
  size_t index_prefix_len_size;  // 1 (Jet 3; the next byte is something else) or 2
  size_t index_bitmask;
  size_t index_first_entry;
};

inline constexpr JetFormat kJet3Format = {
    .version = JetVersion::kJet3,
    .page_size = 2048,
    .text_is_unicode = false,
    .header_mask_length = 126,
    .header_code_page = 0x3C,
    .header_sort_order = 0x3A,
    .header_db_key = 0x3E,
    .data_owner = 4,
    .data_row_count = 8,
    .data_row_table = 10,
    .tdef_row_count = 0x0C,
    .tdef_autonumber = 0x10,
    .tdef_autonumber_increment = 0,
    .tdef_table_type = 0x14,
    .tdef_max_cols = 0x15,
    .tdef_var_cols = 0x17,
    .tdef_num_cols = 0x19,
    .tdef_num_logical = 0x1B,
    .tdef_num_real = 0x1F,
    .tdef_owned_map = 0x23,
    .tdef_free_map = 0x27,
    .tdef_header_size = 43,
    .tdef_real_preamble = 8,
    .col_size = 18,
    .col_type = 0,
    .col_number = 1,
    .col_var_index = 3,
    .col_sort_order = 9,
    .col_code_page = 11,
    .col_precision = 11,
    .col_scale = 12,
    .col_flags = 13,
    .col_extra_flags = 0,
    .col_fixed_offset = 14,
    .col_length = 16,
    .name_length_size = 1,
    .real_idx_size = 39,
    .real_idx_columns = 0,
    .real_idx_used_map = 30,
    .real_idx_root = 34,
    .real_idx_flags = 38,
    .logical_idx_size = 20,
    .logical_idx_number = 0,
    .logical_idx_real = 4,
    .logical_idx_rel_type = 8,
    .logical_idx_rel_index = 9,
    .logical_idx_rel_table = 13,
    .logical_idx_type = 19,
    .row_count_size = 1,
    .index_prev_page = 8,
    .index_next_page = 12,
    .index_tail_page = 16,
    .index_prefix_len = 20,
    .index_prefix_len_size = 1,
    .index_bitmask = 22,
    .index_first_entry = 248,
};

inline constexpr JetFormat kJet4Format = {
    .version = JetVersion::kJet4,
    .page_size = 4096,
    .text_is_unicode = true,
    .header_mask_length = 128,
    .header_code_page = 0x3C,
    .header_sort_order = 0x6E,
    .header_db_key = 0x3E,
    .data_owner = 4,
    .data_row_count = 12,
    .data_row_table = 14,
    .tdef_row_count = 0x10,
    .tdef_autonumber = 0x14,
    .tdef_autonumber_increment = 0x18,
    .tdef_table_type = 0x28,
    .tdef_max_cols = 0x29,
    .tdef_var_cols = 0x2B,
    .tdef_num_cols = 0x2D,
    .tdef_num_logical = 0x2F,
    .tdef_num_real = 0x33,
    .tdef_owned_map = 0x37,
    .tdef_free_map = 0x3B,
    .tdef_header_size = 63,
    .tdef_real_preamble = 12,
    .col_size = 25,
    .col_type = 0,
    .col_number = 5,
    .col_var_index = 7,
    .col_sort_order = 11,
    .col_code_page = 0,
    .col_precision = 11,
    .col_scale = 12,
    .col_flags = 15,
    .col_extra_flags = 16,
    .col_fixed_offset = 21,
    .col_length = 23,
    .name_length_size = 2,
    .real_idx_size = 52,
    .real_idx_columns = 4,
    .real_idx_used_map = 34,
    .real_idx_root = 38,
    .real_idx_flags = 46,
    .logical_idx_size = 28,
    .logical_idx_number = 4,
    .logical_idx_real = 8,
    .logical_idx_rel_type = 12,
    .logical_idx_rel_index = 13,
    .logical_idx_rel_table = 17,
    .logical_idx_type = 23,
    .row_count_size = 2,
    .index_prev_page = 12,
    .index_next_page = 16,
    .index_tail_page = 20,
    .index_prefix_len = 24,
    .index_prefix_len_size = 2,
    .index_bitmask = 27,
    .index_first_entry = 480,
};

// A pointer to a row: page number (24 bits) and row slot (8 bits), as stored in TDEF usage
// map pointers, long-value chains and overflow rows: byte 0 = row, bytes 1..3 = page (LE).
struct RowPointer {
  uint32_t page = 0;
  uint8_t row = 0;
  bool operator==(const RowPointer&) const = default;
};
inline RowPointer DecodeRowPointer(uint32_t le_value) {
  return RowPointer{le_value >> 8, uint8_t(le_value & 0xFF)};
}

}  // namespace px::jet
