// Write with our writer, read with our reader, compare with the rows we started from.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

#include "core/value_text.h"
#include "xbf/xbf_types.h"
#include "xbf_test_util.h"

namespace px::xbf {
namespace {

FieldInfo Field(std::string name, int type, int64_t size = 0, uint32_t attrs = 0) {
  FieldInfo f;
  f.name = std::move(name);
  f.ado_type = type;
  f.size = size;
  f.attributes = attrs | fld::kMayBeNull | fld::kIsNullable;
  return f;
}

class VectorSource : public RowSource {
 public:
  VectorSource(std::vector<FieldInfo> f, std::vector<Row> rows)
      : fields_(std::move(f)), rows_(std::move(rows)) {}
  const std::vector<FieldInfo>& fields() const override { return fields_; }
  bool Next(Row& row) override {
    if (next_ >= rows_.size()) return false;
    row = rows_[next_++];
    return true;
  }
  Status status() const override { return Status::Ok(); }

 private:
  std::vector<FieldInfo> fields_;
  std::vector<Row> rows_;
  size_t next_ = 0;
};

OleDate Date(int y, int mo, int d, int h = 0, int mi = 0, int s = 0, int ms = 0) {
  return OleDate{PartsToOleDate(DateParts{y, mo, d, h, mi, s, ms})};
}

std::vector<FieldInfo> AllTypes() {
  std::vector<FieldInfo> f = {
      Field("ID", ado::kInteger, 4, fld::kFixed),
      Field("Kucuk", ado::kSmallInt, 2, fld::kFixed),
      Field("Bayt", ado::kUnsignedTinyInt, 1, fld::kFixed),
      Field("Buyuk", ado::kBigInt, 8, fld::kFixed),
      Field("Tek", ado::kSingle, 4, fld::kFixed),
      Field("Cift", ado::kDouble, 8, fld::kFixed),
      Field("Para", ado::kCurrency, 8, fld::kFixed),
      Field("EvetHayir", ado::kBoolean, 2, fld::kFixed),
      Field("Tarih", ado::kDate, 16, fld::kFixed),
      Field("Zaman", ado::kDBTimeStamp, 16, fld::kFixed),
      Field("Kimlik", ado::kGUID, 16, fld::kFixed),
      Field("Ondalik", ado::kDecimal, 16, fld::kFixed),
      Field("Sayisal", ado::kNumeric, 19, fld::kFixed),
      Field("Metin", ado::kVarWChar, 255),
      Field("Not", ado::kLongVarWChar, 536870910, fld::kLong),
      Field("Resim", ado::kLongVarBinary, 1073741823, fld::kLong),
      Field("Sabit", ado::kWChar, 6, fld::kFixed),
      Field("Şehir Adı", ado::kVarWChar, 50),  // not an XML name: written as c17
  };
  f[11].precision = 28;
  f[11].scale = 10;
  f[12].precision = 19;
  f[12].scale = 4;
  return f;
}

Decimal Dec(const char* text) {
  return *DecimalFromText(text);
}

std::vector<Row> AllTypeRows() {
  std::vector<uint8_t> all(300);
  for (size_t i = 0; i < all.size(); ++i) all[i] = uint8_t(i);
  std::string controls;
  for (int c = 1; c < 32; ++c) controls += char(c);
  Guid g = *GuidFromText("{01234567-89AB-CDEF-0123-456789ABCDEF}");
  const Null n;
  return {
      {int64_t(1), int64_t(-32768), int64_t(255), std::numeric_limits<int64_t>::min(),
       std::numeric_limits<float>::max(), std::numeric_limits<double>::max(),
       Currency{std::numeric_limits<int64_t>::min()}, true, Date(100, 1, 1),
       Date(9999, 12, 31, 23, 59, 59, 999), g, Dec("-123456789012345678.0123456789"), Dec("-.0001"),
       std::string("Ağaç İşçi ığüşöç ĞÜŞİÖÇ & <'\"> €"),
       std::string("satır 1\r\nsatır 2\tsekme") + controls, Binary{all}, std::string("ab    "),
       std::string("İzmir")},
      {int64_t(2), int64_t(32767), int64_t(0), std::numeric_limits<int64_t>::max(),
       std::numeric_limits<float>::denorm_min(), std::numeric_limits<double>::denorm_min(),
       Currency{std::numeric_limits<int64_t>::max()}, false, Date(1899, 12, 30, 12),
       Date(1601, 1, 1), Guid{}, Dec("0.0000000001"), Dec("0"), std::string(""), std::string(""),
       Binary{}, std::string("      "), std::string("")},
      {int64_t(3), n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n, n},
      {int64_t(4), int64_t(0), int64_t(1), int64_t(-1), -1.5f, -0.1, Currency{-1}, true,
       Date(1, 1, 1), Date(2026, 1, 2, 3, 4, 5, 123), n, Dec("1"), Dec("12.5"),
       std::string("a\x01\x02\x7f"), std::string(70000, 'x'), Binary{{0}}, std::string("Ş     "),
       std::string("x")},
  };
}

std::vector<Row> WriteAndRead(const std::vector<FieldInfo>& fields, const std::vector<Row>& rows,
                              std::vector<FieldInfo>* read_fields = nullptr,
                              RowsetOptions options = {}) {
  VectorSource src(fields, rows);
  StringSink sink;
  Status st = WriteRecordset(src, sink, options);
  EXPECT_TRUE(st.ok()) << st.ToString();
  auto back = testing::ReadText(sink.data());
  EXPECT_TRUE(back.status.ok()) << back.status.ToString();
  if (read_fields) *read_fields = back.fields;
  return back.rows;
}

TEST(XbfRoundTrip, EveryFieldTypeWithNullsEmptiesTurkishAndExtremes) {
  auto fields = AllTypes();
  auto rows = AllTypeRows();
  rows[3][8] = Date(2000, 2, 29, 1, 2, 3);  // year 1 is outside what a file can hold
  for (auto encoding : {TextEncoding::kUtf8, TextEncoding::kUtf16Le}) {
    std::vector<FieldInfo> read_fields;
    auto back = WriteAndRead(fields, rows, &read_fields, RowsetOptions{true, "", encoding});
    ASSERT_EQ(back.size(), rows.size());
    for (size_t r = 0; r < rows.size(); ++r) {
      for (size_t c = 0; c < fields.size(); ++c) {
        const Value& want = rows[r][c];
        if (fields[c].ado_type == ado::kNumeric && !IsNull(want)) {
          // Numerics come back with the field's scale; the number is the same.
          EXPECT_EQ(DecimalToPlain(std::get<Decimal>(back[r][c])),
                    DecimalToPlain(std::get<Decimal>(want)));
          continue;
        }
        EXPECT_EQ(back[r][c], want) << "row " << r << " field " << fields[c].name;
      }
    }
    ASSERT_EQ(read_fields.size(), fields.size());
    for (size_t c = 0; c < fields.size(); ++c) {
      EXPECT_EQ(read_fields[c].name, fields[c].name);
      EXPECT_EQ(read_fields[c].ado_type, fields[c].ado_type) << fields[c].name;
      EXPECT_EQ(read_fields[c].size, fields[c].size) << fields[c].name;
      EXPECT_EQ(read_fields[c].attributes, fields[c].attributes) << fields[c].name;
    }
  }
}

TEST(XbfRoundTrip, NamesThatAreNotXmlNamesAreMapped) {
  std::vector<FieldInfo> f = {Field("Ad", ado::kVarWChar, 10),    Field("Ad", ado::kVarWChar, 10),
                              Field("1inci", ado::kVarWChar, 10), Field("a-b", ado::kVarWChar, 10),
                              Field("Gün", ado::kVarWChar, 10),   Field("", ado::kVarWChar, 10)};
  EXPECT_EQ(XbfWriter::XmlNames(f), (std::vector<std::string>{"Ad", "c1", "c2", "c3", "c4", "c5"}));
  // A real name that looks like a generated one is mapped as well.
  std::vector<FieldInfo> clash = {Field("a b", ado::kVarWChar, 10), Field("c0", ado::kVarWChar, 10),
                                  Field("c1x", ado::kVarWChar, 10)};
  EXPECT_EQ(XbfWriter::XmlNames(clash), (std::vector<std::string>{"c0", "c1", "c1x"}));
  auto clash_back = WriteAndRead(clash, {{std::string("1"), std::string("2"), std::string("3")}});
  ASSERT_EQ(clash_back.size(), 1u);
  EXPECT_EQ(clash_back[0][1], Value(std::string("2")));
  std::vector<FieldInfo> back_fields;
  auto back = WriteAndRead(f,
                           {{std::string("x"), std::string("y"), Null{}, std::string("z"),
                             std::string("ğ"), std::string("e")}},
                           &back_fields);
  ASSERT_EQ(back.size(), 1u);
  EXPECT_EQ(back[0][1], Value(std::string("y")));
  EXPECT_EQ(back[0][4], Value(std::string("ğ")));
  EXPECT_EQ(back_fields[4].name, "Gün");
}

// Counts bytes and the largest single write.
class MeasuringSink : public ByteSink {
 public:
  Status Write(std::string_view b) override {
    total += b.size();
    largest = std::max(largest, b.size());
    return Status::Ok();
  }
  size_t total = 0, largest = 0;
};

TEST(XbfRoundTrip, RowsStreamThroughInBoundedChunks) {
  std::vector<Row> rows;
  for (int64_t i = 0; i < 200000; ++i) rows.push_back({i, "satır " + std::to_string(i)});
  VectorSource src({Field("ID", ado::kInteger, 4, fld::kFixed), Field("Metin", ado::kVarWChar, 50)},
                   std::move(rows));
  MeasuringSink sink;
  ASSERT_TRUE(WriteRecordset(src, sink).ok());
  EXPECT_GT(sink.total, 6000000u);
  EXPECT_LT(sink.largest, 200000u);
}

TEST(XbfRoundTrip, RefusedValuesLeaveTheReplacedFileAsItWas) {
  const auto dir = std::filesystem::temp_directory_path() / "px_xbf_replace_test";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  const std::string target = (dir / "a-T.xbf").string();
  { std::ofstream(target) << "old"; }
  // Values that do not fit their type, and a short row, are refused after a good row.
  std::vector<FieldInfo> f = {Field("D", ado::kDouble, 8, fld::kFixed)};
  for (Row bad : {Row{std::string("x")}, Row{std::numeric_limits<double>::infinity()},
                  Row{std::nan("")}, Row{}}) {
    VectorSource src(f, {{1.0}, bad});
    EXPECT_TRUE(WriteRecordsetFile(src, target).IsInvalidArgument());
    EXPECT_EQ(testing::ReadAll(target), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir), {}), 1);
  }
  VectorSource good(f, {{1.0}});
  ASSERT_TRUE(WriteRecordsetFile(good, target).ok());
  EXPECT_NE(testing::ReadAll(target).find("D='1'"), std::string::npos);
  std::filesystem::remove_all(dir);
}

