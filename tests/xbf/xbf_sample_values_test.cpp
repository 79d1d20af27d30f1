// Every ADO sample reads with the values it holds, pending changes resolved as ADO presents
// them (updated rows with their new values, inserts last, deletes gone).
#include <gtest/gtest.h>

#include <map>

#include "core/value_text.h"
#include "xbf_test_util.h"

namespace px::xbf {
namespace {

using testing::ReadBack;

class SampleValues : public ::testing::Test {
 protected:
  void SetUp() override { PX_SAMPLE_OR_SKIP(samples, "adoxml"); }

  // Reads a sample once; fails the test when it does not read cleanly.
  const ReadBack& Load(const std::string& prefix) {
    auto [it, fresh] = loaded_.try_emplace(prefix);
    if (fresh) {
      it->second = testing::ReadText(testing::Sample(prefix));
      EXPECT_TRUE(it->second.status.ok()) << prefix << ": " << it->second.status.ToString();
    }
    return it->second;
  }
  const Value& Cell(const std::string& prefix, size_t row, const std::string& field) {
    static const Value kMissing = std::string("<no such cell>");
    const ReadBack& b = Load(prefix);
    for (size_t i = 0; i < b.fields.size(); ++i) {
      if (b.fields[i].name == field && row < b.rows.size()) return b.rows[row][i];
    }
    ADD_FAILURE() << prefix << ": no cell " << field << " in row " << row;
    return kMissing;
  }
  const FieldInfo& Field(const std::string& prefix, size_t i) {
    static const FieldInfo kMissing;
    const ReadBack& b = Load(prefix);
    if (i < b.fields.size()) return b.fields[i];
    ADD_FAILURE() << prefix << ": no field " << i;
    return kMissing;
  }

