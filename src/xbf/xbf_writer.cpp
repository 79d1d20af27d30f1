#include "xbf/xbf_writer.h"

#include <array>
#include <set>

#include "xbf/parallel_deflate.h"
#include "xbf/pbf.h"
#include "xbf/read_ahead.h"
#include "xbf/xbf_types.h"

namespace px::xbf {

namespace {

constexpr std::string_view kRoot =
    "<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882'\r\n"
    "\txmlns:dt='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882'\r\n"
    "\txmlns:rs='urn:schemas-microsoft-com:rowset'\r\n"
    "\txmlns:z='#RowsetSchema'>\r\n";

// ADO breaks a start tag before an attribute once the line holds more than this many bytes
// (in the output encoding), and inside a bin.hex value one byte earlier.
constexpr int64_t kBreakAfter = 108;
constexpr size_t kFlushAt = 64 * 1024;

bool PlainXmlName(std::string_view n) {
  if (n.empty()) return false;
  auto letter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; };
  if (!letter(n[0])) return false;
  for (char c : n) {
    if (!letter(c) && !(c >= '0' && c <= '9')) return false;
  }
  return true;
}

}  // namespace

void XbfWriter::AppendUtf16Le(std::string& out, std::string_view utf8) {
  auto unit = [&](uint32_t u) {
    out += char(u & 0xFF);
    out += char(u >> 8);
  };
  for (size_t i = 0; i < utf8.size();) {
    const auto b = static_cast<unsigned char>(utf8[i]);
    uint32_t cp = b;
    size_t len = 1;
    if (b >= 0xF0) {
      len = 4;
      cp = b & 0x07;
    } else if (b >= 0xE0) {
      len = 3;
      cp = b & 0x0F;
    } else if (b >= 0xC0) {
      len = 2;
      cp = b & 0x1F;
    }
    if (i + len > utf8.size()) len = utf8.size() - i;
    for (size_t k = 1; k < len; ++k)
      cp = cp << 6 | (static_cast<unsigned char>(utf8[i + k]) & 0x3F);
    i += len;
    if (cp >= 0x10000) {
      cp -= 0x10000;
      unit(0xD800 | (cp >> 10));
      unit(0xDC00 | (cp & 0x3FF));
    } else {
      unit(cp);
    }
  }
}

namespace {

// For each byte, 1 + the index of its character reference in kReferences; 0 for a byte
// written as it is.
constexpr std::string_view kReferences[] = {"&#x26;", "&#x3c;", "&#x3e;", "&#x27;", "&#x22;"};
constexpr std::array<uint8_t, 256> kReferenceOf = [] {
  std::array<uint8_t, 256> t{};
  t[uint8_t('&')] = 1;
  t[uint8_t('<')] = 2;
  t[uint8_t('>')] = 3;
  t[uint8_t('\'')] = 4;
  t[uint8_t('"')] = 5;
  return t;
}();

}  // namespace

void AppendEscaped(std::string& out, std::string_view s) {
  // Runs without a special character are copied whole.
  size_t run = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    const uint8_t ref = kReferenceOf[static_cast<unsigned char>(s[i])];
    if (ref == 0) continue;
    out.append(s.data() + run, i - run);
    out += kReferences[ref - 1];
    run = i + 1;
  }
  out.append(s.data() + run, s.size() - run);
}

XbfWriter::XbfWriter(ByteSink& sink, RowsetOptions options)
    : sink_(sink), options_(std::move(options)) {}

std::vector<std::string> XbfWriter::XmlNames(const std::vector<FieldInfo>& fields) {
  std::vector<bool> mapped(fields.size());
  std::set<std::string> used;
  for (size_t i = 0; i < fields.size(); ++i) {
    mapped[i] = !PlainXmlName(fields[i].name) || !used.insert(fields[i].name).second;
  }
  // A plain name that equals the "c<k>" of a mapped field is mapped too, until no two
  // fields share an attribute name.
  for (bool changed = true; changed;) {
    changed = false;
    std::set<std::string> generated;
    for (size_t i = 0; i < fields.size(); ++i) {
      if (mapped[i]) generated.insert("c" + std::to_string(i));
    }
    for (size_t i = 0; i < fields.size(); ++i) {
      if (!mapped[i] && generated.count(fields[i].name)) mapped[i] = changed = true;
    }
  }
  std::vector<std::string> names;
  for (size_t i = 0; i < fields.size(); ++i) {
    names.push_back(mapped[i] ? "c" + std::to_string(i) : fields[i].name);
  }
  return names;
}

size_t XbfWriter::Width(std::string_view utf8) const {
  if (options_.encoding == TextEncoding::kUtf8) return utf8.size();
  size_t bytes = 0;
  for (char ch : utf8) {
    const auto b = static_cast<unsigned char>(ch);
    if (b >= 0xF0)
      bytes += 4;
    else if ((b & 0xC0) != 0x80)
      bytes += 2;
  }
  return bytes;
}

