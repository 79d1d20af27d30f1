// Decoders fed with bytes laid out by hand: rows (Jet 3 and Jet 4), text, numerics, long
// values and property blobs.
#include <gtest/gtest.h>

#include "core/value_text.h"
#include "jet/long_value.h"
#include "jet/properties.h"
#include "jet/row_codec.h"
#include "jet/text.h"
#include "jet/values.h"
#include "page_builder.h"

namespace px::jet {
namespace {

using testing::Append16;
using testing::Append32;
using testing::DataPage;
using testing::Join;
using testing::Utf16;

ColumnDef Col(std::string name, uint8_t type, uint16_t number, bool fixed, uint16_t offset_or_var,
              uint16_t length) {
  ColumnDef c;
  c.name = std::move(name);
  c.type = type;
  c.number = number;
  c.flags = fixed ? colflag::kFixed : 0;
  if (fixed)
    c.fixed_offset = offset_or_var;
  else
    c.var_index = offset_or_var;
  c.length = length;
  return c;
}

TEST(RowCodec, Jet4FixedVariableBooleanAndAddedColumn) {
  TableDef def;
  def.max_cols = 4;
  def.var_cols = 2;
  def.columns = {Col("id", coltype::kLong, 0, true, 0, 4),
                 Col("flag", coltype::kBoolean, 1, true, 0, 1),
                 Col("name", coltype::kText, 2, false, 0, 100),
                 Col("added", coltype::kText, 3, false, 1, 100)};
  // Written when the table had 3 columns and 1 variable slot.
  std::vector<uint8_t> row;
  Append16(row, 3);
  Append32(row, 0xFFFFFFFE);  // id = -2
  auto ab = Utf16(u"AB");
  row.insert(row.end(), ab.begin(), ab.end());
  Append16(row, 10);  // end of variable data
  Append16(row, 6);   // slot 0 starts after the fixed data
  Append16(row, 1);   // one variable slot
  row.push_back(0x07);
  std::vector<ColumnData> out;
  ASSERT_TRUE(CrackRow(kJet4Format, def, row, out, "row").ok());
  ASSERT_EQ(out.size(), 4u);
  EXPECT_EQ(int32_t(LoadLe32(out[0].bytes.data())), -2);
  EXPECT_TRUE(out[1].bit);
  EXPECT_FALSE(out[1].null);
  EXPECT_EQ(out[2].bytes.size(), 4u);
  EXPECT_TRUE(out[3].null);  // added after the row was written

  row.back() = 0x01;  // flag false, name null
  ASSERT_TRUE(CrackRow(kJet4Format, def, row, out, "row").ok());
  EXPECT_FALSE(out[1].bit);
  EXPECT_TRUE(out[2].null);
}

TEST(RowCodec, Jet3JumpTableForRowsPast256Bytes) {
  TableDef def;
  def.max_cols = 2;
  def.var_cols = 2;
  def.columns = {Col("a", coltype::kText, 0, false, 0, 255),
                 Col("b", coltype::kText, 1, false, 1, 255)};
  std::vector<uint8_t> row = {2};
  row.insert(row.end(), 200, 'a');
  row.insert(row.end(), 100, 'b');
  // Offsets 1, 201 and end 301: one byte each (301 - 256 = 45), slot 2 is the first past 256.
  row.insert(row.end(), {45, 201, 1});
  row.push_back(2);     // jump table: slot 2
  row.push_back(2);     // two variable slots
  row.push_back(0x03);  // both present
  ASSERT_EQ(row.size(), 307u);
  std::vector<ColumnData> out;
  Status st = CrackRow(kJet3Format, def, row, out, "row");
  ASSERT_TRUE(st.ok()) << st.ToString();
  EXPECT_EQ(out[0].bytes.size(), 200u);
  ASSERT_EQ(out[1].bytes.size(), 100u);
  EXPECT_EQ(out[1].bytes[0], 'b');
}

TEST(RowCodec, HostileRowsAreCorruption) {
  TableDef def;
  def.max_cols = 2;
  def.var_cols = 1;
  def.columns = {Col("id", coltype::kLong, 0, true, 0, 4),
                 Col("name", coltype::kText, 1, false, 0, 100)};
  std::vector<ColumnData> out;
  // Column count too large for the row.
  std::vector<uint8_t> row = {0xFF, 0xFF, 1, 2};
  EXPECT_TRUE(CrackRow(kJet4Format, def, row, out, "p 5 r 1").IsCorruption());
  // Variable offset pointing past the row.
  row.clear();
  Append16(row, 2);
  Append32(row, 1);
  Append16(row, 900);  // end
  Append16(row, 6);
  Append16(row, 1);
  row.push_back(0x03);
  Status st = CrackRow(kJet4Format, def, row, out, "p 5 r 1");
  EXPECT_TRUE(st.IsCorruption());
  EXPECT_NE(st.message().find("p 5 r 1"), std::string::npos);
  // Fixed column beyond the row.
  def.columns[0].fixed_offset = 40;
  row.back() = 0x01;
  EXPECT_TRUE(CrackRow(kJet4Format, def, row, out, "row").IsCorruption());
}

TEST(Text, CompressedUnicodeWithModeSwitches) {
  std::vector<uint8_t> b = {0xFF, 0xFE, 'a', 'b', 0x00, 0x1F, 0x01, 0x00, 'c'};
  EXPECT_EQ(*DecodeJet4Text(b), "abğc");
}

TEST(Text, JetComparisonIgnoresCaseOnly) {
  struct Case {
    const char* a;
    const char* b;
    uint16_t lcid;
    bool equal;
  };
  const Case cases[] = {
      {"tblSirket", "TBLSIRKET", kLcidGeneral, true},
      {"Çağ", "çAĞ", kLcidGeneral, true},
      {"a", "á", kLcidGeneral, false},  // accents matter
      {"abc", "abc ", kLcidGeneral, false},
      // Dotless ı and dotted İ: letters of their own under General, case pairs under Turkish.
      {"ı", "I", kLcidGeneral, false},
      {"I", "i", kLcidGeneral, true},
      {"ı", "I", kLcidTurkish, true},
      {"İ", "i", kLcidTurkish, true},
      {"I", "i", kLcidTurkish, false},
      {"ŞİRKET", "şirket", kLcidTurkish, true},
  };
  for (const Case& c : cases)
    EXPECT_EQ(JetTextEquals(c.a, c.b, c.lcid), c.equal) << c.a << "/" << c.b;
}

TEST(Values, NumericCurrencyAndDates) {
  std::vector<uint8_t> n = {0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x39, 0x30, 0, 0};
  auto d = DecodeNumeric(n, 2);
  ASSERT_TRUE(d.ok());
  EXPECT_EQ(DecimalToPlain(*d), "-123.45");
  n[0] = 0;
  n[1] = 1;  // most significant word first: 2^96 + 12345
  d = DecodeNumeric(n, 0);
  ASSERT_TRUE(d.ok());
  EXPECT_EQ(DecimalToPlain(*d), "79228162514264337593543962681");
  EXPECT_FALSE(DecodeNumeric(std::vector<uint8_t>(16), 0).ok());

  std::vector<uint8_t> file(4096 * 2, 0);
  Pager pager(MemorySource(file, "t.mdb"), 4096, 0);
  ValueDecoder dec(pager, kJet4Format, 1252);
  ColumnDef cur = Col("c", coltype::kCurrency, 0, true, 0, 8);
  std::vector<uint8_t> raw(8);
  StoreLe64(raw.data(), uint64_t(-12345678));
  ColumnData cd{false, false, raw};
  auto v = dec.Decode(cur, cd, "row");
  ASSERT_TRUE(v.ok());
  EXPECT_EQ(CurrencyToPlain(std::get<Currency>(*v)), "-1234.5678");
  ColumnDef date = Col("d", coltype::kDateTime, 0, true, 0, 8);
  StoreLe64(raw.data(), DoubleToBits(-1.25));
  v = dec.Decode(date, cd, "row");
  ASSERT_TRUE(v.ok());
  EXPECT_EQ(FormatIsoDateTime(*OleDateToParts(std::get<OleDate>(*v).days)), "1899-12-29T06:00:00");
  cd.bytes = Bytes(raw.data(), 3);  // too short for its type
  EXPECT_TRUE(dec.Decode(date, cd, "row").status().IsCorruption());
}

std::vector<uint8_t> Descriptor(uint32_t word, uint8_t row, uint32_t page) {
  std::vector<uint8_t> d;
  Append32(d, word);
  Append32(d, uint32_t(row) | page << 8);
  Append32(d, 0);
  return d;
}

std::vector<uint8_t> ChainRow(uint8_t next_row, uint32_t next_page, std::string_view data) {
  std::vector<uint8_t> r;
  Append32(r, uint32_t(next_row) | next_page << 8);
  r.insert(r.end(), data.begin(), data.end());
  return r;
}

TEST(LongValue, HostileDescriptorsAndChains) {
  const JetFormat& f = kJet4Format;
  // Two rows pointing at each other.
  auto loop = DataPage(f, 0x4C41564C, {ChainRow(1, 1, "ab"), ChainRow(0, 1, "cd")});
  Pager pager(MemorySource(Join({std::vector<uint8_t>(f.page_size), loop}), "loop.mdb"),
              f.page_size, 0);
  auto v = ReadLongValue(pager, f, Descriptor(1000, 0, 1), "table T column M");
  ASSERT_FALSE(v.ok());
  EXPECT_NE(v.status().message().find("loops at page 1 row 0"), std::string::npos)
      << v.status().message();
  EXPECT_NE(v.status().message().find("table T column M"), std::string::npos);
  // Inline length larger than the column.
  EXPECT_TRUE(ReadLongValue(pager, f, Descriptor(kLongValueInline | 50, 0, 0), "m")
                  .status()
                  .IsCorruption());
  // Pointer beyond the end of the file.
  v = ReadLongValue(pager, f, Descriptor(kLongValueSingle | 2, 0, 77), "m");
  ASSERT_FALSE(v.ok());
  EXPECT_NE(v.status().message().find("page 77 is beyond the end"), std::string::npos);
  // Length larger than the whole file.
  EXPECT_TRUE(ReadLongValue(pager, f, Descriptor(0x3FFFFFFF, 0, 1), "m").status().IsCorruption());
  // Chain ending early.
  auto short_chain = DataPage(f, 0x4C41564C, {ChainRow(0, 0, "ab")});
  Pager p2(MemorySource(Join({std::vector<uint8_t>(f.page_size), short_chain}), "s.mdb"),
           f.page_size, 0);
  v = ReadLongValue(p2, f, Descriptor(10, 0, 1), "m");
  ASSERT_FALSE(v.ok());
  EXPECT_NE(v.status().message().find("ends after 2 of 10 bytes"), std::string::npos);
}

std::vector<uint8_t> PropertyBlob() {
  std::vector<uint8_t> b = {'M', 'R', '2', 0};
  std::vector<uint8_t> pool;
  for (std::u16string name : {u"AllowZeroLength", u"Required"}) {
    auto n = Utf16(name);
    Append16(pool, uint16_t(n.size()));
    pool.insert(pool.end(), n.begin(), n.end());
  }
  Append32(b, uint32_t(pool.size() + 6));
  Append16(b, 0x80);
  b.insert(b.end(), pool.begin(), pool.end());
  std::vector<uint8_t> col;
  auto owner = Utf16(u"Ad");
  Append32(col, 0);
  Append16(col, uint16_t(owner.size()));
  col.insert(col.end(), owner.begin(), owner.end());
  for (uint16_t idx : {0, 1}) {
    Append16(col, 9);
    col.push_back(1);  // DDL
    col.push_back(coltype::kBoolean);
    Append16(col, idx);
    Append16(col, 1);
    col.push_back(idx == 0 ? 0xFF : 0x00);
  }
  Append32(b, uint32_t(col.size() + 6));
  Append16(b, 0x01);
  b.insert(b.end(), col.begin(), col.end());
  return b;
}

TEST(Properties, AllowZeroLengthAndRequired) {
  auto blob = PropertyBlob();
  auto props = ParseColumnProperties(blob, kJet4Format, 1252);
  ASSERT_TRUE(props.ok()) << props.status().ToString();
  ASSERT_EQ(props->count("Ad"), 1u);
  EXPECT_EQ(props->at("Ad").allow_zero_length, true);
  EXPECT_EQ(props->at("Ad").required, false);
  // Jet 3 expects KKD.
  EXPECT_FALSE(ParseColumnProperties(blob, kJet3Format, 1252).ok());
  // A block length past the end of the blob.
  blob[4] = 0xFF;
  blob[5] = 0xFF;
  EXPECT_TRUE(ParseColumnProperties(blob, kJet4Format, 1252).status().IsCorruption());
}

}  // namespace
}  // namespace px::jet