 private:
  std::map<std::string, ReadBack> loaded_;
};

// Dates, exact numbers and GUIDs as text; anything else is a fault.
std::string Show(const Value& v) {
  if (auto* d = std::get_if<OleDate>(&v)) return FormatIsoDateTime(*OleDateToParts(d->days));
  if (auto* n = std::get_if<Decimal>(&v)) return DecimalToPlain(*n);
  if (auto* g = std::get_if<Guid>(&v)) return GuidToText(*g);
  return "<not a date, decimal or GUID>";
}

TEST_F(SampleValues, RowsAfterPendingChanges) {
  const std::pair<const char*, size_t> cases[] = {
      {"01-", 2}, {"02-", 2}, {"03-", 3}, {"04-", 0}, {"05-", 1}, {"06-", 1}, {"07-", 3},
      {"10-", 3},              // updated 1, unchanged 3, inserted 4; 2 deleted
      {"16-", 3}, {"18-", 5},  // updated 1, unchanged 3 and 4, inserted 5 and 6
      {"19-", 3}, {"20-", 3}, {"22-", 6}, {"24-", 6}, {"26-", 2}, {"27-", 2}, {"28-", 2},
  };
  for (const auto& [prefix, rows] : cases) EXPECT_EQ(Load(prefix).rows.size(), rows) << prefix;
  std::vector<int64_t> ids;
  for (size_t r = 0; r < Load("15-").rows.size(); ++r) {
    ids.push_back(std::get<int64_t>(Cell("15-", r, "ID")));
  }
  EXPECT_EQ(ids, (std::vector<int64_t>{1, 3, 4, 6, 7, 8}));
}

TEST_F(SampleValues, CellsHoldWhatAdoWrote) {
  const Value null = Null{};
  auto text = [](const char* s) { return Value(std::string(s)); };
  const struct {
    const char* sample;
    size_t row;
    const char* field;
    Value want;
  } cases[] = {
      {"01-", 0, "ID", int64_t{1}},
      {"01-", 0, "FLAG", true},
      {"01-", 0, "AMOUNT", Currency{12345600}},
      {"01-", 0, "RATIO", 3.14159},
      {"01-", 1, "ID", int64_t{-2}},
      {"01-", 1, "FLAG", false},
      {"01-", 1, "AMOUNT", Currency{-78900}},
      {"01-", 1, "RATIO", -0.25},
      // forced Nulls and empty strings
      {"02-", 0, "MAYBE_TEXT", null},
      {"02-", 0, "MAYBE_INT", null},
      {"02-", 1, "MAYBE_TEXT", text("")},
      {"02-", 1, "MAYBE_INT", int64_t{0}},
      // escapes and Unicode
      {"03-", 1, "NOTE", text("Joe's Garage & <xml>")},
      {"03-", 2, "NOTE", text("")},
      {"07-", 1, "WORD", text("\xED\x95\x9C\xEA\xB8\x80")},  // 한글
      {"08-", 0, "TXT_VAR", text("row=1|phase=1|\"dq\"|'sq'|<&>|tab\tcr\rlf\nend")},
      {"05-", 0, "BYTES_FIXED", Binary{{0x00, 0x01, 0x02, 0xff}}},
      {"05-", 0, "BYTES_LONG", Binary{{0xde, 0xad, 0xbe, 0xef, 0x00, 0x10, 0x20, 0x30}}},
      // updated, unchanged and inserted rows; fixed text padded
      {"10-", 0, "ID", int64_t{1}},
      {"10-", 0, "FIXED_ASCII_EMPTY", text("    ")},
      {"10-", 0, "VAR_WIDE_EMPTY", text("")},
      {"10-", 1, "ID", int64_t{3}},
      {"10-", 1, "VAR_ASCII_EMPTY", null},
      {"10-", 2, "ID", int64_t{4}},
      {"15-", 3, "M05_BIN", null},
      // a partial update keeps the columns it does not name; 19's changed row has no ID
      {"16-", 0, "ID", int64_t{1}},
      {"16-", 0, "REQ_TEXT", text("alpha-updated")},
      {"16-", 0, "REQ_INT", int64_t{10}},
      {"19-", 0, "ID", int64_t{1}},
      {"11-", 0, "Name-With-Dash", text("dash-one-updated")},
      {"14-", 0, "ALL_11_Currency", Currency{10011234}},
      {"14-", 0, "ALL_20_Char", text("r1p0        ")},
      {"18-", 0, "DOUBLE_VALUE", 1.7976931348623157e308},
      {"18-", 0, "SINGLE_VALUE", 3.4028231e38f},
      {"18-", 1, "DOUBLE_VALUE", 4.9406564584124654e-324},
      {"18-", 1, "SINGLE_VALUE", 1.401298464e-45f},
      {"18-", 2, "SINGLE_VALUE", null},
      {"18-", 3, "SINGLE_VALUE", -1.401298464e-45f},
      {"18-", 4, "DOUBLE_VALUE", 0.0},
      {"20-", 2, "D", null},
      {"24-", 5, "VALUE_FIELD", null},
      // hierarchical recordsets read their top level
      {"26-", 1, "OrderId", int64_t{100002}},
      {"26-", 1, "Freight", Currency{97000}},
      {"27-", 1, "OrderId", int64_t{100002}},
      {"27-", 1, "Freight", Currency{97000}},
      {"28-", 1, "TEXT_MAYBE_FALSE", text("delta")},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Cell(c.sample, c.row, c.field), c.want) << c.sample << " " << c.row << c.field;
  }
  const struct {
    const char* sample;
    size_t row;
    const char* field;
    const char* want;
  } shown[] = {
      {"01-", 0, "WHEN_AT", "2001-02-03T04:05:06"},
      {"01-", 1, "WHEN_AT", "1999-12-31T23:59:58"},
      {"19-", 0, "TS", "2026-01-02T03:04:05.987"},
      {"19-", 2, "TS", "2026-04-05T06:07:08.250"},
      {"14-", 0, "ALL_15_DBTime", "1899-12-30T02:03:07"},
      {"14-", 0, "ALL_18_GUID", "{00000000-0000-0000-0000-000000001000}"},
      {"20-", 0, "D", "0100-01-01T00:00:00"},
      {"20-", 1, "TS", "9999-12-31T23:59:59"},
      {"20-", 0, "FT", "1601-01-01T00:00:00"},
      {"20-", 1, "T", "1899-12-30T23:59:59"},
      {"15-", 0, "M03_NUM", "1001.1234"},
      {"22-", 0, "VALUE_FIELD", "-922337.5808"},
      {"22-", 2, "VALUE_FIELD", "0"},
      {"23-", 0, "VALUE_FIELD", "-0.9999999999999999999999999999"},
      {"24-", 3, "VALUE_FIELD", "{01234567-89AB-CDEF-0123-456789ABCDEF}"},
  };
  for (const auto& c : shown) {
    EXPECT_EQ(Show(Cell(c.sample, c.row, c.field)), c.want) << c.sample << " " << c.field;
  }
  // Wrapped bin.hex, long text never cut, raw control characters.
  const auto& bytes = std::get<Binary>(Cell("21-", 0, "B_VAR_256")).bytes;
  ASSERT_EQ(bytes.size(), 256u);
  EXPECT_EQ(bytes[0], 0x11);
  EXPECT_EQ(bytes[255], 0x10);
  const auto& body = std::get<std::string>(Cell("06-", 0, "BODY"));
  EXPECT_EQ(body.rfind("line-1 line-2 ", 0), 0u);
  EXPECT_GT(body.size(), 600u);
  std::string all;
  for (const auto& row : Load("09-").rows) {
    for (const auto& v : row) {
      if (auto* s = std::get_if<std::string>(&v)) all += *s;
    }
  }
  EXPECT_NE(all.find('\0'), std::string::npos);
  EXPECT_NE(all.find('\x0b'), std::string::npos);
}

TEST_F(SampleValues, FieldsHoldWhatAdoWrote) {
  const struct {
    const char* sample;
    size_t field;
    int type;
    int64_t size;  // -1: not checked
  } types[] = {
      {"01-", 2, ado::kCurrency, -1},      {"01-", 4, ado::kDate, -1},
      {"04-", 1, ado::kVarWChar, 40},      {"05-", 1, ado::kBinary, -1},
      {"05-", 2, ado::kLongVarBinary, -1}, {"06-", 1, ado::kLongVarWChar, -1},
      {"10-", 1, ado::kChar, -1},          {"10-", 2, ado::kWChar, -1},
      {"23-", 1, ado::kDecimal, -1},       {"28-", 7, ado::kLongVarWChar, 4294967295LL},
      {"29-", 0, ado::kInteger, -1},       {"29-", 10, ado::kSingle, -1},
      {"29-", 11, ado::kBoolean, -1},      {"30-", 5, ado::kLongVarBinary, 1073741823},
      {"30-", 12, ado::kDouble, -1},
  };
  for (const auto& c : types) {
    EXPECT_EQ(Field(c.sample, c.field).ado_type, c.type) << c.sample << " " << c.field;
    if (c.size >= 0) {
      EXPECT_EQ(Field(c.sample, c.field).size, c.size) << c.sample;
    }
  }
  // Every persistable type, in the order of sample 14's columns.
  std::string sample14;
  for (size_t i = 0; i < 19; ++i) sample14 += std::to_string(Field("14-", i).ado_type) + " ";
  EXPECT_EQ(sample14, "3 16 17 2 18 3 19 20 21 4 5 6 11 7 133 134 135 64 72 ");
  EXPECT_EQ(Load("04-").fields.size(), 2u);
  EXPECT_EQ(Load("14-").fields.size(), 31u);
  EXPECT_EQ(Load("29-").fields.size(), 22u);
  EXPECT_EQ(Load("30-").fields.size(), 15u);
  // Mapped names.
  EXPECT_EQ(Field("11-", 1).name, "Field Space Text");
  EXPECT_EQ(Field("11-", 4).name, "\xED\x95\x9C\xEA\xB8\x80 \xED\x95\x84\xEB\x93\x9C");
  EXPECT_EQ(Field("12-", 2).name, "Quote \" Field");
  EXPECT_EQ(Field("13-", 1).name, " ");
  EXPECT_EQ(Field("13-", 3).name, "Tab\tField");
  EXPECT_EQ(Field("13-", 4).name, "Lf\nField");
  EXPECT_EQ(Field("13-", 5).name, "Cr\rField");
  // Flags and Jet schema attributes.
  EXPECT_TRUE(Field("02-", 1).nullable());
  EXPECT_FALSE(Field("02-", 0).nullable());
  EXPECT_TRUE(Field("06-", 1).is_long());
  EXPECT_TRUE(Field("17-", 1).Has(fld::kMayDefer));
  EXPECT_TRUE(Field("17-", 2).may_be_null());
  EXPECT_FALSE(Field("17-", 1).may_be_null());
  EXPECT_TRUE(Field("17-", 3).Has(fld::kUnknownUpdatable));
  EXPECT_TRUE(Field("17-", 4).Has(fld::kRowVersion));
  EXPECT_TRUE(Field("17-", 5).Has(fld::kCacheDeferred));
  EXPECT_EQ(Field("22-", 1).precision, 18);
  EXPECT_EQ(Field("22-", 1).scale, 4);
  EXPECT_EQ(Field("29-", 0).precision, 10);
  EXPECT_TRUE(Field("29-", 0).key_column());
  EXPECT_EQ(Field("29-", 9).name, "ProcError");
  EXPECT_EQ(Field("29-", 9).base_column, "Procedurals");
  EXPECT_FALSE(Field("29-", 11).nullable());
  EXPECT_TRUE(Field("30-", 13).autonumber);
  EXPECT_EQ(Load("26-").rowset.command_timeout, "120");
  EXPECT_EQ(Load("27-").rowset.command_timeout, "120");
}

}  // namespace
}  // namespace px::xbf
