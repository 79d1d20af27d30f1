#include "jet/values.h"

#include "jet/long_value.h"
#include "jet/text.h"
#include "platform/codepage.h"

namespace px::jet {

namespace {

constexpr size_t kNumericSize = 17;
constexpr uint8_t kNumericNegative = 0x80;
constexpr size_t kGuidSize = 16;

size_t ExpectedSize(uint8_t type) {
  switch (type) {
    case coltype::kByte:
      return 1;
    case coltype::kInteger:
      return 2;
    case coltype::kLong:
    case coltype::kSingle:
      return 4;
    case coltype::kCurrency:
    case coltype::kDouble:
    case coltype::kDateTime:
      return 8;
    case coltype::kGuid:
      return kGuidSize;
    case coltype::kNumeric:
      return kNumericSize;
    default:
      return 0;
  }
}

}  // namespace

Result<Decimal> DecodeNumeric(Bytes b, uint8_t scale) {
  if (b.size() < kNumericSize) return Status::Corruption("numeric value is too short");
  Decimal d;
  d.negative = (b[0] & kNumericNegative) != 0;
  d.hi = uint64_t(LoadLe32(&b[1])) << 32 | LoadLe32(&b[5]);
  d.lo = uint64_t(LoadLe32(&b[9])) << 32 | LoadLe32(&b[13]);
  d.scale = scale;
  if (d.hi == 0 && d.lo == 0) d.negative = false;
  return d;
}

int ValueDecoder::TextCodePage(const ColumnDef& c) const {
  return IsSupportedCodePage(c.code_page) ? c.code_page : code_page_;
}

Result<Value> ValueDecoder::DecodeFixed(const ColumnDef& c, Bytes b, const std::string& where) {
  const size_t need = ExpectedSize(c.type);
  if (need == 0) {
    // Types only Access's own tables use (0x11 in MSysAccessObjects): the raw bytes.
    return Value(Binary{std::vector<uint8_t>(b.begin(), b.end())});
  }
  if (b.size() < need) {
    return Status::Corruption(Located(where, "column " + c.name) + " holds " +
                              std::to_string(b.size()) + " bytes, its type needs " +
                              std::to_string(need));
  }
  const uint8_t* p = b.data();
  switch (c.type) {
    case coltype::kByte:
      return Value(int64_t(p[0]));
    case coltype::kInteger:
      return Value(int64_t(int16_t(LoadLe16(p))));
    case coltype::kLong:
      return Value(int64_t(int32_t(LoadLe32(p))));
    case coltype::kCurrency:
      return Value(Currency{int64_t(LoadLe64(p))});
    case coltype::kSingle:
      return Value(BitsToFloat(LoadLe32(p)));
    case coltype::kDouble:
      return Value(BitsToDouble(LoadLe64(p)));
    case coltype::kDateTime:
      return Value(OleDate{BitsToDouble(LoadLe64(p))});
    case coltype::kGuid: {
      Guid g;
      std::copy(p, p + kGuidSize, g.bytes.begin());
      return Value(g);
    }
    default: {
      auto d = DecodeNumeric(b, c.scale);
      if (!d.ok()) return d.status().WithContext(Located(where, "column " + c.name));
      return Value(*d);
    }
  }
}

Status ValueDecoder::DecodeTextInto(const ColumnDef& c, Bytes b, const std::string& where,
                                    Value& out) {
  auto* text = std::get_if<std::string>(&out);
  if (!text) text = &out.emplace<std::string>();
  text->clear();
  Status st;
  if (f_.text_is_unicode) {
    st = AppendDecodedJet4Text(b, *text);
  } else if (auto decoded = DecodeJet3Text(b, TextCodePage(c)); decoded.ok()) {
    *text = std::move(*decoded);
  } else {
    st = decoded.status();
  }
  if (!st.ok()) return st.WithContext(Located(where, "column " + c.name));
  return Status::Ok();
}

Result<Value> ValueDecoder::Decode(const ColumnDef& c, const ColumnData& d,
                                   const std::string& where) {
  Value v;
  PX_RETURN_IF_ERROR(DecodeInto(c, d, where, v));
  return v;
}

Status ValueDecoder::DecodeInto(const ColumnDef& c, const ColumnData& d, const std::string& where,
                                Value& out) {
  if (c.type == coltype::kBoolean) {
    out = d.bit;
    return Status::Ok();
  }
  if (d.null) {
    out = Null{};
    return Status::Ok();
  }
  switch (c.type) {
    case coltype::kText:
      return DecodeTextInto(c, d.bytes, where, out);
    case coltype::kBinary:
      out = Binary{std::vector<uint8_t>(d.bytes.begin(), d.bytes.end())};
      return Status::Ok();
    case coltype::kMemo:
    case coltype::kOle: {
      PX_ASSIGN_OR_RETURN(auto data,
                          ReadLongValue(pager_, f_, d.bytes, Located(where, "column " + c.name)));
      if (c.type == coltype::kOle) {
        out = Binary{std::move(data)};
        return Status::Ok();
      }
      return DecodeTextInto(c, Bytes(data), where, out);
    }
    default: {
      PX_ASSIGN_OR_RETURN(out, DecodeFixed(c, d.bytes, where));
      return Status::Ok();
    }
  }
}

}  // namespace px::jet
