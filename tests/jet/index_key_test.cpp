// Index keys of single values against bytes Access wrote (quoted in the comments), the
// order keys must keep, and the refusals. The sample sweep (sample_sweep_test.cpp) covers
// whole files; these pin the cases the samples lack.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "jet/index_key.h"
#include "jet/index_verify.h"
#include "jet/text.h"

namespace px::jet {
namespace {

ColumnDef Col(uint8_t type, uint16_t lcid = kLcidGeneral, uint8_t version = 0) {
  ColumnDef c;
  c.name = "C";
  c.type = type;
  c.sort_order = lcid;
  c.sort_version = version;
  c.scale = 4;
  return c;
}

std::string Key(const ColumnDef& c, TextOrder order, bool asc, const Value& v) {
  std::vector<uint8_t> out;
  Status st = AppendColumnKey(c, order, asc, v, out);
  if (!st.ok()) return "error: " + st.message();
  return HexBytes(out, 1000);
}

Guid TestGuid() {
  Guid g;
  const uint8_t b[16] = {0x44, 0x33, 0x22, 0x11, 0x66, 0x55, 0x88, 0x77,
                         0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff, 0x00};
  std::copy(b, b + 16, g.bytes.begin());
  return g;
}

struct ValueCase {
  const char* name;
  uint8_t type;
  TextOrder order;
  bool ascending;
  Value value;
  const char* key;
};

TEST(IndexKey, ValuesEncodeAsAccessStoresThem) {
  using namespace coltype;
  using namespace std::string_literals;
  constexpr TextOrder kLegacy = TextOrder::kGeneralLegacy, kTurkish = TextOrder::kTurkish,
                      k97 = TextOrder::kGeneral97;
  const ValueCase cases[] = {
      // testV2000 Table1 primary key leaf: "a", "abcdefg".
      {"text a", kText, kLegacy, true, "a"s, "7f 4a 01 00"},
      {"text abcdefg", kText, kLegacy, true, "abcdefg"s, "7f 4a 4c 4d 4f 51 53 55 01 00"},
      {"case folds", kText, kLegacy, true, "A"s, "7f 4a 01 00"},
      {"trailing spaces", kText, kLegacy, true, "a   "s, "7f 4a 01 00"},
      {"empty text", kText, kLegacy, true, ""s, "7f 01 00"},
      {"descending text", kText, kLegacy, false, "a"s, "80 b5 fe ff 00"},
      // Turkish letters under General: base letter plus accent code.
      {"C-cedilla", kText, kLegacy, true, "Ç"s, "7f 4d 01 1c 00"},
      {"g-breve", kText, kLegacy, true, "ğ"s, "7f 55 01 15 00"},
      {"dotted I", kText, kLegacy, true, "İ"s, "7f 59 01 10 00"},
      {"dotless i", kText, kLegacy, true, "ı"s, "7f 59 01 03 00"},
      {"s-cedilla", kText, kLegacy, true, "ş"s, "7f 6b 01 1c 00"},
      {"accent after a letter", kText, kLegacy, true, "aÜ"s, "7f 4a 6f 01 02 13 00"},
      // Ignorable hyphen at character 4: record 80 17 06 82 after three more 01s.
      {"hyphen", kText, kLegacy, true, "ANNE-"s, "7f 4a 62 62 51 01 01 01 01 80 17 06 82 00"},
      // Turkish order: own slots, dotless I pairs with ASCII I.
      {"turkish I", kText, kTurkish, true, "I"s, "7f 58 06 01 00"},
      {"turkish dotless", kText, kTurkish, true, "ı"s, "7f 58 06 01 00"},
      {"turkish i", kText, kTurkish, true, "i"s, "7f 59 01 00"},
      {"turkish dotted I", kText, kTurkish, true, "İ"s, "7f 59 01 00"},
      {"turkish c-cedilla", kText, kTurkish, true, "ç"s, "7f 4e 03 01 00"},
      {"turkish o-diaeresis", kText, kTurkish, true, "Ö"s, "7f 65 02 01 00"},
      // nwind Customers: "ALFKI" (Jet 3).
      {"jet3 ALFKI", kText, k97, true, "ALFKI"s, "7f 60 6d 67 6c 6a 00"},
      {"jet3 descending", kText, k97, false, "A"s, "80 9f ff"},
      {"expansion alone", kText, kLegacy, true, "ßa"s, "7f 6b 6b 4a 01 00"},
      {"null ascending", kLong, kLegacy, true, Null{}, "00"},
      {"null descending", kText, kLegacy, false, Null{}, "ff"},
      {"long 1", kLong, kLegacy, true, int64_t(1), "7f 80 00 00 01"},
      {"long -1", kLong, kLegacy, true, int64_t(-1), "7f 7f ff ff ff"},
      {"long 1 desc", kLong, kLegacy, false, int64_t(1), "80 7f ff ff fe"},
      {"integer 0", kInteger, kLegacy, true, int64_t(0), "7f 80 00"},
      {"byte 200", kByte, kLegacy, true, int64_t(200), "7f c8"},
      {"byte desc", kByte, kLegacy, false, int64_t(200), "80 37"},
      {"currency 1", kCurrency, kLegacy, true, Currency{10000}, "7f 80 00 00 00 00 00 27 10"},
      {"double 1", kDouble, kLegacy, true, 1.0, "7f bf f0 00 00 00 00 00 00"},
      {"double -1", kDouble, kLegacy, true, -1.0, "7f 40 0f ff ff ff ff ff ff"},
      {"double -1 desc", kDouble, kLegacy, false, -1.0, "80 bf f0 00 00 00 00 00 00"},
      {"single 2.5", kSingle, kLegacy, true, 2.5f, "7f c0 20 00 00"},
      {"date", kDateTime, kLegacy, true, OleDate{2.0}, "7f c0 00 00 00 00 00 00 00"},
      // Jackcess's keys for Boolean columns carry the flag byte (jet-oracle built files).
      {"boolean true", kBoolean, kLegacy, true, true, "7f 00"},
      {"boolean false", kBoolean, kLegacy, true, false, "7f ff"},
      {"boolean true desc", kBoolean, kLegacy, false, true, "80 ff"},
      // Decimal(18,4) 1.0 and -1.0 as ACE stores them.
      {"numeric 1", kNumeric, kLegacy, true, Decimal{0, 10000, 4, false},
       "7f ff 00 00 00 00 00 00 00 00 00 00 00 00 00 00 27 10"},
      {"numeric -1", kNumeric, kLegacy, true, Decimal{0, 10000, 4, true},
       "7f 00 ff ff ff ff ff ff ff ff ff ff ff ff ff ff d8 ef"},
      {"numeric rescaled", kNumeric, kLegacy, true, Decimal{0, 1, 0, false},
       "7f ff 00 00 00 00 00 00 00 00 00 00 00 00 00 00 27 10"},
      {"guid", kGuid, kLegacy, true, TestGuid(),
       "7f 11 22 33 44 55 66 77 88 09 99 aa bb cc dd ee ff 00 08"},
      {"binary", kBinary, kLegacy, true, Binary{{1, 2, 3}}, "7f 01 02 03 00 00 00 00 00 03"},
      {"binary desc", kBinary, kLegacy, false, Binary{{1, 2, 3}}, "80 fe fd fc ff ff ff ff ff fc"},
      {"binary two groups desc", kBinary, kLegacy, false, Binary{{0, 0, 0, 0, 0, 0, 0, 0, 1}},
       "80 ff ff ff ff ff ff ff ff 09 fe ff ff ff ff ff ff ff fe"},
  };
  for (const ValueCase& c : cases) {
    EXPECT_EQ(Key(Col(c.type), c.order, c.ascending, c.value), c.key) << c.name;
  }
}

struct RefusalCase {
  const char* name;
  ColumnDef column;
  TextOrder order;
  Value value;
  const char* message_part;
};

TEST(IndexKey, KeysThatCannotBeMadeExactlyAreRefusedNamingTheCause) {
  const RefusalCase cases[] = {
      {"jet3 g-breve", Col(coltype::kText), TextOrder::kGeneral97, std::string("Ağa"),
       "U+011F (ğ) has no known key in the General 97 sort order"},
      {"jet3 dotted I", Col(coltype::kText), TextOrder::kGeneral97, std::string("İ"), "U+0130 (İ)"},
      {"astral", Col(coltype::kText), TextOrder::kGeneralLegacy, std::string("a\U0001F600"),
       "U+1F600"},
      // Where accents and ignorables after an expansion go is not settled: refused.
      {"expansion then accent", Col(coltype::kText), TextOrder::kGeneralLegacy,
       std::string("Straße-é"), "U+002D (-) after U+00DF (ß) has no known key"},
      {"expansion then accent v1", Col(coltype::kText), TextOrder::kGeneral, std::string("Æé"),
       "U+00E9 (é) after U+00C6 (Æ)"},
      {"ole", Col(coltype::kOle), TextOrder::kGeneralLegacy, Binary{{1}}, "have no index keys"},
      {"integer range", Col(coltype::kInteger), TextOrder::kGeneralLegacy, int64_t(40000),
       "out of the column's range"},
      {"byte range", Col(coltype::kByte), TextOrder::kGeneralLegacy, int64_t(-1),
       "out of the column's range"},
      {"wrong type", Col(coltype::kLong), TextOrder::kGeneralLegacy, std::string("1"),
       "not a whole number"},
  };
  for (const RefusalCase& c : cases) {
    const std::string got = Key(c.column, c.order, true, c.value);
    EXPECT_NE(got.find("error: column C: "), std::string::npos) << c.name << ": " << got;
    EXPECT_NE(got.find(c.message_part), std::string::npos) << c.name << ": " << got;
  }
}

TEST(IndexKey, SortOrderComesFromTheColumnAndUnknownOnesAreRefused) {
  struct Case {
    const JetFormat* f;
    uint16_t lcid;
    uint8_t version;
    const char* expect;  // order name or message part
  } cases[] = {
      {&kJet4Format, 1033, 0, "General legacy"},
      {&kJet4Format, 1033, 1, "General"},
      {&kJet4Format, 0, 0, "General legacy"},
      {&kJet4Format, 1055, 0, "Turkish"},
      {&kJet3Format, 1033, 0, "General 97"},
      {&kJet3Format, 0, 0, "General 97"},
      {&kJet4Format, 1055, 1, "sort order 1055 version 1 (Jet 4) has no known index keys"},
      {&kJet4Format, 1049, 0, "sort order 1049 version 0"},
      {&kJet3Format, 1055, 0, "sort order 1055 (Jet 3)"},
  };
  for (const Case& c : cases) {
    auto order = TextOrderOf(*c.f, Col(coltype::kText, c.lcid, c.version));
    const std::string got =
        order.ok() ? std::string(TextOrderName(*order)) : order.status().message();
    EXPECT_NE(got.find(c.expect), std::string::npos)
        << c.lcid << "/" << int(c.version) << ": " << got;
  }
}

TableDef TwoColumnTable(uint16_t lcid) {
  TableDef def;
  ColumnDef a = Col(coltype::kLong);
  a.name = "Id";
  a.number = 0;
  ColumnDef b = Col(coltype::kText, lcid);
  b.name = "Ad";
  b.number = 1;
  def.columns = {a, b};
  return def;
}

TEST(IndexKey, ColumnsFollowTheIndexOrderAndDirection) {
  TableDef def = TwoColumnTable(kLcidGeneral);
  RealIndex index;
  index.columns = {{1, true}, {0, false}};  // Ad ascending, then Id descending
  const Value row[] = {int64_t(1), std::string("a")};
  auto key = EncodeIndexKey(kJet4Format, def, index, row, {"T", "I"});
  ASSERT_TRUE(key.ok()) << key.status().ToString();
  EXPECT_EQ(HexBytes(*key), "7f 4a 01 00 80 7f ff ff fe");
}

TEST(IndexKey, OverlongKeysAndUnknownOrdersAreRefusedNamingTableAndIndex) {
  TableDef def = TwoColumnTable(kLcidGeneral);
  RealIndex index;
  index.columns = {{1, true}};
  // 255 accented letters: 255 weights, 01, 255 accent codes, 00 and the flag = 513 bytes.
  std::string long_text;
  for (int i = 0; i < 255; ++i) long_text += "é";
  const Value row[] = {int64_t(1), long_text};
  auto key = EncodeIndexKey(kJet4Format, def, index, row, {"Cari", "UnvanIdx"});
  ASSERT_FALSE(key.ok());
  EXPECT_EQ(key.status().message(),
            "table Cari, index UnvanIdx: key of 513 bytes is longer than the 510 bytes Jet "
            "stores whole");
  def = TwoColumnTable(1049);
  const Value plain[] = {int64_t(1), std::string("a")};
  key = EncodeIndexKey(kJet4Format, def, index, plain, {"Cari", "UnvanIdx"});
  ASSERT_FALSE(key.ok());
  EXPECT_EQ(key.status().message(),
            "table Cari, index UnvanIdx: column Ad: sort order 1049 version 0 (Jet 4) has no "
            "known index keys");
}

// Raw byte order of keys must be value order (reversed for descending columns).
TEST(IndexKey, KeyOrderIsValueOrder) {
  std::mt19937_64 rng(20261123);
  std::uniform_real_distribution<double> real(-1e6, 1e6);
  std::uniform_int_distribution<int64_t> whole(INT32_MIN, INT32_MAX);
  struct Typed {
    uint8_t type;
    std::function<Value(double, int64_t)> make;
    std::function<double(const Value&)> number;
  };
  const Typed types[] = {
      {coltype::kLong, [](double, int64_t i) { return Value(i); },
       [](const Value& v) { return double(std::get<int64_t>(v)); }},
      {coltype::kCurrency, [](double, int64_t i) { return Value(Currency{i * 12345}); },
       [](const Value& v) { return double(std::get<Currency>(v).scaled); }},
      {coltype::kDouble, [](double d, int64_t) { return Value(d); },
       [](const Value& v) { return std::get<double>(v); }},
      {coltype::kSingle, [](double d, int64_t) { return Value(float(d)); },
       [](const Value& v) { return double(std::get<float>(v)); }},
      {coltype::kDateTime, [](double d, int64_t) { return Value(OleDate{d / 10}); },
       [](const Value& v) { return std::get<OleDate>(v).days; }},
      {coltype::kNumeric,
       [](double, int64_t i) {
         return Value(Decimal{0, uint64_t(i < 0 ? -i : i), 4, i < 0});
       },
       [](const Value& v) {
         const Decimal& d = std::get<Decimal>(v);
         return d.negative ? -double(d.lo) : double(d.lo);
       }},
  };
  for (const Typed& t : types) {
    std::vector<Value> values;
    for (int i = 0; i < 200; ++i) values.push_back(t.make(real(rng), whole(rng)));
    values.push_back(t.make(0.0, 0));
    for (bool asc : {true, false}) {
      std::vector<std::pair<std::string, double>> keyed;
      for (const Value& v : values) {
        std::vector<uint8_t> k;
        ASSERT_TRUE(AppendColumnKey(Col(t.type), TextOrder::kGeneralLegacy, asc, v, k).ok());
        keyed.emplace_back(std::string(k.begin(), k.end()), t.number(v));
      }
      std::sort(keyed.begin(), keyed.end());
      for (size_t i = 1; i < keyed.size(); ++i) {
        // Jet's legacy Decimal order puts descending negatives the wrong way round.
        if (t.type == coltype::kNumeric && !asc &&
            (keyed[i - 1].second < 0 || keyed[i].second < 0)) {
          continue;
        }
        if (asc) {
          EXPECT_LE(keyed[i - 1].second, keyed[i].second) << int(t.type);
        } else {
          EXPECT_GE(keyed[i - 1].second, keyed[i].second) << int(t.type);
        }
      }
    }
  }
}

TEST(IndexKey, TurkishOrderPlacesItsLettersBetweenTheLatinOnes) {
  // Each row: a < b under Turkish.
  const char* pairs[][2] = {{"c", "ç"}, {"ç", "d"}, {"g", "ğ"}, {"ğ", "h"},          {"h", "ı"},
                            {"ı", "i"}, {"I", "İ"}, {"o", "ö"}, {"ö", "p"},          {"s", "ş"},
                            {"ş", "t"}, {"u", "ü"}, {"ü", "v"}, {"SIRKET", "şirket"}};
  for (const auto& p : pairs) {
    std::vector<uint8_t> a, b;
    ASSERT_TRUE(AppendTextKey(TextOrder::kTurkish, p[0], true, a).ok());
    ASSERT_TRUE(AppendTextKey(TextOrder::kTurkish, p[1], true, b).ok());
    EXPECT_LT(a, b) << p[0] << " / " << p[1];
  }
}

TEST(VerifiedCharacters, ProvenKeysNameTableIndexAndColumn) {
  TableDef def = TwoColumnTable(kLcidTurkish);
  RealIndex index;
  index.columns = {{1, true}};
  const Value row[] = {int64_t(1), std::string("Işık")};
  VerifiedCharacters v;
  auto refused = EncodeProvenKey(kJet4Format, def, index, row, {"Cari", "Unvan"}, v);
  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.status().message(),
            "table Cari, index Unvan, column Ad: character U+0049 (I) occurs in no key of the "
            "Turkish sort order that this file's indexes confirm");
  v.Add(TextOrder::kTurkish, "kış");
  v.Add(TextOrder::kTurkish, "I");
  auto made = EncodeProvenKey(kJet4Format, def, index, row, {"Cari", "Unvan"}, v);
  ASSERT_TRUE(made.ok()) << made.status().ToString();
  EXPECT_EQ(HexBytes(*made), HexBytes(*EncodeIndexKey(kJet4Format, def, index, row, {"", ""})));
}

TEST(VerifiedCharacters, OnlyGeneralOrdersGoAheadUnproven) {
  VerifiedCharacters v;
  EXPECT_TRUE(v.MayEncode(TextOrder::kGeneralLegacy, "ŞİRKET").ok());
  EXPECT_TRUE(v.MayEncode(TextOrder::kGeneral97, "Çöü").ok());
  EXPECT_EQ(v.MayEncode(TextOrder::kGeneral97, "ğ").message(),
            "character U+011F (ğ) has no known key in the General 97 sort order");
  Status st = v.MayEncode(TextOrder::kTurkish, "Işık");
  EXPECT_TRUE(st.IsNotSupported());
  EXPECT_EQ(st.message(),
            "character U+0049 (I) occurs in no key of the Turkish sort order that this file's "
            "indexes confirm");
  v.Add(TextOrder::kTurkish, "IŞIK");
  v.Add(TextOrder::kTurkish, "ışık");
  EXPECT_TRUE(v.MayEncode(TextOrder::kTurkish, "IşıkKışı  ").ok());  // trailing spaces
  EXPECT_FALSE(v.MayEncode(TextOrder::kTurkish, "Işık kışı").ok());  // no space seen yet
  EXPECT_FALSE(v.MayEncode(TextOrder::kTurkish, "Işıklı").ok());     // no l yet
  // General keys prove nothing about Turkish ones.
  VerifiedCharacters g;
  g.Add(TextOrder::kGeneralLegacy, "abc");
  EXPECT_FALSE(g.MayEncode(TextOrder::kTurkish, "abc").ok());
}

}  // namespace
}  // namespace px::jet
