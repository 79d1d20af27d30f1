#include "jet/properties.h"

#include <vector>

#include "jet/text.h"
#include "platform/codepage.h"

namespace px::jet {

namespace {

constexpr std::string_view kMagicJet3 = std::string_view("KKD\0", 4);
constexpr std::string_view kMagicJet4 = std::string_view("MR2\0", 4);
constexpr uint16_t kBlockNamePool = 0x80;
constexpr uint16_t kBlockColumn = 0x01;
constexpr size_t kBlockHeader = 6;
constexpr size_t kEntryHeader = 8;

Status Bad(const std::string& what, size_t offset) {
  return Status::Corruption("property blob: " + what + " at offset " + std::to_string(offset));
}

class PropParser {
 public:
  PropParser(const JetFormat& f, int code_page) : f_(f), code_page_(code_page) {}

  Result<std::string> Name(Bytes raw, size_t at) const {
    auto s = f_.text_is_unicode ? DecodeUtf16Le(raw) : DecodeJet3Text(raw, code_page_);
    if (!s.ok()) return Bad("bad name", at);
    return s;
  }

  Status NamePool(Bytes body, size_t base) {
    ByteReader r(body);
    while (r.remaining() > 0) {
      auto len = r.U16();
      auto raw = len ? r.Span(*len) : std::nullopt;
      if (!raw) return Bad("name pool entry runs past its block", base + r.offset());
      PX_ASSIGN_OR_RETURN(std::string n, Name(*raw, base + r.offset()));
      names_.push_back(std::move(n));
    }
    return Status::Ok();
  }

  Status ColumnBlock(Bytes body, size_t base, ColumnPropertyMap& out) {
    ByteReader r(body);
    auto rec_len = r.U32();
    auto name_len = r.U16();
    auto raw = name_len ? r.Span(*name_len) : std::nullopt;
    if (!rec_len || !raw) return Bad("column block header", base);
    PX_ASSIGN_OR_RETURN(std::string column, Name(*raw, base));
    ColumnProperties& props = out[column];
    while (r.remaining() >= kEntryHeader) {
      const size_t at = r.offset();
      Bytes e = *r.Span(kEntryHeader);
      const uint16_t entry_len = LoadLe16(&e[0]);
      const uint16_t name_index = LoadLe16(&e[4]);
      const uint16_t value_len = LoadLe16(&e[6]);
      if (entry_len < kEntryHeader || size_t(entry_len) - kEntryHeader < value_len ||
          entry_len - kEntryHeader > r.remaining()) {
        return Bad("property entry of length " + std::to_string(entry_len), base + at);
      }
      Bytes value = *r.Span(entry_len - kEntryHeader);
      if (name_index >= names_.size()) return Bad("property name index", base + at);
      const std::string& pname = names_[name_index];
      const bool flag = value_len > 0 && value[0] != 0;
      if (pname == "AllowZeroLength") props.allow_zero_length = flag;
      if (pname == "Required") props.required = flag;
    }
    return Status::Ok();
  }

