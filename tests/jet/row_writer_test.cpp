// Row and value encoders checked against the decoders: every column type through
// EncodeValue -> EncodeRow -> CrackRow -> ValueDecoder, in both formats, and the values the
// encoders must refuse. The decoders are held to rows laid out by hand in codec_test.cpp, so
// a row the writer lays out wrong does not read back.
#include <gtest/gtest.h>

#include <random>

#include "core/value_text.h"
#include "jet/long_value.h"
#include "jet/long_value_writer.h"
#include "jet/row_writer.h"
#include "jet/value_encoder.h"
#include "jet/values.h"
#include "page_builder.h"

namespace px::jet {
namespace {

using testing::DataPage;
using testing::Join;

struct ColumnCase {
  const char* name;
  uint8_t type;
  uint16_t length;  // Jet 4 bytes (text: 2 x characters); halved for Jet 3 text
  Value in;
  Value out;  // what reads back (in when Null{} and in is not Null)
  uint8_t precision = 0;
  uint8_t scale = 0;
  uint8_t extra_flags = 0;
};

Decimal Dec(uint64_t lo, uint8_t scale, bool negative = false, uint64_t hi = 0) {
  return Decimal{hi, lo, scale, negative};
}

Guid SomeGuid() {
  Guid g;
  for (size_t k = 0; k < 16; ++k) g.bytes[k] = uint8_t(0xA0 + k);
  return g;
}

std::vector<ColumnCase> AllTypes() {
  return {
      {"yes", coltype::kBoolean, 1, true, Null{}},
      {"no", coltype::kBoolean, 1, false, Null{}},
      {"nullbool", coltype::kBoolean, 1, Null{}, false},
      {"byte", coltype::kByte, 1, int64_t(255), Null{}},
      {"int", coltype::kInteger, 2, int64_t(-32768), Null{}},
      {"long", coltype::kLong, 4, int64_t(2147483647), Null{}},
      {"longtrue", coltype::kLong, 4, true, int64_t(-1)},
      {"money", coltype::kCurrency, 8, Currency{-12345678901234}, Null{}},
      {"money_int", coltype::kCurrency, 8, int64_t(7), Currency{70000}},
      {"money_dec", coltype::kCurrency, 8, Dec(123456, 2), Currency{12345600}},
      {"single", coltype::kSingle, 4, 1.5f, Null{}},
      {"double", coltype::kDouble, 8, -0.1, Null{}},
      {"double_long", coltype::kDouble, 8, int64_t(3), 3.0},
      {"date", coltype::kDateTime, 8, OleDate{-1.25}, Null{}},
      {"guid", coltype::kGuid, 16, SomeGuid(), Null{}},
      {"num", coltype::kNumeric, 17, Dec(314159, 5), Null{}, 18, 5},
      {"num_neg", coltype::kNumeric, 17, Dec(5, 0, true), Dec(500, 2, true), 10, 2},
      {"num_round", coltype::kNumeric, 17, Dec(12345, 3), Dec(1235, 2), 10, 2},
      {"num_big", coltype::kNumeric, 17, Dec(0xFFFFFFFFFFFFFFFF, 0, false, 0x1F),
       Dec(0xFFFFFFFFFFFFFFFF, 0, false, 0x1F), 28, 0},
      {"num_null", coltype::kNumeric, 17, Null{}, Null{}, 18, 0},
      {"text", coltype::kText, 40, std::string("Çağrı İş"), Null{}},
      {"text_cmp", coltype::kText, 40, std::string("Müşteri çek ödü"), Null{}, 0, 0,
       kColExtraCompressedUnicode},
      {"text_latin", coltype::kText, 40, std::string("Ölçü"), Null{}, 0, 0,
       kColExtraCompressedUnicode},
      {"text_empty", coltype::kText, 40, std::string(""), Null{}},
      {"text_null", coltype::kText, 40, Null{}, Null{}},
      {"bin", coltype::kBinary, 8, Binary{{0, 1, 2, 0xFF}}, Null{}},
  };
}

// A table holding the cases as columns: fixed ones packed in order, variable ones in slots.
TableDef TableOf(const JetFormat& f, const std::vector<ColumnCase>& cases) {
  TableDef def;
  uint16_t fixed = 0, var = 0;
  for (size_t i = 0; i < cases.size(); ++i) {
    ColumnDef c;
    c.name = cases[i].name;
    c.type = cases[i].type;
    c.number = uint16_t(2 * i + 1);  // gaps as left by deleted columns
    c.length = cases[i].length;
    if (c.type == coltype::kText && !f.text_is_unicode) c.length /= 2;
    c.precision = cases[i].precision;
    c.scale = cases[i].scale;
    c.extra_flags = cases[i].extra_flags;
    c.code_page = f.text_is_unicode ? 0 : 1254;
    const bool variable = c.type == coltype::kText || c.type == coltype::kBinary ||
                          c.type == coltype::kMemo || c.type == coltype::kOle;
    if (variable) {
      c.var_index = var++;
    } else {
      c.flags = colflag::kFixed;
      c.fixed_offset = fixed;
      if (c.type != coltype::kBoolean) fixed = uint16_t(fixed + c.length);
    }
    def.columns.push_back(c);
  }
  def.max_cols = uint16_t(2 * cases.size() + 1);
  def.var_cols = uint16_t(var + 1);  // one slot of a deleted column
  return def;
}

std::unique_ptr<Pager> EmptyPager(const JetFormat& f, std::vector<uint8_t> file = {}) {
  if (file.empty()) file.assign(f.page_size, 0);
  return std::make_unique<Pager>(MemorySource(std::move(file), "mem.mdb"), f.page_size, 0);
}

// Encodes one value per column, builds the row, cracks and decodes it again.
std::vector<Value> RoundTrip(const JetFormat& f, const TableDef& def,
                             const std::vector<Value>& values, Pager& pager) {
  std::vector<EncodedValue> enc;
  for (size_t i = 0; i < def.columns.size(); ++i) {
    auto e = EncodeValue(f, def.columns[i], values[i], 1254, "table T");
    EXPECT_TRUE(e.ok()) << def.columns[i].name << ": " << e.status().ToString();
    enc.push_back(e.ok() ? *e : EncodedValue{});
  }
  std::vector<ColumnData> data(enc.size());
  for (size_t i = 0; i < enc.size(); ++i) data[i] = {enc[i].null, enc[i].bit, enc[i].bytes};
  auto row = EncodeRow(f, def, data, "table T");
  EXPECT_TRUE(row.ok()) << row.status().ToString();
  if (!row.ok()) return {};
  std::vector<ColumnData> cracked;
  Status st = CrackRow(f, def, *row, cracked, "row");
  EXPECT_TRUE(st.ok()) << st.ToString();
  ValueDecoder dec(pager, f, 1254);
  std::vector<Value> out;
  for (size_t i = 0; i < def.columns.size(); ++i) {
    auto v = dec.Decode(def.columns[i], cracked[i], "row");
    EXPECT_TRUE(v.ok()) << def.columns[i].name << ": " << v.status().ToString();
    out.push_back(v.ok() ? *v : Value(Null{}));
  }
  return out;
}

class RowRoundTrip : public ::testing::TestWithParam<const JetFormat*> {};

TEST_P(RowRoundTrip, EveryTypeReadsBackAsWritten) {
  const JetFormat& f = *GetParam();
  auto cases = AllTypes();
  if (!f.text_is_unicode) {  // Jet 3 text is code-page bytes: Turkish letters in 1254
    for (auto& c : cases) c.extra_flags = 0;
  }
  TableDef def = TableOf(f, cases);
  auto pager = EmptyPager(f);
  std::vector<Value> in;
  for (auto& c : cases) in.push_back(c.in);
  auto out = RoundTrip(f, def, in, *pager);
  ASSERT_EQ(out.size(), cases.size());
  for (size_t i = 0; i < cases.size(); ++i) {
    const Value& want = IsNull(cases[i].out) && !IsNull(cases[i].in) ? cases[i].in : cases[i].out;
    EXPECT_EQ(out[i], want) << cases[i].name << ": got alternative " << out[i].index();
  }
  // A row of Nulls: a Null Boolean reads false.
  out = RoundTrip(f, def, std::vector<Value>(cases.size(), Value(Null{})), *pager);
  for (size_t i = 0; i < out.size(); ++i) {
    const bool boolean = cases[i].type == coltype::kBoolean;
    EXPECT_EQ(out[i], boolean ? Value(false) : Value(Null{})) << cases[i].name;
  }
}

// Rows of many variable columns of random lengths cross one, two or more 256-byte
// boundaries: the Jet 3 jump table (with its dummy entry) must always read back.
TEST_P(RowRoundTrip, VariableColumnsOfRandomLengths) {
  const JetFormat& f = *GetParam();
  std::vector<ColumnCase> cases;
  static const char* kNames[] = {"a", "b", "c", "d", "e", "f", "g", "h"};
  for (const char* n : kNames) cases.push_back({n, coltype::kText, 510, Null{}, Null{}});
  cases.push_back({"id", coltype::kLong, 4, Null{}, Null{}});
  TableDef def = TableOf(f, cases);
  auto pager = EmptyPager(f);
  std::mt19937 rng(20261123);
  for (int round = 0; round < 400; ++round) {
    std::vector<Value> in;
    const size_t budget = f.text_is_unicode ? 250 : 255;
    for (size_t i = 0; i + 1 < cases.size(); ++i) {
      const size_t n = rng() % 3 == 0 ? 0 : rng() % budget;
      if (rng() % 5 == 0) {
        in.push_back(Null{});
      } else {
        in.push_back(std::string(n, char('a' + i)));
      }
    }
    in.push_back(int64_t(round));
    auto out = RoundTrip(f, def, in, *pager);
    ASSERT_EQ(out.size(), in.size());
    for (size_t i = 0; i < in.size(); ++i) ASSERT_EQ(out[i], in[i]) << "round " << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, RowRoundTrip, ::testing::Values(&kJet3Format, &kJet4Format),
                         [](const auto& p) { return p.param == &kJet3Format ? "Jet3" : "Jet4"; });

// A column of the rows laid out by hand below.
ColumnDef Column(const char* name, uint8_t type, uint16_t number, uint16_t length,
                 uint8_t flags = 0, uint16_t var_index = 0) {
  ColumnDef c;
  c.name = name;
  c.type = type;
  c.number = number;
  c.length = length;
  c.flags = flags;
  c.var_index = var_index;
  return c;
}

struct RefusalCase {
  const char* name;
  uint8_t type;
  uint16_t length;
  Value value;
  const char* message;
  uint8_t precision = 0;
  uint8_t scale = 0;
};

TEST(ValueEncoder, RefusesWhatTheColumnCannotHold) {
  const RefusalCase cases[] = {
      {"b", coltype::kByte, 1, int64_t(256), "value 256 is outside 0..255"},
      {"i", coltype::kInteger, 2, int64_t(-32769), "is outside -32768..32767"},
      {"l", coltype::kLong, 4, 1.5, "a Double value cannot be stored in a whole-number column"},
      {"l2", coltype::kLong, 4, std::string("5"), "a text value cannot be stored"},
      {"t", coltype::kText, 6, std::string("dört"), "text of 4 characters exceeds the 3"},
      {"bin", coltype::kBinary, 2, Binary{{1, 2, 3}}, "3 bytes exceed the 2"},
      {"n", coltype::kNumeric, 17, Dec(1000, 0), "more than 3 digits", 3, 0},
      {"n2", coltype::kNumeric, 17, Dec(99995, 4), "more than 4 digits", 4, 3},  // 10.000
      {"c", coltype::kCurrency, 8, int64_t(INT64_MAX), "too large for Currency"},
      {"g", coltype::kGuid, 16, std::string("x"), "cannot be stored in a GUID column"},
      {"d", coltype::kDateTime, 8, int64_t(4), "cannot be stored in a Date/Time column"},
      {"t8", coltype::kText, 20, std::string("\xC3\x28"), "not valid UTF-8"},
  };
  for (const auto& rc : cases) {
    ColumnDef c = Column(rc.name, rc.type, 0, rc.length);
    c.precision = rc.precision;
    c.scale = rc.scale;
    auto e = EncodeValue(kJet4Format, c, rc.value, 1252, "table Cari, row 3");
    ASSERT_FALSE(e.ok()) << rc.name;
    EXPECT_NE(e.status().message().find(rc.message), std::string::npos)
        << rc.name << ": " << e.status().message();
    EXPECT_NE(e.status().message().find("table Cari, row 3: column " + std::string(rc.name)),
              std::string::npos)
        << e.status().message();
  }
}

TEST(ValueEncoder, Jet3TextNeedsItsCodePage) {
  ColumnDef c = Column("ad", coltype::kText, 0, 10);
  c.code_page = 1252;
  auto e = EncodeValue(kJet3Format, c, std::string("ış"), 1254, "t");
  EXPECT_FALSE(e.ok());  // ı and ş are not in Windows-1252
  c.code_page = 1254;
  e = EncodeValue(kJet3Format, c, std::string("ış"), 1252, "t");
  ASSERT_TRUE(e.ok());
  EXPECT_EQ(e->bytes, (std::vector<uint8_t>{0xFD, 0xFE}));
}

TEST(ValueEncoder, RowTooLargeIsRefused) {
  TableDef def;
  def.max_cols = 2;
  def.var_cols = 2;
  def.columns = {Column("a", coltype::kBinary, 0, 255),
                 Column("a", coltype::kBinary, 1, 255, 0, 1)};
  std::vector<uint8_t> big(2500, 1);
  std::vector<ColumnData> data = {{false, false, big}, {false, false, big}};
  auto row = EncodeRow(kJet4Format, def, data, "table Cari");
  ASSERT_FALSE(row.ok());
  EXPECT_NE(row.status().message().find("table Cari: row of 5011 bytes exceeds the 4060"),
            std::string::npos)
      << row.status().message();
}

// Long values of every storage kind read back through the reader: inline from the row,
// single and chained from LVAL rows on pages laid out with the writer's row bytes.
TEST(LongValueWriter, EveryKindReadsBack) {
  for (const JetFormat* f : {&kJet3Format, &kJet4Format}) {
    for (size_t size : {size_t(0), size_t(64), size_t(65), MaxLongValueRow(*f),
                        MaxLongValueRow(*f) + 1, 3 * ChainPieceSize(*f) + 17}) {
      std::vector<uint8_t> payload(size);
      for (size_t k = 0; k < size; ++k) payload[k] = uint8_t(k * 7 + size);
      // Stored rows run past the value's length: the length, not the row, ends it.
      std::vector<uint8_t> stored = payload;
      stored.insert(stored.end(), 3, 0xEE);
      const LongValueKind kind = ChooseLongValueKind(*f, size, true);
      std::vector<uint8_t> descriptor;
      std::vector<std::vector<uint8_t>> pages = {std::vector<uint8_t>(f->page_size, 0)};
      if (kind == LongValueKind::kInline) {
        descriptor = InlineLongValue(payload);
        EXPECT_LE(size, kMaxInlineLongValue);
      } else if (kind == LongValueKind::kSingle) {
        pages.push_back(DataPage(*f, 0x4C41564C, {stored}));
        auto d = LongValueDescriptor(kind, uint32_t(size), RowPointer{1, 0});
        descriptor.assign(d.begin(), d.end());
      } else {
        // One piece per page, page 1 onwards, each pointing at the next.
        const size_t piece = ChainPieceSize(*f);
        const size_t n = (size + piece - 1) / piece;
        for (size_t k = 0; k < n; ++k) {
          Bytes part = Bytes(stored).subspan(k * piece, std::min(piece, stored.size() - k * piece));
          RowPointer next = k + 1 < n ? RowPointer{uint32_t(k + 2), 0} : RowPointer{};
          pages.push_back(DataPage(*f, 0x4C41564C, {ChainRow(next, part)}));
        }
        auto d = LongValueDescriptor(kind, uint32_t(size), RowPointer{1, 0});
        descriptor.assign(d.begin(), d.end());
      }
      auto pager = EmptyPager(*f, Join(pages));
      auto back = ReadLongValue(*pager, *f, descriptor, "memo");
      ASSERT_TRUE(back.ok()) << size << ": " << back.status().ToString();
      EXPECT_EQ(*back, payload) << "size " << size;
    }
  }
  EXPECT_EQ(ChooseLongValueKind(kJet4Format, 10, false), LongValueKind::kSingle);
  EXPECT_EQ(MaxLongValueRow(kJet4Format), 4076u);
  EXPECT_EQ(MaxLongValueRow(kJet3Format), 2032u);
}

}  // namespace
}  // namespace px::jet