void XbfWriter::StartTag(int depth, std::string_view name, int continuation_depth) {
  buf_.append(size_t(depth), '\t');
  buf_ += '<';
  buf_ += name;
  // The TABs plus one for the line break, then the tag name.
  const bool wide = options_.encoding == TextEncoding::kUtf16Le;
  column_ = (wide ? 2 * depth + 4 : depth + 1) + int64_t(Width(name)) + (wide ? 2 : 1);
  first_attribute_ = true;
  continuation_depth_ = continuation_depth;
}

// Breaks the line when it is already long, then writes " name='".
void XbfWriter::OpenAttribute(std::string_view name) {
  if (!first_attribute_ && column_ > kBreakAfter) {
    buf_ += "\r\n";
    buf_.append(size_t(continuation_depth_), '\t');
    column_ = 0;
  }
  first_attribute_ = false;
  const size_t start = buf_.size();
  buf_ += ' ';
  buf_ += name;
  buf_ += "='";
  column_ += int64_t(Width(std::string_view(buf_).substr(start)));
}

void XbfWriter::Attribute(std::string_view name, std::string_view escaped_value) {
  OpenAttribute(name);
  const size_t start = buf_.size();
  buf_ += escaped_value;
  buf_ += '\'';
  column_ += int64_t(Width(std::string_view(buf_).substr(start)));
}

void XbfWriter::HexAttribute(std::string_view name, const std::vector<uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  OpenAttribute(name);
  const int64_t digit_pair = options_.encoding == TextEncoding::kUtf16Le ? 4 : 2;
  for (uint8_t b : bytes) {
    if (column_ > kBreakAfter - 1) {
      buf_ += "\r\n";
      buf_.append(size_t(continuation_depth_), '\t');
      column_ = -1;
    }
    const char pair[2] = {kDigits[b >> 4], kDigits[b & 15]};
    buf_.append(pair, 2);
    column_ += digit_pair;
  }
  buf_ += '\'';
  column_ += digit_pair / 2;
}

void XbfWriter::EndLine(std::string_view close) {
  buf_ += close;
  buf_ += "\r\n";
}

void XbfWriter::DataType(const FieldInfo& f) {
  auto type = SchemaTypeOf(f.ado_type);
  StartTag(3, "s:datatype", 3);
  Attribute("dt:type", type ? type->dt_type : "string");
  if (type && !type->dbtype.empty()) Attribute("rs:dbtype", type->dbtype);
  if (f.ado_type != ado::kVariant) {
    // Fixed-size types always declare their storage size (a Jet Date/Time is 16 here,
    // whatever the provider's column size says).
    const int64_t width = type ? type->width : 0;
    const int64_t size = width ? width : f.size > 0 ? f.size : DefaultSize(f.ado_type);
    Attribute("dt:maxLength", std::to_string(size));
  }
  if (HasScale(f.ado_type)) Attribute("rs:scale", std::to_string(f.scale));
  if (f.precision != 255 || f.ado_type == 139) {
    Attribute("rs:precision", std::to_string(f.precision));
  }
  if (f.is_long()) Attribute("rs:long", "true");
  if (f.fixed()) Attribute("rs:fixedlength", "true");
  if (!f.may_be_null()) Attribute("rs:maybenull", "false");
  EndLine("/>");
}

void XbfWriter::AttributeType(size_t index) {
  const FieldInfo& f = fields_[index];
  std::string escaped;
  auto text = [&](std::string_view s) -> std::string_view {
    escaped.clear();
    AppendEscaped(escaped, s);
    return escaped;
  };
  StartTag(2, "s:AttributeType", 3);
  Attribute("name", xml_names_[index]);
  if (xml_names_[index] != f.name) Attribute("rs:name", text(f.name));
  Attribute("rs:number", std::to_string(index + 1));
  const std::pair<uint32_t, std::string_view> kFlags[] = {
      {fld::kRowID, "rs:rowid"},
      {fld::kRowVersion, "rs:rowver"},
      {fld::kCacheDeferred, "rs:cachedeferred"},
      {fld::kIsNullable, "rs:nullable"},
      {fld::kMayDefer, "rs:maydefer"},
      {fld::kUpdatable, "rs:write"},
      {fld::kUnknownUpdatable, "rs:writeunknown"},
  };
  for (const auto& [bit, name] : kFlags) {
    if (f.Has(bit)) Attribute(name, "true");
  }
  if (!f.base_catalog.empty()) Attribute("rs:basecatalog", text(f.base_catalog));
  if (!f.base_schema.empty()) Attribute("rs:baseschema", text(f.base_schema));
  if (!f.base_table.empty()) Attribute("rs:basetable", text(f.base_table));
  if (!f.base_column.empty()) Attribute("rs:basecolumn", text(f.base_column));
  if (f.key_column()) Attribute("rs:keycolumn", "true");
  if (f.autonumber) Attribute("rs:autoincrement", "true");
  EndLine(">");
  DataType(f);
  buf_ += "\t\t</s:AttributeType>\r\n";
}

