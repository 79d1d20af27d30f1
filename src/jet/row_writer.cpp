#include "jet/row_writer.h"

namespace px::jet {

namespace {

constexpr size_t kJet3Boundary = 256;
constexpr uint8_t kJet3DummyJump = 0xFF;

size_t FixedSize(const ColumnDef& c) {
  return c.type == coltype::kBoolean ? 0 : c.length;
}

Status RowError(const std::string& where, const std::string& what) {
  return Status::InvalidArgument(Located(where, what));
}

// Appends the Jet 3 tail (eod, offsets last slot first, jump table, slot count) for
// variable data ending at `offsets.back()`; `mask_size` bytes of null mask follow it.
Status AppendJet3Tail(std::vector<uint8_t>& row, const std::vector<size_t>& offsets,
                      size_t mask_size, const std::string& where, std::vector<uint8_t>& jump) {
  const size_t nvar = offsets.size() - 1;
  const size_t eod = offsets.back();
  size_t jumps = 0;
  size_t length = 0;
  while (true) {
    length = eod + 1 + nvar + jumps + 1 + mask_size;
    if ((length - 1) / kJet3Boundary <= jumps) break;
    ++jumps;
  }
  const size_t real = std::min(jumps, eod / kJet3Boundary);
  if (real + 1 < jumps || nvar > 255) {
    return RowError(where, "row's variable-column table is too large for a Jet 3 row");
  }
  jump.assign(jumps, kJet3DummyJump);
  for (size_t j = 0, slot = 0; j < real; ++j) {
    while (offsets[slot] < kJet3Boundary * (j + 1)) ++slot;
    jump[j] = uint8_t(slot);
  }
  row.push_back(uint8_t(eod));
  for (size_t i = nvar; i-- > 0;) row.push_back(uint8_t(offsets[i]));
  for (size_t j = jumps; j-- > 0;) row.push_back(jump[j]);
  row.push_back(uint8_t(nvar));
  return Status::Ok();
}

void AppendJet4Tail(std::vector<uint8_t>& row, const std::vector<size_t>& offsets) {
  auto put16 = [&row](size_t v) {
    row.push_back(uint8_t(v));
    row.push_back(uint8_t(v >> 8));
  };
  const size_t nvar = offsets.size() - 1;
  put16(offsets.back());
  for (size_t i = nvar; i-- > 0;) put16(offsets[i]);
  put16(nvar);
}

}  // namespace

size_t MaxRowSize(const JetFormat& f) {
  return f.version == JetVersion::kJet3 ? 2012 : 4060;
}

Result<std::vector<uint8_t>> EncodeRow(const JetFormat& f, const TableDef& def,
                                       std::span<const ColumnData> columns,
                                       const std::string& where, size_t pad_to) {
  std::vector<uint8_t> row;
  PX_RETURN_IF_ERROR(EncodeRow(f, def, columns, where, row, pad_to));
  return row;
}

Status EncodeRow(const JetFormat& f, const TableDef& def, std::span<const ColumnData> columns,
                 const std::string& where, std::vector<uint8_t>& row, size_t pad_to) {
  if (columns.size() != def.columns.size()) {
    return RowError(where, "row has " + std::to_string(columns.size()) + " values for " +
                               std::to_string(def.columns.size()) + " columns");
  }
  // Scratch kept from row to row.
  static thread_local std::vector<int> by_slot;
  static thread_local std::vector<size_t> offsets;
  static thread_local std::vector<uint8_t> jump;
  const size_t count = def.max_cols;
  const size_t mask_size = (count + 7) / 8;
  size_t fixed_size = 0;
  by_slot.assign(def.var_cols, -1);
  for (size_t i = 0; i < def.columns.size(); ++i) {
    const ColumnDef& c = def.columns[i];
    if (c.number >= count) {
      return RowError(where, "column " + c.name + " has id " + std::to_string(c.number) +
                                 " past the column count " + std::to_string(count));
    }
    const ColumnData& d = columns[i];
    if (c.fixed()) {
      fixed_size = std::max(fixed_size, size_t(c.fixed_offset) + FixedSize(c));
      if (!d.null && c.type != coltype::kBoolean && d.bytes.size() != FixedSize(c)) {
        return RowError(where, "column " + c.name + " has " + std::to_string(d.bytes.size()) +
                                   " bytes, its type takes " + std::to_string(FixedSize(c)));
      }
    } else {
      if (c.var_index >= def.var_cols || by_slot[c.var_index] >= 0) {
        return RowError(
            where, "column " + c.name + " has a bad variable slot " + std::to_string(c.var_index));
      }
      by_slot[c.var_index] = int(i);
    }
  }
  size_t padding = 0;
  if (pad_to > 0) {
    PX_ASSIGN_OR_RETURN(auto plain, EncodeRow(f, def, columns, where));
    if (plain.size() > pad_to || (plain.size() < pad_to && f.row_count_size == 1)) {
      return RowError(where, "row of " + std::to_string(plain.size()) +
                                 " bytes cannot fill a slot of " + std::to_string(pad_to));
    }
    padding = pad_to - plain.size();
  }
  row.assign(f.row_count_size + fixed_size, 0);
  row[0] = uint8_t(count);
  if (f.row_count_size == 2) row[1] = uint8_t(count >> 8);
  for (size_t i = 0; i < def.columns.size(); ++i) {
    const ColumnDef& c = def.columns[i];
    if (!c.fixed() || columns[i].null || c.type == coltype::kBoolean) continue;
    std::copy(columns[i].bytes.begin(), columns[i].bytes.end(),
              row.begin() + f.row_count_size + c.fixed_offset);
  }
  if (def.var_cols > 0) {
    offsets.clear();
    for (int i : by_slot) {
      offsets.push_back(row.size());
      if (i >= 0 && !columns[i].null) {
        row.insert(row.end(), columns[i].bytes.begin(), columns[i].bytes.end());
      }
    }
    offsets.push_back(row.size());
    row.insert(row.end(), padding, 0);
    if (f.row_count_size == 1) {
      PX_RETURN_IF_ERROR(AppendJet3Tail(row, offsets, mask_size, where, jump));
    } else {
      AppendJet4Tail(row, offsets);
    }
  } else {
    row.insert(row.end(), padding, 0);
  }
  const size_t mask_at = row.size();
  row.resize(mask_at + mask_size, 0);
  for (size_t i = 0; i < def.columns.size(); ++i) {
    const ColumnDef& c = def.columns[i];
    const ColumnData& d = columns[i];
    if (c.type == coltype::kBoolean ? d.bit : !d.null) {
      row[mask_at + c.number / 8] |= uint8_t(1 << (c.number % 8));
    }
  }
  if (row.size() > MaxRowSize(f)) {
    return RowError(where, "row of " + std::to_string(row.size()) + " bytes exceeds the " +
                               std::to_string(MaxRowSize(f)) + " a page holds");
  }
  return Status::Ok();
}

}  // namespace px::jet
