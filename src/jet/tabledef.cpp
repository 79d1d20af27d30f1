#include "jet/tabledef.h"

#include <unordered_set>

#include "jet/text.h"

namespace px::jet {

namespace {

class TdefParser {
 public:
  TdefParser(const JetFormat& f, std::vector<uint8_t> buf, int code_page, std::string where)
      : f_(f), buf_(std::move(buf)), code_page_(code_page), where_(std::move(where)) {}

  Status Parse(TableDef& def);

 private:
  Status Error(const std::string& what, size_t offset) const {
    return Status::Corruption(where_ + ": " + what + " at offset " + std::to_string(offset));
  }
  // Bytes [offset, offset+n) of the definition, or an error naming `what`.
  Result<Bytes> At(size_t offset, size_t n, const char* what) const {
    auto s = SubSpan(Bytes(buf_), offset, n);
    if (!s) return Error(std::string(what) + " runs past the end of the definition", offset);
    return *s;
  }
  Status ParseHeader(TableDef& def, uint32_t& num_real, uint32_t& num_logical, uint16_t& num_cols);
  Status ParseColumns(TableDef& def, uint16_t num_cols);
  Status ParseRealIndexes(TableDef& def, uint32_t num_real);
  Status ParseLogicalIndexes(TableDef& def, uint32_t num_logical);
  void ParseLongValueMaps(TableDef& def);
  Result<std::string> ParseName();