 private:
  const JetFormat& f_;
  int code_page_;
  std::vector<std::string> names_;
};

}  // namespace

Result<ColumnPropertyMap> ParseColumnProperties(Bytes blob, const JetFormat& f, int code_page) {
  ColumnPropertyMap out;
  if (blob.empty()) return out;
  const std::string_view magic = f.text_is_unicode ? kMagicJet4 : kMagicJet3;
  if (blob.size() < magic.size() || AsChars(blob.first(magic.size())) != magic) {
    return Bad("missing signature", 0);
  }
  PropParser parser(f, code_page);
  size_t pos = magic.size();
  while (pos + kBlockHeader <= blob.size()) {
    const uint32_t len = LoadLe32(&blob[pos]);
    const uint16_t type = LoadLe16(&blob[pos + 4]);
    if (len < kBlockHeader || len > blob.size() - pos) {
      return Bad("block length " + std::to_string(len), pos);
    }
    Bytes body = blob.subspan(pos + kBlockHeader, len - kBlockHeader);
    if (type == kBlockNamePool) {
      PX_RETURN_IF_ERROR(parser.NamePool(body, pos + kBlockHeader));
    } else if (type == kBlockColumn) {
      PX_RETURN_IF_ERROR(parser.ColumnBlock(body, pos + kBlockHeader, out));
    }  // object-level blocks (type 0) and newer block types carry nothing we use
    pos += len;
  }
  return out;
}

namespace {

constexpr uint8_t kDdlFlag = 0x01;
constexpr uint8_t kPropertyBoolean = 0x01;

void PutLe16(std::vector<uint8_t>& out, uint16_t v) {
  out.push_back(uint8_t(v));
  out.push_back(uint8_t(v >> 8));
}

// A name as the blob stores it: UTF-16LE in Jet 4, code-page bytes in Jet 3.
Result<std::vector<uint8_t>> StoredName(const JetFormat& f, int code_page,
                                        const std::string& utf8) {
  std::vector<uint8_t> out;
  if (f.text_is_unicode) {
    size_t i = 0;
    while (i < utf8.size()) {
      std::optional<uint32_t> cp = NextUtf8(utf8, i);
      AppendUtf16Le(out, cp.value_or(0xFFFD));
    }
    return out;
  }
  PX_ASSIGN_OR_RETURN(std::string bytes, EncodeCodePage(code_page, utf8));
  out.assign(bytes.begin(), bytes.end());
  return out;
}

std::vector<uint8_t> Block(uint16_t type, const std::vector<uint8_t>& body) {
  std::vector<uint8_t> out(kBlockHeader);
  StoreLe32(out.data(), uint32_t(kBlockHeader + body.size()));
  StoreLe16(out.data() + 4, type);
  out.insert(out.end(), body.begin(), body.end());
  return out;
}

}  // namespace

Result<std::vector<uint8_t>> SetColumnProperties(Bytes blob, const JetFormat& f, int code_page,
                                                 const std::string& column,
                                                 const ColumnProperties& props) {
  const std::string_view magic = f.text_is_unicode ? kMagicJet4 : kMagicJet3;
  struct RawBlock {
    uint16_t type;
    std::vector<uint8_t> body;
  };
  std::vector<RawBlock> blocks;
  if (!blob.empty()) {
    if (blob.size() < magic.size() || AsChars(blob.first(magic.size())) != magic) {
      return Bad("missing signature", 0);
    }
    size_t pos = magic.size();
    while (pos + kBlockHeader <= blob.size()) {
      const uint32_t len = LoadLe32(&blob[pos]);
      if (len < kBlockHeader || len > blob.size() - pos) {
        return Bad("block length " + std::to_string(len), pos);
      }
      Bytes body = blob.subspan(pos + kBlockHeader, len - kBlockHeader);
      blocks.push_back({LoadLe16(&blob[pos + 4]), {body.begin(), body.end()}});
      pos += len;
    }
  }
  size_t pool = blocks.size();
  for (size_t i = 0; i < blocks.size(); ++i) {
    if (blocks[i].type == kBlockNamePool) pool = i;
  }
  if (pool == blocks.size()) {
    blocks.insert(blocks.begin(), {kBlockNamePool, {}});
    pool = 0;
  }
  // Names in the pool, as stored.
  std::vector<std::vector<uint8_t>> names;
  {
    ByteReader r(blocks[pool].body);
    while (r.remaining() > 0) {
      auto len = r.U16();
      auto raw = len ? r.Span(*len) : std::nullopt;
      if (!raw) return Bad("name pool entry runs past its block", 0);
      names.emplace_back(raw->begin(), raw->end());
    }
  }
  auto name_index = [&](const std::string& name) -> Result<uint16_t> {
    PX_ASSIGN_OR_RETURN(const std::vector<uint8_t> u, StoredName(f, code_page, name));
    for (size_t i = 0; i < names.size(); ++i) {
      if (names[i] == u) return uint16_t(i);
    }
    names.push_back(u);
    PutLe16(blocks[pool].body, uint16_t(u.size()));
    blocks[pool].body.insert(blocks[pool].body.end(), u.begin(), u.end());
    return uint16_t(names.size() - 1);
  };
  PX_ASSIGN_OR_RETURN(const uint16_t azl, name_index("AllowZeroLength"));
  PX_ASSIGN_OR_RETURN(const uint16_t req, name_index("Required"));
  std::vector<std::pair<uint16_t, bool>> wanted;
  if (props.allow_zero_length) wanted.emplace_back(azl, *props.allow_zero_length);
  if (props.required) wanted.emplace_back(req, *props.required);
  // The column's block: entries other than these two are kept.
  Result<std::vector<uint8_t>> stored_owner = StoredName(f, code_page, column);
  if (!stored_owner.ok()) {
    return Status::InvalidArgument("column " + column + ": the name cannot be stored (" +
                                   stored_owner.status().message() + ")");
  }
  const std::vector<uint8_t>& owner = *stored_owner;
  std::vector<uint8_t> entries;
  size_t target = blocks.size();
  for (size_t i = 0; i < blocks.size(); ++i) {
    if (blocks[i].type != kBlockColumn) continue;
    ByteReader r(blocks[i].body);
    auto rec_len = r.U32();
    auto name_len = r.U16();
    auto raw = name_len ? r.Span(*name_len) : std::nullopt;
    if (!rec_len || !raw) return Bad("column block header", 0);
    auto a = f.text_is_unicode ? DecodeUtf16Le(*raw) : DecodeJet3Text(*raw, code_page);
    if (!a.ok() || !JetTextEquals(*a, column, kLcidGeneral)) continue;
    target = i;
    while (r.remaining() >= kEntryHeader) {
      const size_t at = r.offset();
      const uint16_t entry_len = LoadLe16(&blocks[i].body[at]);
      if (entry_len < kEntryHeader || entry_len > r.remaining()) {
        return Bad("property entry of length " + std::to_string(entry_len), at);
      }
      const uint16_t idx = LoadLe16(&blocks[i].body[at + 4]);
      if (idx != azl && idx != req) {
        entries.insert(entries.end(), blocks[i].body.begin() + long(at),
                       blocks[i].body.begin() + long(at + entry_len));
      }
      (void)r.Skip(entry_len);
    }
  }
  for (auto [idx, value] : wanted) {
    PutLe16(entries, 9);
    entries.push_back(kDdlFlag);
    entries.push_back(kPropertyBoolean);
    PutLe16(entries, idx);
    PutLe16(entries, 1);
    entries.push_back(value ? 1 : 0);
  }
  std::vector<uint8_t> body(4);
  StoreLe32(body.data(), uint32_t(6 + owner.size()));
  PutLe16(body, uint16_t(owner.size()));
  body.insert(body.end(), owner.begin(), owner.end());
  body.insert(body.end(), entries.begin(), entries.end());
  if (target == blocks.size()) {
    blocks.push_back({kBlockColumn, std::move(body)});
  } else {
    blocks[target].body = std::move(body);
  }
  std::vector<uint8_t> out(magic.begin(), magic.end());
  for (const RawBlock& b : blocks) {
    std::vector<uint8_t> one = Block(b.type, b.body);
    out.insert(out.end(), one.begin(), one.end());
  }
  return out;
}

}  // namespace px::jet
