// Every ADO sample reads with the values it holds, pending changes resolved as ADO presents
// them (updated rows with their new values, inserts last, deletes gone).
#include <gtest/gtest.h>

#include "core/value_text.h"
#include "xbf_test_util.h"

namespace px::xbf {
namespace {

using testing::ReadBack;
using testing::ReadText;
using testing::Sample;

class SampleValues : public ::testing::Test {
 protected:
  void SetUp() override { PX_SAMPLE_OR_SKIP(samples, "adoxml"); }

  // Reads a sample; fails the test when it does not read cleanly.
  ReadBack Load(const char* prefix) {
    ReadBack b = ReadText(Sample(prefix));
    EXPECT_TRUE(b.status.ok()) << prefix << ": " << b.status.ToString();
    return b;
  }
};

const Value& Cell(const ReadBack& b, size_t row, const std::string& field) {
  static const Value kMissing = std::string("<no such cell>");
  for (size_t i = 0; i < b.fields.size(); ++i) {
    if (b.fields[i].name == field && row < b.rows.size()) return b.rows[row][i];
  }
  ADD_FAILURE() << "no cell " << field << " in row " << row;
  return kMissing;
}

std::string DateText(const Value& v) {
  auto* d = std::get_if<OleDate>(&v);
  if (!d) return "<not a date>";
  return FormatIsoDateTime(*OleDateToParts(d->days));
}

Value Text(const char* s) {
  return Value(std::string(s));
}
Value Int(int64_t i) {
  return Value(i);
}

TEST_F(SampleValues, BasicTypesInPendingInserts) {
  auto b = Load("01-");
  ASSERT_EQ(b.rows.size(), 2u);
  EXPECT_EQ(Cell(b, 0, "ID"), Int(1));
  EXPECT_EQ(Cell(b, 0, "FLAG"), Value(true));
  EXPECT_EQ(Cell(b, 0, "AMOUNT"), Value(Currency{12345600}));
  EXPECT_EQ(Cell(b, 0, "RATIO"), Value(3.14159));
  EXPECT_EQ(DateText(Cell(b, 0, "WHEN_AT")), "2001-02-03T04:05:06");
  EXPECT_EQ(Cell(b, 1, "ID"), Int(-2));
  EXPECT_EQ(Cell(b, 1, "FLAG"), Value(false));
  EXPECT_EQ(Cell(b, 1, "AMOUNT"), Value(Currency{-78900}));
  EXPECT_EQ(Cell(b, 1, "RATIO"), Value(-0.25));
  EXPECT_EQ(DateText(Cell(b, 1, "WHEN_AT")), "1999-12-31T23:59:58");
  EXPECT_EQ(b.fields[2].ado_type, ado::kCurrency);
  EXPECT_EQ(b.fields[4].ado_type, ado::kDate);
}

TEST_F(SampleValues, ForcedNullsAndEmptyStrings) {
  auto b = Load("02-");
  ASSERT_EQ(b.rows.size(), 2u);
  EXPECT_TRUE(IsNull(Cell(b, 0, "MAYBE_TEXT")));
  EXPECT_TRUE(IsNull(Cell(b, 0, "MAYBE_INT")));
  EXPECT_EQ(Cell(b, 1, "MAYBE_TEXT"), Text(""));
  EXPECT_EQ(Cell(b, 1, "MAYBE_INT"), Int(0));
  EXPECT_TRUE(b.fields[1].nullable());
  EXPECT_FALSE(b.fields[0].nullable());
}

TEST_F(SampleValues, EscapesAndUnicodeText) {
  auto b = Load("03-");
  ASSERT_EQ(b.rows.size(), 3u);
  EXPECT_EQ(Cell(b, 1, "NOTE"), Text("Joe's Garage & <xml>"));
  EXPECT_EQ(Cell(b, 2, "NOTE"), Text(""));
  auto k = Load("07-");
  ASSERT_EQ(k.rows.size(), 3u);
  EXPECT_EQ(Cell(k, 1, "WORD"), Text("\xED\x95\x9C\xEA\xB8\x80"));  // 한글
  auto raw = Load("08-");
  ASSERT_FALSE(raw.rows.empty());
  EXPECT_EQ(Cell(raw, 0, "TXT_VAR"), Text("row=1|phase=1|\"dq\"|'sq'|<&>|tab\tcr\rlf\nend"));
}

TEST_F(SampleValues, EmptyRowsetHasFieldsButNoRows) {
  auto b = Load("04-");
  EXPECT_EQ(b.fields.size(), 2u);
  EXPECT_TRUE(b.rows.empty());
  EXPECT_EQ(b.fields[1].ado_type, ado::kVarWChar);
  EXPECT_EQ(b.fields[1].size, 40);
}

TEST_F(SampleValues, BinaryFixedAndLong) {
  auto b = Load("05-");
  ASSERT_EQ(b.rows.size(), 1u);
  EXPECT_EQ(Cell(b, 0, "BYTES_FIXED"), Value(Binary{{0x00, 0x01, 0x02, 0xff}}));
  EXPECT_EQ(Cell(b, 0, "BYTES_LONG"),
            Value(Binary{{0xde, 0xad, 0xbe, 0xef, 0x00, 0x10, 0x20, 0x30}}));
  EXPECT_EQ(b.fields[1].ado_type, ado::kBinary);
  EXPECT_EQ(b.fields[2].ado_type, ado::kLongVarBinary);
  auto wrapped = Load("21-");
  ASSERT_FALSE(wrapped.rows.empty());
  const auto& bytes = std::get<Binary>(Cell(wrapped, 0, "B_VAR_256")).bytes;
  ASSERT_EQ(bytes.size(), 256u);
  EXPECT_EQ(bytes[0], 0x11);
  EXPECT_EQ(bytes[255], 0x10);
}

TEST_F(SampleValues, LongTextIsNeverCut) {
  auto b = Load("06-");
  ASSERT_EQ(b.rows.size(), 1u);
  const auto& body = std::get<std::string>(Cell(b, 0, "BODY"));
  EXPECT_EQ(body.rfind("line-1 line-2 ", 0), 0u);
  EXPECT_GT(body.size(), 600u);
  EXPECT_TRUE(b.fields[1].is_long());
  EXPECT_EQ(b.fields[1].ado_type, ado::kLongVarWChar);
}

TEST_F(SampleValues, RawControlCharactersComeBackExactly) {
  auto b = Load("09-");
  bool saw_nul = false, saw_vt = false;
  for (const auto& row : b.rows) {
    for (const auto& v : row) {
      if (auto* s = std::get_if<std::string>(&v)) {
        saw_nul |= s->find('\0') != std::string::npos;
        saw_vt |= s->find('\x0b') != std::string::npos;
      }
    }
  }
  EXPECT_TRUE(saw_nul);
  EXPECT_TRUE(saw_vt);
}

TEST_F(SampleValues, UpdatesInsertsAndDeletesResolved) {
  auto b = Load("10-");
  ASSERT_EQ(b.rows.size(), 3u);  // updated 1, unchanged 3, inserted 4; 2 deleted
  EXPECT_EQ(Cell(b, 0, "ID"), Int(1));
  EXPECT_EQ(Cell(b, 0, "FIXED_ASCII_EMPTY"), Text("    "));
  EXPECT_EQ(Cell(b, 0, "VAR_WIDE_EMPTY"), Text(""));
  EXPECT_EQ(Cell(b, 1, "ID"), Int(3));
  EXPECT_TRUE(IsNull(Cell(b, 1, "VAR_ASCII_EMPTY")));
  EXPECT_EQ(Cell(b, 2, "ID"), Int(4));
  EXPECT_EQ(b.fields[1].ado_type, ado::kChar);
  EXPECT_EQ(b.fields[2].ado_type, ado::kWChar);

  auto m = Load("15-");
  std::vector<int64_t> ids;
  for (size_t r = 0; r < m.rows.size(); ++r) ids.push_back(std::get<int64_t>(Cell(m, r, "ID")));
  EXPECT_EQ(ids, (std::vector<int64_t>{1, 3, 4, 6, 7, 8}));
  EXPECT_EQ(DecimalToPlain(std::get<Decimal>(Cell(m, 0, "M03_NUM"))), "1001.1234");
  EXPECT_TRUE(IsNull(Cell(m, 3, "M05_BIN")));
}

TEST_F(SampleValues, PartialUpdateKeepsOriginalColumns) {
  auto b = Load("16-");
  ASSERT_EQ(b.rows.size(), 3u);
  EXPECT_EQ(Cell(b, 0, "ID"), Int(1));
  EXPECT_EQ(Cell(b, 0, "REQ_TEXT"), Text("alpha-updated"));
  EXPECT_EQ(Cell(b, 0, "REQ_INT"), Int(10));
  // The changed row of sample 19 carries no ID; it comes from the original.
  auto t = Load("19-");
  ASSERT_EQ(t.rows.size(), 3u);
  EXPECT_EQ(Cell(t, 0, "ID"), Int(1));
  EXPECT_EQ(DateText(Cell(t, 0, "TS")), "2026-01-02T03:04:05.987");
  EXPECT_EQ(DateText(Cell(t, 2, "TS")), "2026-04-05T06:07:08.250");
}

TEST_F(SampleValues, MappedFieldNames) {
  auto b = Load("11-");
  EXPECT_EQ(b.fields[1].name, "Field Space Text");
  EXPECT_EQ(b.fields[4].name, "\xED\x95\x9C\xEA\xB8\x80 \xED\x95\x84\xEB\x93\x9C");
  EXPECT_EQ(Cell(b, 0, "Name-With-Dash"), Text("dash-one-updated"));
  auto s = Load("12-");
  EXPECT_EQ(s.fields[2].name, "Quote \" Field");
  auto w = Load("13-");
  EXPECT_EQ(w.fields[1].name, " ");
  EXPECT_EQ(w.fields[3].name, "Tab\tField");
  EXPECT_EQ(w.fields[4].name, "Lf\nField");
  EXPECT_EQ(w.fields[5].name, "Cr\rField");
}

TEST_F(SampleValues, EveryPersistableType) {
  auto b = Load("14-");
  ASSERT_EQ(b.fields.size(), 31u);
  const int expected[] = {ado::kInteger,
                          ado::kTinyInt,
                          ado::kUnsignedTinyInt,
                          ado::kSmallInt,
                          ado::kUnsignedSmallInt,
                          ado::kInteger,
                          ado::kUnsignedInt,
                          ado::kBigInt,
                          ado::kUnsignedBigInt,
                          ado::kSingle,
                          ado::kDouble,
                          ado::kCurrency,
                          ado::kBoolean,
                          ado::kDate,
                          ado::kDBDate,
                          ado::kDBTime,
                          ado::kDBTimeStamp,
                          ado::kFileTime,
                          ado::kGUID};
  for (size_t i = 0; i < std::size(expected); ++i) {
    EXPECT_EQ(b.fields[i].ado_type, expected[i]) << b.fields[i].name;
  }
  EXPECT_EQ(Cell(b, 0, "ALL_11_Currency"), Value(Currency{10011234}));
  EXPECT_EQ(DateText(Cell(b, 0, "ALL_15_DBTime")), "1899-12-30T02:03:07");
  EXPECT_EQ(Cell(b, 0, "ALL_20_Char"), Text("r1p0        "));
  EXPECT_EQ(GuidToText(std::get<Guid>(Cell(b, 0, "ALL_18_GUID"))),
            "{00000000-0000-0000-0000-000000001000}");
}

TEST_F(SampleValues, FieldFlags) {
  auto b = Load("17-");
  EXPECT_TRUE(b.fields[1].Has(fld::kMayDefer));
  EXPECT_TRUE(b.fields[2].may_be_null());
  EXPECT_FALSE(b.fields[1].may_be_null());
  EXPECT_TRUE(b.fields[3].Has(fld::kUnknownUpdatable));
  EXPECT_TRUE(b.fields[4].Has(fld::kRowVersion));
  EXPECT_TRUE(b.fields[5].Has(fld::kCacheDeferred));
}

TEST_F(SampleValues, FloatExtremes) {
  auto b = Load("18-");
  ASSERT_EQ(b.rows.size(), 5u);  // updated 1, unchanged 3 and 4, inserted 5 and 6
  EXPECT_EQ(Cell(b, 0, "DOUBLE_VALUE"), Value(1.7976931348623157e308));
  EXPECT_EQ(Cell(b, 0, "SINGLE_VALUE"), Value(3.4028231e38f));
  EXPECT_EQ(Cell(b, 1, "DOUBLE_VALUE"), Value(4.9406564584124654e-324));
  EXPECT_EQ(Cell(b, 1, "SINGLE_VALUE"), Value(1.401298464e-45f));
  EXPECT_TRUE(IsNull(Cell(b, 2, "SINGLE_VALUE")));
  EXPECT_EQ(Cell(b, 3, "SINGLE_VALUE"), Value(-1.401298464e-45f));
  EXPECT_EQ(Cell(b, 4, "DOUBLE_VALUE"), Value(0.0));
}

TEST_F(SampleValues, DateAndTimeExtremes) {
  auto b = Load("20-");
  ASSERT_EQ(b.rows.size(), 3u);
  EXPECT_EQ(DateText(Cell(b, 0, "D")), "0100-01-01T00:00:00");
  EXPECT_EQ(DateText(Cell(b, 1, "TS")), "9999-12-31T23:59:59");
  EXPECT_EQ(DateText(Cell(b, 0, "FT")), "1601-01-01T00:00:00");
  EXPECT_EQ(DateText(Cell(b, 1, "T")), "1899-12-30T23:59:59");
  EXPECT_TRUE(IsNull(Cell(b, 2, "D")));
}

TEST_F(SampleValues, ExactNumbers) {
  auto n = Load("22-");
  ASSERT_EQ(n.rows.size(), 6u);
  EXPECT_EQ(DecimalToPlain(std::get<Decimal>(Cell(n, 0, "VALUE_FIELD"))), "-922337.5808");
  EXPECT_EQ(DecimalToPlain(std::get<Decimal>(Cell(n, 2, "VALUE_FIELD"))), "0");
  EXPECT_EQ(n.fields[1].precision, 18);
  EXPECT_EQ(n.fields[1].scale, 4);
  auto d = Load("23-");
  EXPECT_EQ(DecimalToPlain(std::get<Decimal>(Cell(d, 0, "VALUE_FIELD"))),
            "-0.9999999999999999999999999999");
  EXPECT_EQ(d.fields[1].ado_type, ado::kDecimal);
}

TEST_F(SampleValues, Guids) {
  auto b = Load("24-");
  ASSERT_EQ(b.rows.size(), 6u);
  EXPECT_EQ(GuidToText(std::get<Guid>(Cell(b, 3, "VALUE_FIELD"))),
            "{01234567-89AB-CDEF-0123-456789ABCDEF}");
  EXPECT_TRUE(IsNull(Cell(b, 5, "VALUE_FIELD")));
}

TEST_F(SampleValues, HierarchicalRecordsetsReadTheirTopLevel) {
  for (const char* n : {"26-", "27-"}) {
    auto b = Load(n);
    ASSERT_EQ(b.rows.size(), 2u) << n;
    EXPECT_EQ(Cell(b, 1, "OrderId"), Int(100002));
    EXPECT_EQ(Cell(b, 1, "Freight"), Value(Currency{97000}));
    EXPECT_EQ(b.rowset.command_timeout, "120");
  }
}

TEST_F(SampleValues, MinimalSchemaDefaults) {
  auto b = Load("28-");
  ASSERT_EQ(b.rows.size(), 2u);
  EXPECT_EQ(Cell(b, 1, "TEXT_MAYBE_FALSE"), Text("delta"));
  EXPECT_EQ(b.fields[7].ado_type, ado::kLongVarWChar);
  EXPECT_EQ(b.fields[7].size, 4294967295LL);
}

TEST_F(SampleValues, JetSchemas) {
  auto b = Load("29-");
  ASSERT_EQ(b.fields.size(), 22u);
  EXPECT_EQ(b.fields[0].ado_type, ado::kInteger);
  EXPECT_EQ(b.fields[0].precision, 10);
  EXPECT_TRUE(b.fields[0].key_column());
  EXPECT_EQ(b.fields[9].name, "ProcError");
  EXPECT_EQ(b.fields[9].base_column, "Procedurals");
  EXPECT_EQ(b.fields[10].ado_type, ado::kSingle);
  EXPECT_EQ(b.fields[11].ado_type, ado::kBoolean);
  EXPECT_FALSE(b.fields[11].nullable());
  auto p = Load("30-");
  ASSERT_EQ(p.fields.size(), 15u);
  EXPECT_EQ(p.fields[5].ado_type, ado::kLongVarBinary);
  EXPECT_EQ(p.fields[5].size, 1073741823);
  EXPECT_EQ(p.fields[12].ado_type, ado::kDouble);
  EXPECT_TRUE(p.fields[13].autonumber);
}

}  // namespace
}  // namespace px::xbf