  const JetFormat& f_;
  std::vector<uint8_t> buf_;
  int code_page_;
  std::string where_;
  size_t pos_ = 0;
};

Status TdefParser::ParseHeader(TableDef& def, uint32_t& num_real, uint32_t& num_logical,
                               uint16_t& num_cols) {
  PX_ASSIGN_OR_RETURN(Bytes h, At(0, f_.tdef_header_size, "header"));
  def.raw_header.assign(h.begin(), h.end());
  def.row_count = LoadLe32(&h[f_.tdef_row_count]);
  def.autonumber_last = LoadLe32(&h[f_.tdef_autonumber]);
  if (f_.tdef_autonumber_increment != 0) {
    // A zero increment would issue one number forever; Jet's default is 1.
    const int32_t step = int32_t(LoadLe32(&h[f_.tdef_autonumber_increment]));
    def.autonumber_increment = step == 0 ? 1 : step;
  }
  def.table_type = h[f_.tdef_table_type];
  def.max_cols = LoadLe16(&h[f_.tdef_max_cols]);
  def.var_cols = LoadLe16(&h[f_.tdef_var_cols]);
  num_cols = LoadLe16(&h[f_.tdef_num_cols]);
  num_logical = LoadLe32(&h[f_.tdef_num_logical]);
  num_real = LoadLe32(&h[f_.tdef_num_real]);
  def.owned_map = DecodeRowPointer(LoadLe32(&h[f_.tdef_owned_map]));
  def.free_map = DecodeRowPointer(LoadLe32(&h[f_.tdef_free_map]));
  if (num_cols > kMaxColumns || num_cols > def.max_cols) {
    return Error("column count " + std::to_string(num_cols) + " (max id " +
                     std::to_string(def.max_cols) + ") is impossible",
                 f_.tdef_num_cols);
  }
  if (num_logical > kMaxIndexes || num_real > kMaxIndexes) {
    return Error("index counts " + std::to_string(num_real) + "/" + std::to_string(num_logical) +
                     " are impossible",
                 f_.tdef_num_logical);
  }
  pos_ = f_.tdef_header_size;
  return Status::Ok();
}

// Column type codes run from 0x01 (Boolean) to 0x14 (ACE date/time extended); system
// tables of Jet 4 files also carry codes such as 0x11. Anything above is damage.
bool IsJetColumnType(uint8_t type) {
  return type >= coltype::kBoolean && type <= 0x14;
}

Status TdefParser::ParseColumns(TableDef& def, uint16_t num_cols) {
  def.columns.resize(num_cols);
  for (ColumnDef& c : def.columns) {
    PX_ASSIGN_OR_RETURN(Bytes b, At(pos_, f_.col_size, "column definition"));
    c.raw.assign(b.begin(), b.end());
    c.type = b[f_.col_type];
    c.number = LoadLe16(&b[f_.col_number]);
    c.var_index = LoadLe16(&b[f_.col_var_index]);
    c.flags = b[f_.col_flags];
    c.extra_flags = f_.col_extra_flags ? b[f_.col_extra_flags] : 0;
    c.fixed_offset = LoadLe16(&b[f_.col_fixed_offset]);
    c.length = LoadLe16(&b[f_.col_length]);
    if (c.type == coltype::kNumeric) {
      c.precision = b[f_.col_precision];
      c.scale = b[f_.col_scale];
    }
    if (c.type == coltype::kText || c.type == coltype::kMemo) {
      c.sort_order = LoadLe16(&b[f_.col_sort_order]);
      c.code_page = f_.col_code_page ? LoadLe16(&b[f_.col_code_page]) : 0;
      // Jet 4 stores LCID (16), sort id (8), version (8) where Jet 3 has LCID, code page.
      c.sort_version = f_.col_code_page ? 0 : b[f_.col_sort_order + 3];
    }
    if (!IsJetColumnType(c.type)) {
      return Error("column type " + std::to_string(c.type) + " is not a column type", pos_);
    }
    if (c.number >= def.max_cols) {
      return Error("column id " + std::to_string(c.number) + " is not below the column count " +
                       std::to_string(def.max_cols),
                   pos_);
    }
    pos_ += f_.col_size;
  }
  for (ColumnDef& c : def.columns) {
    PX_ASSIGN_OR_RETURN(c.name, ParseName());
  }
  return Status::Ok();
}

Result<std::string> TdefParser::ParseName() {
  const size_t at = pos_;
  PX_ASSIGN_OR_RETURN(Bytes len_bytes, At(pos_, f_.name_length_size, "name length"));
  const size_t len = f_.name_length_size == 1 ? len_bytes[0] : LoadLe16(len_bytes.data());
  PX_ASSIGN_OR_RETURN(Bytes raw, At(pos_ + f_.name_length_size, len, "name"));
  pos_ += f_.name_length_size + len;
  auto name = f_.text_is_unicode ? DecodeUtf16Le(raw) : DecodeJet3Text(raw, code_page_);
  if (!name.ok()) return Error("bad name (" + name.status().message() + ")", at);
  return name;
}

Status TdefParser::ParseRealIndexes(TableDef& def, uint32_t num_real) {
  def.real_indexes.resize(num_real);
  for (RealIndex& r : def.real_indexes) {
    PX_ASSIGN_OR_RETURN(Bytes b, At(pos_, f_.real_idx_size, "index definition"));
    r.raw.assign(b.begin(), b.end());
    for (size_t k = 0; k < kMaxIndexColumns; ++k) {
      const uint8_t* p = &b[f_.real_idx_columns + 3 * k];
      const uint16_t col = LoadLe16(p);
      if (col == kUnusedIndexColumn) continue;
      if (def.ColumnByNumber(col) < 0) {
        return Error("index refers to missing column id " + std::to_string(col), pos_);
      }
      r.columns.push_back({col, (p[2] & kIndexColumnAscending) != 0});
    }
    r.used_map = DecodeRowPointer(LoadLe32(&b[f_.real_idx_used_map]));
    r.root_page = LoadLe32(&b[f_.real_idx_root]);
    r.flags = b[f_.real_idx_flags];
    pos_ += f_.real_idx_size;
  }
  return Status::Ok();
}

Status TdefParser::ParseLogicalIndexes(TableDef& def, uint32_t num_logical) {
  def.logical_indexes.resize(num_logical);
  for (LogicalIndex& l : def.logical_indexes) {
    PX_ASSIGN_OR_RETURN(Bytes b, At(pos_, f_.logical_idx_size, "logical index definition"));
    l.raw.assign(b.begin(), b.end());
    l.number = LoadLe32(&b[f_.logical_idx_number]);
    l.real_index = LoadLe32(&b[f_.logical_idx_real]);
    l.related_table_type = b[f_.logical_idx_rel_type];
    l.related_index = int32_t(LoadLe32(&b[f_.logical_idx_rel_index]));
    l.related_table_page = LoadLe32(&b[f_.logical_idx_rel_table]);
    l.type = b[f_.logical_idx_type];
    if (l.real_index >= def.real_indexes.size()) {
      return Error("logical index refers to real index " + std::to_string(l.real_index) + " of " +
                       std::to_string(def.real_indexes.size()),
                   pos_);
    }
    pos_ += f_.logical_idx_size;
  }
  for (LogicalIndex& l : def.logical_indexes) {
    PX_ASSIGN_OR_RETURN(l.name, ParseName());
  }
  return Status::Ok();
}

Status TdefParser::Parse(TableDef& def) {
  uint32_t num_real = 0, num_logical = 0;
  uint16_t num_cols = 0;
  PX_RETURN_IF_ERROR(ParseHeader(def, num_real, num_logical, num_cols));
  // Unique entry counts sit in the preamble before the columns.
  const size_t preamble = pos_;
  PX_RETURN_IF_ERROR(At(pos_, size_t(num_real) * f_.tdef_real_preamble, "index preamble").status());
  pos_ += size_t(num_real) * f_.tdef_real_preamble;
  PX_RETURN_IF_ERROR(ParseColumns(def, num_cols));
  PX_RETURN_IF_ERROR(ParseRealIndexes(def, num_real));
  for (size_t i = 0; i < num_real; ++i) {
    const uint8_t* pre = &buf_[preamble + i * f_.tdef_real_preamble];
    def.real_indexes[i].unique_entry_count = LoadLe32(pre + 4);
    def.real_indexes[i].raw_preamble.assign(pre, pre + f_.tdef_real_preamble);
  }
  PX_RETURN_IF_ERROR(ParseLogicalIndexes(def, num_logical));
  ParseLongValueMaps(def);
  return Status::Ok();
}

// The list of Memo/OLE usage maps that ends the definition. Readers do not need it; a list
// that is absent or cut short is left empty rather than refused.
void TdefParser::ParseLongValueMaps(TableDef& def) {
  std::vector<LongValueMaps> maps;
  size_t at = pos_;
  while (at + 2 <= buf_.size()) {
    const uint16_t col = LoadLe16(&buf_[at]);
    if (col == kUnusedIndexColumn) {
      def.long_value_maps = std::move(maps);
      return;
    }
    if (at + 10 > buf_.size() || maps.size() > kMaxColumns) return;
    maps.push_back({col, DecodeRowPointer(LoadLe32(&buf_[at + 2])),
                    DecodeRowPointer(LoadLe32(&buf_[at + 6]))});
    at += 10;
  }
}

}  // namespace

int TableDef::ColumnByNumber(uint16_t number) const {
  for (size_t i = 0; i < columns.size(); ++i) {
    if (columns[i].number == number) return int(i);
  }
  return -1;
}

Result<TableDef> ReadTableDef(Pager& pager, const JetFormat& f, uint32_t page, int code_page,
                              const std::string& what) {
  const std::string where =
      pager.file_name() + ": table definition of " + what + " (page " + std::to_string(page) + ")";
  TableDef def;
  def.page = page;
  std::vector<uint8_t> buf;
  std::unordered_set<uint32_t> seen;
  uint32_t next = page;
  while (next != 0) {
    if (!seen.insert(next).second || seen.size() > kMaxTableDefPages) {
      return Status::Corruption(where + ": continuation chain loops or is too long at page " +
                                std::to_string(next));
    }
    PX_ASSIGN_OR_RETURN(Page p, pager.Get(next));
    if (p.type() != page_type::kTableDef) {
      return Status::Corruption(pager.file_name() + ": page " + std::to_string(next) +
                                ": expected a table definition page of " + what + ", found type " +
                                std::to_string(p.type()));
    }
    Bytes b = p.bytes();
    buf.insert(buf.end(), b.begin() + (buf.empty() ? 0 : kTdefContinuationStart), b.end());
    def.pages.push_back(next);
    next = LoadLe32(b.data() + kTdefNextPage);
  }
  TdefParser parser(f, std::move(buf), code_page, where);
  PX_RETURN_IF_ERROR(parser.Parse(def));
  return def;
}

}  // namespace px::jet
