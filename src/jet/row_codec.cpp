#include "jet/row_codec.h"

#include <array>

namespace px::jet {

namespace {

constexpr size_t kMaxVarSlots = 256;  // Jet 4 keeps fewer; Jet 3 counts them in one byte

struct RowLayout {
  size_t count = 0;        // columns recorded in the row
  size_t fixed_start = 0;  // start of the fixed area
  size_t var_count = 0;    // variable slots recorded in the row
  Bytes null_mask;
  // var_count + 1 entries (last = end of var data); on the stack, as rows are many.
  std::array<size_t, kMaxVarSlots + 1> var_offsets;
};

Status RowError(const std::string& where, const std::string& what) {
  return Status::Corruption(Located(where, what));
}

// Jet 3 variable offsets: one byte each, plus 256 for every jump-table entry at or below
// the slot.
Status ReadJet3VarOffsets(Bytes row, RowLayout& l, const std::string& where) {
  const size_t mask_start = row.size() - l.null_mask.size();
  if (mask_start < 2) return RowError(where, "row too short for its variable-column count");
  l.var_count = row[mask_start - 1];
  size_t num_jumps = (row.size() - 1) / 256;
  const size_t needed = 1 + num_jumps + l.var_count + 1;
  if (needed > mask_start) return RowError(where, "variable-column table does not fit the row");
  const size_t col_ptr = mask_start - 1 - num_jumps - 1;  // offset of slot 0
  // The last jump entry is a dummy when the offset table itself ends before its boundary.
  if (num_jumps > 0 && (col_ptr - l.var_count) / 256 < num_jumps) --num_jumps;
  size_t jumps_used = 0;
  for (size_t i = 0; i <= l.var_count; ++i) {
    while (jumps_used < num_jumps && i == row[mask_start - 2 - jumps_used]) ++jumps_used;
    l.var_offsets[i] = row[col_ptr - i] + 256 * jumps_used;
  }
  return Status::Ok();
}

Status ReadJet4VarOffsets(Bytes row, RowLayout& l, const std::string& where) {
  const size_t mask_start = row.size() - l.null_mask.size();
  if (mask_start < 4) return RowError(where, "row too short for its variable-column count");
  l.var_count = LoadLe16(&row[mask_start - 2]);
  if (l.var_count >= kMaxVarSlots || 2 * (l.var_count + 1) + 2 + 2 > mask_start) {
    return RowError(
        where, "variable-column count " + std::to_string(l.var_count) + " does not fit the row");
  }
  for (size_t i = 0; i <= l.var_count; ++i) {
    l.var_offsets[i] = LoadLe16(&row[mask_start - 4 - 2 * i]);
  }
  return Status::Ok();
}

Status ReadLayout(const JetFormat& f, const TableDef& def, Bytes row, RowLayout& l,
                  const std::string& where) {
  if (row.size() < f.row_count_size + 1) return RowError(where, "row is too short");
  l.count = f.row_count_size == 1 ? row[0] : LoadLe16(row.data());
  const size_t mask_size = (l.count + 7) / 8;
  if (mask_size + f.row_count_size >= row.size()) {
    return RowError(where, "null mask of " + std::to_string(l.count) +
                               " columns does not fit a row of " + std::to_string(row.size()) +
                               " bytes");
  }
  l.null_mask = row.subspan(row.size() - mask_size);
  l.fixed_start = f.row_count_size;
  const bool has_var = def.var_cols > 0;
  if (!has_var) return Status::Ok();
  if (f.row_count_size == 1) return ReadJet3VarOffsets(row, l, where);
  return ReadJet4VarOffsets(row, l, where);
}

bool MaskBit(const RowLayout& l, uint16_t number) {
  if (number >= l.count) return false;
  return (l.null_mask[number / 8] >> (number % 8)) & 1;
}

// Size in a row of a fixed column (Boolean takes none).
size_t FixedSize(const ColumnDef& c) {
  return c.type == coltype::kBoolean ? 0 : c.length;
}

}  // namespace

Status CrackRow(const JetFormat& f, const TableDef& def, Bytes row, std::vector<ColumnData>& out,
                const std::string& where) {
  RowLayout l;
  PX_RETURN_IF_ERROR(ReadLayout(f, def, row, l, where));
  out.assign(def.columns.size(), ColumnData{});
  // Variable data may not overlap the offset table; its end bounds every variable column.
  const size_t var_limit = row.size() - l.null_mask.size();
  for (size_t i = 0; i < def.columns.size(); ++i) {
    const ColumnDef& c = def.columns[i];
    ColumnData& d = out[i];
    const bool bit = MaskBit(l, c.number);
    if (c.type == coltype::kBoolean) {
      d.null = false;
      d.bit = bit;
      continue;
    }
    if (!bit) continue;
    if (c.fixed()) {
      const size_t start = l.fixed_start + c.fixed_offset;
      if (start + FixedSize(c) > var_limit) {
        return RowError(where, "fixed column " + c.name + " lies outside the row");
      }
      d.bytes = row.subspan(start, FixedSize(c));
    } else {
      if (c.var_index >= l.var_count) continue;  // added after this row was written
      const size_t start = l.var_offsets[c.var_index];
      const size_t end = l.var_offsets[c.var_index + 1];
      if (start > end || end > var_limit || start < l.fixed_start) {
        return RowError(where, "variable column " + c.name + " has bad bounds " +
                                   std::to_string(start) + ".." + std::to_string(end));
      }
      d.bytes = row.subspan(start, end - start);
    }
    d.null = false;
  }
  return Status::Ok();
}

}  // namespace px::jet
