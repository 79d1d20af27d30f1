#include "jet/properties.h"

#include <vector>

#include "jet/text.h"

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

}  // namespace px::jet