TEST(XbfPadding, FixedTextIsPaddedAsAdoCountsIt) {
  auto field = [](int type, int64_t size) { return Field("k", type, size, fld::kFixed); };
  // ANSI (char) fields count bytes of their code page: double-byte pages take two for most
  // characters; wide (nchar) fields count UTF-16 units whatever the code page.
  struct {
    int type;
    int64_t size;
    int code_page;
    std::string in;
    std::string out;
  } const cases[] = {
      {ado::kWChar, 5, 1254, "ab", "ab   "},
      {ado::kWChar, 5, 1254, "ığ", "ığ   "},                               // two units, four bytes
      {ado::kWChar, 5, 1254, "a\xF0\x9F\x98\x80", "a\xF0\x9F\x98\x80  "},  // U+1F600: two units
      {ado::kWChar, 2, 1254, "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},      // already full
      {ado::kWChar, 3, 1254, "abcd", "abcd"},                              // never cut
      {ado::kWChar, 4, 932, "日本", "日本  "},
      {ado::kChar, 4, 1254, "Şı", "Şı  "},  // one byte a character in Windows-1254
      {ado::kChar, 6, 932, "日本", "日本  "},
      {ado::kChar, 6, 932, "ｱa", "ｱa    "},  // half-width katakana: one byte
      {ado::kChar, 4, 936, "€中", "€中 "},   // the euro sign: one byte in 936
      {ado::kChar, 4, 949, "한a", "한a "},
      {ado::kChar, 4, 950, "中文", "中文"},
      {ado::kChar, 3, 950, "中文", "中文"},  // never cut
      {ado::kVarChar, 5, 932, "ab", "ab"},
      {ado::kVarWChar, 5, 1254, "ab", "ab"},
  };
  for (const auto& c : cases) {
    auto v = FormatValue(field(c.type, c.size), Value(c.in), c.code_page);
    ASSERT_TRUE(v.ok()) << c.in;
    EXPECT_EQ(*v, c.out) << c.type << " " << c.code_page << " " << c.in;
  }
  // The writer pads with the code page of its options.
  std::vector<FieldInfo> fields = {field(ado::kChar, 6)};
  VectorSource src(fields, {{std::string("日本")}});
  StringSink sink;
  RowsetOptions options;
  options.ansi_code_page = 932;
  ASSERT_TRUE(WriteRecordset(src, sink, options).ok());
  EXPECT_NE(sink.data().find("k='日本  '"), std::string::npos) << sink.data();
}

// Numbers and dates are formatted by hand and by std::to_chars; they must give exactly what
// printf gives, over values from every range. Floating-point text reads back as strtod reads it.
TEST(XbfFormat, NumbersAndDatesMatchPrintf) {
  std::mt19937_64 random(7);
  auto text = [](int type, const Value& v) {
    auto t = FormatValue(Field("v", type), v);
    return t.ok() ? *t : "error: " + t.status().message();
  };
  const Value refused = std::string("refused");
  auto parsed = [&](int type, const std::string& t) {
    auto v = ParseValue(Field("v", type), t);
    return v.ok() ? *v : refused;
  };
  for (const char* t : {"+1.5", "-0", "1e-400", "4.9e-324", "2.2250738585072011e-308", "1e309",
                        "1262.1949999999999", "9007199254740993", "+-1", "-.5e-3", "5.", "1e",
                        "3.4028235e38", "3.4028236e38", "1e-46", "7.0064923e-46", "1E+2"}) {
    char *end = nullptr, *fend = nullptr;
    const double d = std::strtod(t, &end);
    const float f = std::strtof(t, &fend);
    EXPECT_EQ(parsed(ado::kDouble, t), *end || !std::isfinite(d) ? refused : Value(d)) << t;
    EXPECT_EQ(parsed(ado::kSingle, t), *fend || !std::isfinite(f) ? refused : Value(f)) << t;
  }
  auto printf_text = [](const char* format, auto... args) {
    char buf[64];
    std::snprintf(buf, sizeof buf, format, args...);
    return std::string(buf);
  };
  for (int i = 0; i < 20000; ++i) {
    const uint64_t bits = random();
    double d;
    std::memcpy(&d, &bits, sizeof d);
    if (std::isfinite(d) && d != 0) {
      ASSERT_EQ(text(ado::kDouble, d), printf_text("%.17G", d));
      ASSERT_EQ(parsed(ado::kDouble, printf_text("%.17G", d)), Value(d));
      ASSERT_EQ(parsed(ado::kDouble, ShortestDouble(d)), Value(d));
    }
    const double scaled = double(int64_t(bits % 2000000) - 1000000) / 1000;
    ASSERT_EQ(text(ado::kDouble, scaled), scaled == 0 ? "0" : printf_text("%.17G", scaled));
    float f;
    const uint32_t fbits = uint32_t(bits);
    std::memcpy(&f, &fbits, sizeof f);
    if (std::isfinite(f) && f != 0) {
      const bool subnormal = std::fabs(f) < std::numeric_limits<float>::min();
      ASSERT_EQ(text(ado::kSingle, f), printf_text("%.*G", subnormal ? 10 : 8, double(f)));
    }
    const Currency c{int64_t(bits) >> (bits % 50)};
    ASSERT_EQ(text(ado::kCurrency, c), CurrencyToPlain(c));
    // Whole seconds from the year 100 to 9999.
    const double day = double(int64_t(bits % 310000000000) - 58000000000) / 86400;
    auto p = OleDateToParts(day);
    ASSERT_TRUE(p);
    if (p->millisecond == 0 && p->year >= 0) {
      ASSERT_EQ(text(ado::kDate, OleDate{day}),
                printf_text("%04d-%02d-%02dT%02d:%02d:%02d", p->year, p->month, p->day, p->hour,
                            p->minute, p->second));
      ASSERT_EQ(text(ado::kDBDate, OleDate{day}),
                printf_text("%04d-%02d-%02d", p->year, p->month, p->day));
      ASSERT_EQ(text(ado::kDBTime, OleDate{day}),
                printf_text("%02d:%02d:%02d", p->hour, p->minute, p->second));
    }
  }
  EXPECT_EQ(text(ado::kDouble, 1.7976931348623157e308), "1.7976931348623157E+308");
  EXPECT_EQ(text(ado::kDouble, 1e-5), "1.0000000000000001E-05");
  EXPECT_EQ(text(ado::kDouble, -0.0), "0");
  EXPECT_EQ(text(ado::kDate, Date(2001, 2, 3, 4, 5, 6, 600)), "2001-02-03T04:05:07");  // rounded
  EXPECT_EQ(text(ado::kDBTimeStamp, OleDate{36526.5 + 0.123 / 86400}),
            "2000-01-01T12:00:00.123000000");
}

}  // namespace
}  // namespace px::xbf
