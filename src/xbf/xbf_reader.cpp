#include "xbf/xbf_reader.h"

#include <algorithm>
#include <charconv>

#include "xbf/pbf.h"
#include "xbf/xbf_types.h"

namespace px::xbf {

namespace {

// The namespaces ADO declares, and the prefixes this reader uses for them whatever the file
// calls them.
constexpr std::pair<std::string_view, std::string_view> kNamespaces[] = {
    {"uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882", "s"},
    {"uuid:C2F41010-65B3-11d1-A29F-00AA00C14882", "dt"},
    {"urn:schemas-microsoft-com:rowset", "rs"},
    {"#RowsetSchema", "z"},
};

bool SameText(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

bool IsTrue(const std::string* v) {
  return v && (SameText(*v, "true") || *v == "1" || *v == "-1");
}

// The value of the last attribute called `name` (datatype attributes follow and override
// those given on the AttributeType itself).
const std::string* Last(const std::vector<XmlAttribute>& attrs, std::string_view name) {
  for (auto it = attrs.rbegin(); it != attrs.rend(); ++it) {
    if (it->name == name) return &it->value;
  }
  return nullptr;
}

std::optional<int64_t> Whole(const std::string* v) {
  if (!v) return std::nullopt;
  int64_t n;
  auto r = std::from_chars(v->data(), v->data() + v->size(), n);
  if (r.ec != std::errc() || r.ptr != v->data() + v->size()) return std::nullopt;
  return n;
}

}  // namespace

XbfReader::XbfReader(std::unique_ptr<ByteInput> owned, ByteInput& in, std::string name)
    : owned_input_(std::move(owned)), tok_(in, name), name_(std::move(name)) {}

XbfReader::~XbfReader() = default;

Result<std::unique_ptr<XbfReader>> XbfReader::Open(ByteInput& in, std::string name) {
  std::unique_ptr<XbfReader> r(new XbfReader(nullptr, in, std::move(name)));
  PX_RETURN_IF_ERROR(r->ReadHead());
  return r;
}

Result<std::unique_ptr<XbfReader>> XbfReader::OpenFile(const std::string& path) {
  PX_ASSIGN_OR_RETURN(auto input, TableFileInput::Open(path));
  ByteInput& in = *input;
  std::unique_ptr<XbfReader> r(new XbfReader(std::move(input), in, path));
  PX_RETURN_IF_ERROR(r->ReadHead());
  return r;
}

Status XbfReader::Fail(const XmlToken& t, const std::string& message) const {
  return tok_.ErrorAt(t.line, t.column, message);
}

std::string XbfReader::Canon(const std::string& qname) const {
  const size_t colon = qname.find(':');
  if (colon == std::string::npos || prefixes_.empty()) return qname;
  auto it = prefixes_.find(qname.substr(0, colon));
  if (it == prefixes_.end()) return qname;
  return it->second + qname.substr(colon);
}

namespace {

// The end tag of each block, by Block.
constexpr std::string_view kEndOf[] = {"rs:data", "rs:insert", "rs:delete", "rs:update",
                                       "rs:original"};

}  // namespace

Status XbfReader::ExpectEnd(std::string_view name) {
  PX_RETURN_IF_ERROR(tok_.Next(t_));
  if (t_.kind != XmlToken::kEnd || Canon(t_.name) != name) {
    return Fail(t_, "</" + std::string(name) + "> expected");
  }
  return Status::Ok();
}

Status XbfReader::SkipElement(const XmlToken& start) {
  if (start.self_closing) return Status::Ok();
  std::vector<std::string> open{start.name};
  XmlToken t;
  while (!open.empty()) {
    PX_RETURN_IF_ERROR(tok_.Next(t));
    if (t.kind == XmlToken::kEof) return Fail(t, "input ends inside <" + open.back() + ">");
    if (t.kind == XmlToken::kStart) {
      if (open.size() > 256) return Fail(t, "elements nested too deeply");
      if (!t.self_closing) open.push_back(t.name);
    } else {
      if (t.name != open.back()) return Fail(t, "</" + open.back() + "> expected");
      open.pop_back();
    }
  }
  return Status::Ok();
}

// ---------------------------------------------------------------------------------------
// Root and schema

Status XbfReader::ReadHead() {
  bool rooted = false;
  PX_RETURN_IF_ERROR(tok_.Next(t_));
  if (t_.kind == XmlToken::kStart && t_.name == "xml" && !t_.self_closing) {
    rooted = true;
    for (size_t i = 0; i < t_.attribute_count; ++i) {
      const auto& a = t_.attributes[i];
      if (a.name.rfind("xmlns:", 0) != 0) continue;
      for (const auto& [uri, ours] : kNamespaces) {
        if (SameText(a.value, uri)) prefixes_[a.name.substr(6)] = std::string(ours);
      }
    }
    PX_RETURN_IF_ERROR(tok_.Next(t_));
  }
  if (tok_.utf16le_input()) rowset_.encoding = TextEncoding::kUtf16Le;
  if (t_.kind != XmlToken::kStart || Canon(t_.name) != "s:Schema" || t_.self_closing) {
    return Fail(t_, "<s:Schema> expected");
  }
  PX_RETURN_IF_ERROR(ReadSchema());
  PX_RETURN_IF_ERROR(tok_.Next(t_));
  if (!rooted && t_.kind == XmlToken::kEof) {
    done_ = true;  // a bare schema: no data section, no rows
    return Status::Ok();
  }
  if (t_.kind == XmlToken::kStart && Canon(t_.name) == "rs:data") {
    if (t_.self_closing) {
      done_ = true;
    } else {
      blocks_.push_back(Block::kData);
      return Status::Ok();
    }
  } else if (!(rooted && t_.kind == XmlToken::kEnd && t_.name == "xml")) {
    return Fail(t_, "<rs:data> expected");
  } else {
    rooted = false;  // the root is already closed
    done_ = true;
  }
  if (rooted) PX_RETURN_IF_ERROR(ExpectEnd("xml"));
  PX_RETURN_IF_ERROR(tok_.Next(t_));
  if (t_.kind != XmlToken::kEof) return Fail(t_, "nothing may follow </xml>");
  return Status::Ok();
}

Status XbfReader::ReadSchema() {
  bool have_rowset = false;
  for (;;) {
    PX_RETURN_IF_ERROR(tok_.Next(t_));
    if (t_.kind == XmlToken::kEof) return Fail(t_, "input ends inside the schema");
    const std::string name = Canon(t_.name);
    if (t_.kind == XmlToken::kEnd) {
      if (name != "s:Schema") return Fail(t_, "</s:Schema> expected");
      break;
    }
    if (name == "s:AttributeType") {
      XmlToken start = t_;
      PX_RETURN_IF_ERROR(ReadAttributeType(start, /*global=*/true));
    } else if (name == "s:ElementType" && !have_rowset) {
      have_rowset = true;
      XmlToken start = t_;
      PX_RETURN_IF_ERROR(ReadRowset(start));
    } else {
      PX_RETURN_IF_ERROR(SkipElement(t_));
    }
  }
  if (fields_.empty()) return Fail(t_, "the schema declares no fields");
  return Status::Ok();
}

Status XbfReader::ReadRowset(const XmlToken& et) {
  rowset_.updatable = IsTrue(et.Find("rs:updatable"));
  for (size_t i = 0; i < et.attribute_count; ++i) {
    if (Canon(et.attributes[i].name) == "rs:CommandTimeout") {
      rowset_.command_timeout = et.attributes[i].value;
    } else if (Canon(et.attributes[i].name) == "rs:updatable") {
      rowset_.updatable = IsTrue(&et.attributes[i].value);
    }
  }
  if (et.self_closing) return Status::Ok();
  for (;;) {
    PX_RETURN_IF_ERROR(tok_.Next(t_));
    if (t_.kind == XmlToken::kEof) return Fail(t_, "input ends inside <s:ElementType>");
    const std::string name = Canon(t_.name);
    if (t_.kind == XmlToken::kEnd) {
      if (name != "s:ElementType") return Fail(t_, "</s:ElementType> expected");
      return Status::Ok();
    }
    XmlToken start = t_;
    if (name == "s:AttributeType") {
      PX_RETURN_IF_ERROR(ReadAttributeType(start, /*global=*/false));
    } else if (name == "s:attribute") {
      const std::string* type = start.Find("type");
      auto it = type ? globals_.find(*type) : globals_.end();
      if (it == globals_.end()) return Fail(start, "s:attribute refers to an undeclared type");
      PX_RETURN_IF_ERROR(AddField(it->second, start));
      PX_RETURN_IF_ERROR(SkipElement(start));
    } else {
      // s:extends, and the nested rowsets of hierarchical recordsets, which are not read.
      PX_RETURN_IF_ERROR(SkipElement(start));
    }
  }
}

Status XbfReader::ReadAttributeType(const XmlToken& start, bool global) {
  std::vector<XmlAttribute> attrs;
  auto collect = [&](const XmlToken& t) {
    for (size_t i = 0; i < t.attribute_count; ++i) {
      attrs.push_back({Canon(t.attributes[i].name), t.attributes[i].value});
    }
  };
  collect(start);
  if (!start.self_closing) {
    for (;;) {
      PX_RETURN_IF_ERROR(tok_.Next(t_));
      if (t_.kind == XmlToken::kEof) return Fail(t_, "input ends inside <s:AttributeType>");
      if (t_.kind == XmlToken::kEnd) {
        if (Canon(t_.name) != "s:AttributeType") return Fail(t_, "</s:AttributeType> expected");
        break;
      }
      if (Canon(t_.name) == "s:datatype") collect(t_);
      XmlToken child = t_;
      PX_RETURN_IF_ERROR(SkipElement(child));
    }
  }
  if (global) {
    const std::string* name = Last(attrs, "name");
    if (!name) return Fail(start, "s:AttributeType without a name");
    globals_[*name] = std::move(attrs);
    return Status::Ok();
  }
  return AddField(attrs, start);
}

Status XbfReader::AddField(const std::vector<XmlAttribute>& attrs, const XmlToken& at) {
  if (fields_.size() >= kMaxFields) return Fail(at, "more than 4096 fields");
  const std::string* xml_name = Last(attrs, "name");
  if (!xml_name || xml_name->empty()) return Fail(at, "field without a name");
  if (by_xml_name_.count(*xml_name)) return Fail(at, "field " + *xml_name + " declared twice");

  FieldInfo f;
  const std::string* real = Last(attrs, "rs:name");
  f.name = real ? *real : *xml_name;
  DeclaredType d;
  if (auto* v = Last(attrs, "dt:type")) d.dt_type = *v;
  if (auto* v = Last(attrs, "rs:dbtype")) d.dbtype = *v;
  if (auto* v = Last(attrs, "dt:maxLength")) {
    d.max_length = Whole(v);
    if (!d.max_length || *d.max_length < 0) return Fail(at, "bad dt:maxLength '" + *v + "'");
  }
  d.fixed = IsTrue(Last(attrs, "rs:fixedlength"));
  // A field without a type is long text, as ADO reads it.
  d.is_long = IsTrue(Last(attrs, "rs:long")) || d.dt_type.empty();
  auto type = AdoTypeOf(d);
  if (!type.ok()) return Fail(at, "field " + f.name + ": " + type.status().message());
  f.ado_type = *type;
  f.size = d.max_length ? *d.max_length : DefaultSize(f.ado_type);
  if (auto p = Whole(Last(attrs, "rs:precision")))
    f.precision = int(std::clamp<int64_t>(*p, 0, 255));
  if (auto s = Whole(Last(attrs, "rs:scale"))) f.scale = int(std::clamp<int64_t>(*s, 0, 255));

  const std::pair<std::string_view, uint32_t> kFlags[] = {
      {"rs:rowid", fld::kRowID},
      {"rs:rowver", fld::kRowVersion},
      {"rs:cachedeferred", fld::kCacheDeferred},
      {"rs:nullable", fld::kIsNullable},
      {"rs:maydefer", fld::kMayDefer},
      {"rs:write", fld::kUpdatable},
      {"rs:writeunknown", fld::kUnknownUpdatable},
      {"rs:keycolumn", fld::kKeyColumn},
      {"rs:fixedlength", fld::kFixed},
      {"rs:long", fld::kLong},
  };
  for (const auto& [name, bit] : kFlags) {
    if (IsTrue(Last(attrs, name))) f.attributes |= bit;
  }
  if (d.is_long) f.attributes |= fld::kLong;
  const std::string* maybenull = Last(attrs, "rs:maybenull");
  if (!maybenull || IsTrue(maybenull)) f.attributes |= fld::kMayBeNull;
  f.autonumber = IsTrue(Last(attrs, "rs:autoincrement"));
  if (auto* v = Last(attrs, "rs:basecatalog")) f.base_catalog = *v;
  if (auto* v = Last(attrs, "rs:baseschema")) f.base_schema = *v;
  if (auto* v = Last(attrs, "rs:basetable")) f.base_table = *v;
  if (auto* v = Last(attrs, "rs:basecolumn")) f.base_column = *v;

  by_xml_name_[*xml_name] = fields_.size();
  xml_names_.push_back(*xml_name);
  // Text is taken as written (ParseValue() copies it unchanged).
  const int t = f.ado_type;
  text_field_.push_back(t == ado::kVarWChar || t == ado::kWChar || t == ado::kLongVarWChar ||
                        t == ado::kVarChar || t == ado::kChar || t == ado::kLongVarChar ||
                        t == ado::kBSTR);
  fields_.push_back(std::move(f));
  return Status::Ok();
}

// ---------------------------------------------------------------------------------------
// Rows

Status XbfReader::ReadRowValues(const XmlToken& t, Row& row, bool overlay) {
  // A row read over the last one keeps its texts' storage: fields the new row does not name
  // become Null at the end.
  const bool fresh = !overlay;
  if (fresh) {
    row.resize(fields_.size());
    named_.assign(fields_.size(), false);
  }
  const std::string* force_null = nullptr;
  size_t guess = 0;  // rows name their fields in schema order, mostly
  for (size_t i = 0; i < t.attribute_count; ++i) {
    const XmlAttribute& a = t.attributes[i];
    size_t field;
    if (guess < xml_names_.size() && xml_names_[guess] == a.name) {
      field = guess;
    } else {
      auto it = by_xml_name_.find(a.name);
      if (it == by_xml_name_.end()) {
        if (Canon(a.name) == "rs:forcenull") force_null = &a.value;
        continue;  // other attributes are not columns; ADO ignores them
      }
      field = it->second;
    }
    guess = field + 1;
    if (fresh) named_[field] = true;
    if (text_field_[field]) {
      if (auto* s = std::get_if<std::string>(&row[field])) {
        s->assign(a.value);
      } else {
        row[field] = a.value;
      }
      continue;
    }
    if (Status st = ParseValueInto(fields_[field], a.value, row[field]); !st.ok()) {
      return Fail(t, st.message());
    }
  }
  if (fresh) {
    for (size_t i = 0; i < row.size(); ++i) {
      if (!named_[i]) row[i] = Null{};
    }
  }
  if (force_null) {
    size_t pos = 0;
    const std::string& list = *force_null;
    while (pos < list.size()) {
      size_t end = list.find_first_of(" \t\r\n", pos);
      if (end == std::string::npos) end = list.size();
      auto it = by_xml_name_.find(list.substr(pos, end - pos));
      if (it != by_xml_name_.end()) row[it->second] = Null{};
      pos = end + 1;
    }
  }
  return SkipElement(t);
}

// The block that a tag named `name` (canonical) opens inside `top`; none for a tag that
// cannot stand there.
std::optional<XbfReader::Block> XbfReader::Opens(Block top, std::string_view name) {
  if (top == Block::kData) {
    if (name == "rs:insert") return Block::kInsert;
    if (name == "rs:delete") return Block::kDelete;
    if (name == "rs:update") return Block::kUpdate;
  }
  if (top == Block::kUpdate && name == "rs:original") return Block::kOriginal;
  return std::nullopt;
}

Status XbfReader::Step(Row& row, bool& produced) {
  PX_RETURN_IF_ERROR(tok_.Next(t_));
  if (t_.kind == XmlToken::kEof) return Fail(t_, "input ends inside the data section");
  if (t_.name != step_name_) {  // row after row the same tag
    step_name_ = t_.name;
    step_canon_ = Canon(t_.name);
  }
  const std::string& name = step_canon_;
  const Block top = blocks_.back();
  if (t_.kind == XmlToken::kEnd) {
    if (name != kEndOf[int(top)])
      return Fail(t_, "</" + std::string(kEndOf[int(top)]) + "> expected");
    blocks_.pop_back();
    if (top == Block::kUpdate && (have_changed_ || have_original_)) {
      row = have_changed_ ? changed_ : original_;
      produced = true;
      have_changed_ = have_original_ = false;
    }
    if (top == Block::kData) {
      PX_RETURN_IF_ERROR(ExpectEnd("xml"));
      PX_RETURN_IF_ERROR(tok_.Next(t_));
      if (t_.kind != XmlToken::kEof) return Fail(t_, "nothing may follow </xml>");
      done_ = true;
    }
    return Status::Ok();
  }
  if (name == "z:row") {
    const XmlToken& t = t_;  // rows are read without another token in between
    switch (top) {
      case Block::kData:
      case Block::kInsert:
        PX_RETURN_IF_ERROR(ReadRowValues(t, row, false));
        produced = true;
        return Status::Ok();
      case Block::kDelete:
        return SkipElement(t);
      case Block::kOriginal:
        have_original_ = true;
        return ReadRowValues(t, original_, false);
      case Block::kUpdate:
        if (have_original_) {
          changed_ = original_;
        } else {
          changed_.assign(fields_.size(), Null{});
        }
        have_changed_ = true;
        return ReadRowValues(t, changed_, true);
    }
  }
  const std::optional<Block> next = Opens(top, name);
  if (!next) return Fail(t_, "unexpected <" + t_.name + "> in the data section");
  saw_pending_ = true;
  if (!t_.self_closing) blocks_.push_back(*next);
  return Status::Ok();
}

bool XbfReader::Next(Row& row) {
  while (!done_ && status_.ok()) {
    bool produced = false;
    status_ = Step(row, produced);
    if (produced && status_.ok()) return true;
  }
  return false;
}

Result<int64_t> XbfReader::CountRows() {
  int64_t n = 0;
  size_t inside_row = 0;        // depth below a row element, whose content is not read
  bool update_has_row = false;  // the open rs:update gives a row at its end
  while (!done_ && status_.ok()) {
    PX_RETURN_IF_ERROR(tok_.Skim(t_));
    if (t_.kind == XmlToken::kEof) break;
    if (inside_row > 0) {
      if (t_.kind == XmlToken::kEnd) {
        --inside_row;
      } else if (!t_.self_closing) {
        ++inside_row;
      }
      continue;
    }
    if (t_.name != step_name_) {
      step_name_ = t_.name;
      step_canon_ = Canon(t_.name);
    }
    const Block top = blocks_.back();
    if (t_.kind == XmlToken::kEnd) {
      if (step_canon_ != kEndOf[int(top)]) break;
      blocks_.pop_back();
      if (top == Block::kUpdate && update_has_row) ++n;
      if (top == Block::kUpdate) update_has_row = false;
      if (blocks_.empty()) done_ = true;
      continue;
    }
    if (step_canon_ == "z:row") {
      if (top == Block::kData || top == Block::kInsert) ++n;
      if (top == Block::kUpdate || top == Block::kOriginal) update_has_row = true;
      if (!t_.self_closing) inside_row = 1;
      continue;
    }
    const std::optional<Block> next = Opens(top, step_canon_);
    if (!next) break;
    if (!t_.self_closing) blocks_.push_back(*next);
  }
  if (!done_ && status_.ok()) {
    done_ = true;
    return Status::Corruption(name_ + ": the data section is damaged; its rows tell where");
  }
  done_ = true;
  return n;
}

}  // namespace px::xbf
