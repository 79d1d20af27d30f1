#include "jet/tabledef_writer.h"

#include <algorithm>
#include <optional>

#include "jet/text.h"
#include "platform/codepage.h"

namespace px::jet {

namespace {

void Put16(std::vector<uint8_t>& out, uint16_t v) {
  out.push_back(uint8_t(v));
  out.push_back(uint8_t(v >> 8));
}
void Put32(std::vector<uint8_t>& out, uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(uint8_t(v >> (8 * i)));
}
uint32_t PointerValue(RowPointer p) {
  return p.page << 8 | p.row;
}

// A block of `size` bytes: the stored one when there is one, else zeros.
std::vector<uint8_t> Block(const std::vector<uint8_t>& raw, size_t size) {
  std::vector<uint8_t> b = raw;
  b.resize(size, 0);
  return b;
}

// Jet 4: 16-bit byte length and UTF-16LE; Jet 3: a length byte and the file's code page.
Status AppendName(std::vector<uint8_t>& out, const JetFormat& f, int code_page,
                  const std::string& utf8, const std::string& what) {
  std::vector<uint8_t> bytes;
  if (f.text_is_unicode) {
    size_t i = 0;
    while (i < utf8.size()) {
      std::optional<uint32_t> cp = NextUtf8(utf8, i);
      if (!cp) return Status::InvalidArgument(what + ": the name is not valid UTF-8");
      AppendUtf16Le(bytes, *cp);
    }
  } else {
    Result<std::string> encoded = EncodeCodePage(code_page, utf8);
    if (!encoded.ok()) {
      return Status::InvalidArgument(what + ": the name cannot be written in code page " +
                                     std::to_string(code_page) + " (" + encoded.status().message() +
                                     ")");
    }
    bytes.assign(encoded->begin(), encoded->end());
  }
  const size_t chars = f.text_is_unicode ? bytes.size() / 2 : bytes.size();
  if (chars > kMaxNameChars) {
    return Status::InvalidArgument(what + ": the name is longer than " +
                                   std::to_string(kMaxNameChars) + " characters");
  }
  if (f.name_length_size == 1) {
    out.push_back(uint8_t(bytes.size()));
  } else {
    Put16(out, uint16_t(bytes.size()));
  }
  out.insert(out.end(), bytes.begin(), bytes.end());
  return Status::Ok();
}

}  // namespace

Result<std::vector<uint8_t>> EncodeTableDef(const JetFormat& f, const TableDef& def,
                                            int code_page) {
  const bool jet4 = f.version == JetVersion::kJet4;
  std::vector<uint8_t> out = Block(def.raw_header, f.tdef_header_size);
  std::fill(out.begin(), out.begin() + kTdefContinuationStart, uint8_t{0});
  uint8_t* h = out.data();
  if (jet4) {
    StoreLe16(h + 0x0C, kTdefRecordMarker);
    StoreLe32(h + f.tdef_autonumber_increment, uint32_t(def.autonumber_increment));
  }
  StoreLe32(h + f.tdef_row_count, def.row_count);
  StoreLe32(h + f.tdef_autonumber, def.autonumber_last);
  h[f.tdef_table_type] = def.table_type;
  StoreLe16(h + f.tdef_max_cols, def.max_cols);
  StoreLe16(h + f.tdef_var_cols, def.var_cols);
  StoreLe16(h + f.tdef_num_cols, uint16_t(def.columns.size()));
  StoreLe32(h + f.tdef_num_logical, uint32_t(def.logical_indexes.size()));
  StoreLe32(h + f.tdef_num_real, uint32_t(def.real_indexes.size()));
  StoreLe32(h + f.tdef_owned_map, PointerValue(def.owned_map));
  StoreLe32(h + f.tdef_free_map, PointerValue(def.free_map));

  for (const RealIndex& r : def.real_indexes) {
    std::vector<uint8_t> pre = Block(r.raw_preamble, f.tdef_real_preamble);
    StoreLe32(&pre[4], r.unique_entry_count);
    out.insert(out.end(), pre.begin(), pre.end());
  }
  for (const ColumnDef& c : def.columns) {
    std::vector<uint8_t> b = Block(c.raw, f.col_size);
    b[f.col_type] = c.type;
    if (jet4) StoreLe16(&b[1], kTdefRecordMarker);
    StoreLe16(&b[f.col_number], c.number);
    StoreLe16(&b[f.col_var_index], c.var_index);
    // The column id again, which readers ignore.
    if (c.raw.empty()) StoreLe16(&b[jet4 ? 9 : 5], c.number);
    if (c.type == coltype::kNumeric) {
      b[f.col_precision] = c.precision;
      b[f.col_scale] = c.scale;
    } else if (c.type == coltype::kText || c.type == coltype::kMemo) {
      StoreLe16(&b[f.col_sort_order], c.sort_order);
      if (f.col_code_page != 0) StoreLe16(&b[f.col_code_page], c.code_page);
    }
    b[f.col_flags] = c.flags;
    if (f.col_extra_flags != 0) b[f.col_extra_flags] = c.extra_flags;
    StoreLe16(&b[f.col_fixed_offset], c.fixed_offset);
    StoreLe16(&b[f.col_length], c.length);
    out.insert(out.end(), b.begin(), b.end());
  }
  for (const ColumnDef& c : def.columns) {
    PX_RETURN_IF_ERROR(AppendName(out, f, code_page, c.name, "column " + c.name));
  }
  for (const RealIndex& r : def.real_indexes) {
    std::vector<uint8_t> b = Block(r.raw, f.real_idx_size);
    if (jet4) StoreLe16(&b[0], kRealIndexMarker);
    if (r.columns.size() > kMaxIndexColumns) {
      return Status::InvalidArgument("an index has more than 10 columns");
    }
    for (size_t k = 0; k < kMaxIndexColumns; ++k) {
      uint8_t* p = &b[f.real_idx_columns + 3 * k];
      if (k < r.columns.size()) {
        StoreLe16(p, r.columns[k].column_number);
        p[2] = r.columns[k].ascending ? kIndexColumnAscending : 0;
      } else {
        StoreLe16(p, kUnusedIndexColumn);
        if (r.raw.empty()) p[2] = 0;
      }
    }
    StoreLe32(&b[f.real_idx_used_map], PointerValue(r.used_map));
    StoreLe32(&b[f.real_idx_root], r.root_page);
    b[f.real_idx_flags] = r.flags;
    out.insert(out.end(), b.begin(), b.end());
  }
  for (const LogicalIndex& l : def.logical_indexes) {
    std::vector<uint8_t> b = Block(l.raw, f.logical_idx_size);
    if (jet4) StoreLe16(&b[0], kTdefRecordMarker);
    StoreLe32(&b[f.logical_idx_number], l.number);
    StoreLe32(&b[f.logical_idx_real], l.real_index);
    b[f.logical_idx_rel_type] = l.related_table_type;
    StoreLe32(&b[f.logical_idx_rel_index], uint32_t(l.related_index));
    StoreLe32(&b[f.logical_idx_rel_table], l.related_table_page);
    if (l.raw.empty()) {
      // Access writes 04 04 in the cascade bytes of indexes that are not foreign keys.
      b[f.logical_idx_type - 2] = 0x04;
      b[f.logical_idx_type - 1] = 0x04;
    }
    b[f.logical_idx_type] = l.type;
    out.insert(out.end(), b.begin(), b.end());
  }
  for (const LogicalIndex& l : def.logical_indexes) {
    PX_RETURN_IF_ERROR(AppendName(out, f, code_page, l.name, "index " + l.name));
  }
  for (const LongValueMaps& m : def.long_value_maps) {
    Put16(out, m.column_number);
    Put32(out, PointerValue(m.owned));
    Put32(out, PointerValue(m.free));
  }
  Put16(out, kUnusedIndexColumn);
  StoreLe32(&out[kTdefLength], uint32_t(out.size()));
  return out;
}

Status StoreTableDef(PageStore& store, TableDef& def, int code_page) {
  const JetFormat& f = store.format();
  PX_ASSIGN_OR_RETURN(std::vector<uint8_t> bytes, EncodeTableDef(f, def, code_page));
  const size_t page_size = store.page_size();
  const size_t per_next_page = page_size - kTdefContinuationStart;
  size_t needed = 1;
  if (bytes.size() > page_size) {
    needed += (bytes.size() - page_size + per_next_page - 1) / per_next_page;
  }
  if (def.pages.empty()) def.pages.push_back(def.page);
  while (def.pages.size() < needed) {
    PX_ASSIGN_OR_RETURN(MutablePage added, store.Allocate(page_type::kTableDef, 0));
    def.pages.push_back(added.number());
  }
  while (def.pages.size() > needed) {
    PX_RETURN_IF_ERROR(store.Free(def.pages.back()));
    def.pages.pop_back();
  }
  size_t at = 0;
  for (size_t i = 0; i < def.pages.size(); ++i) {
    PX_ASSIGN_OR_RETURN(MutablePage page, store.Modify(def.pages[i]));
    MutableBytes p = page.bytes();
    std::fill(p.begin(), p.end(), uint8_t{0});
    const size_t start = i == 0 ? 0 : kTdefContinuationStart;
    const size_t take = std::min(bytes.size() - at, page_size - start);
    std::copy(bytes.begin() + long(at), bytes.begin() + long(at + take), p.begin() + long(start));
    at += take;
    p[0] = page_type::kTableDef;
    p[1] = 0x01;
    if (f.version == JetVersion::kJet4) {
      StoreLe16(&p[kTdefFreeSpace], uint16_t(page_size - kTdefContinuationStart - take));
    } else {
      p[2] = 'V';
      p[3] = 'C';
    }
    StoreLe32(&p[kTdefNextPage], i + 1 < def.pages.size() ? def.pages[i + 1] : 0);
  }
  return Status::Ok();
}

}  // namespace px::jet