Status XbfWriter::Begin(const std::vector<FieldInfo>& fields) {
  if (began_) return error_ = Status::InvalidArgument("recordset schema written twice");
  began_ = true;
  fields_ = fields;
  xml_names_ = XmlNames(fields_);
  for (const FieldInfo& f : fields_) {
    binary_.push_back(IsBinaryType(f.ado_type));
    text_.push_back(IsTextType(f.ado_type));
  }
  buf_ += kRoot;
  buf_ += "<s:Schema id='RowsetSchema'>\r\n";
  StartTag(1, "s:ElementType", 1);
  Attribute("name", "row");
  Attribute("content", "eltOnly");
  if (!options_.command_timeout.empty()) Attribute("rs:CommandTimeout", options_.command_timeout);
  if (options_.updatable) Attribute("rs:updatable", "true");
  EndLine(">");
  for (size_t i = 0; i < fields_.size(); ++i) {
    AttributeType(i);
    PX_RETURN_IF_ERROR(FlushIfFull());
  }
  buf_ +=
      "\t\t<s:extends type='rs:rowbase'/>\r\n\t</s:ElementType>\r\n</s:Schema>\r\n<rs:data>\r\n";
  return FlushIfFull();
}

Status XbfWriter::WriteRow(const Row& row) {
  if (!error_.ok()) return error_;
  if (!began_ || finished_) return error_ = Status::InvalidArgument("row outside the data section");
  if (row.size() != fields_.size()) {
    return error_ =
               Status::InvalidArgument("row has " + std::to_string(row.size()) + " values for " +
                                       std::to_string(fields_.size()) + " fields");
  }
  StartTag(1, "z:row", 2);
  for (size_t i = 0; i < row.size(); ++i) {
    const Value& v = row[i];
    if (IsNull(v)) continue;
    const FieldInfo& f = fields_[i];
    if (binary_[i]) {
      auto* b = std::get_if<Binary>(&v);
      if (!b) return error_ = FormatValue(f, v).status();
      HexAttribute(xml_names_[i], b->bytes);
      continue;
    }
    OpenAttribute(xml_names_[i]);
    const size_t start = buf_.size();
    auto* s = std::get_if<std::string>(&v);
    if (s && text_[i]) {
      AppendEscaped(buf_, *s);
      buf_.append(FixedTextPadding(f, *s, options_.ansi_code_page), ' ');
    } else if (Status st = AppendValueText(f, v, buf_, options_.ansi_code_page); !st.ok()) {
      return error_ = st;  // other types never need escaping
    }
    buf_ += '\'';
    column_ += int64_t(Width(std::string_view(buf_).substr(start)));
  }
  EndLine("/>");
  return FlushIfFull();
}

Status XbfWriter::Finish() {
  if (!error_.ok()) return error_;
  if (!began_) return error_ = Status::InvalidArgument("recordset finished before its schema");
  if (finished_) return Status::Ok();
  finished_ = true;
  buf_ += "</rs:data>\r\n</xml>";
  return Flush();
}

Status XbfWriter::FlushIfFull() {
  return buf_.size() >= kFlushAt ? Flush() : Status::Ok();
}

Status XbfWriter::Flush() {
  if (!error_.ok()) return error_;
  Status st;
  if (options_.encoding == TextEncoding::kUtf16Le) {
    std::string wide;
    if (!bom_written_) wide = "\xFF\xFE";
    bom_written_ = true;
    AppendUtf16Le(wide, buf_);
    st = sink_.Write(wide);
  } else {
    st = sink_.Write(buf_);
  }
  buf_.clear();
  if (!st.ok()) error_ = st;
  return st;
}

Status WriteRecordset(RowSource& rows, ByteSink& sink, const RowsetOptions& options) {
  XbfWriter w(sink, options);
  PX_RETURN_IF_ERROR(w.Begin(rows.fields()));
  ReadAheadRows ahead(rows);
  Row row;
  while (ahead.Next(row)) PX_RETURN_IF_ERROR(w.WriteRow(row));
  PX_RETURN_IF_ERROR(ahead.status());
  return w.Finish();
}

Status WriteRecordsetFile(RowSource& rows, const std::string& path, const RowsetOptions& options) {
  PX_ASSIGN_OR_RETURN(auto file, ReplacingFile::Create(path));
  if (IsCompressedName(path)) {
    PX_ASSIGN_OR_RETURN(auto deflate, ParallelDeflateSink::Create(*file, kPbfLevel));
    PX_RETURN_IF_ERROR(WriteRecordset(rows, *deflate, options));
    PX_RETURN_IF_ERROR(deflate->Finish());
  } else {
    PX_RETURN_IF_ERROR(WriteRecordset(rows, *file, options));
  }
  return file->Commit();
}

}  // namespace px::xbf
