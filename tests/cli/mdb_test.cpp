// End to end: the mdb commands run as the cross-check scripts run them, on sample files.
#include <gtest/gtest.h>

#include <string>

#include "support/process.h"
#include "support/samples.h"

namespace px {
namespace {

using testing::RunProgram;
using testing::RunResult;

// In ADOX's order: by name as Jet's name index orders them (tests/jet/catalog_order_test.cpp).
TEST(MdbCommand, TablolarListsUserTablesInNameIndexOrder) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  RunResult o = RunProgram({"mdb", "tablolar", path});
  EXPECT_EQ(o.exit_code, 0);
  EXPECT_EQ(o.out, "Table1\nTable2\nTable3\nTable4\n");
}

TEST(MdbCommand, SatirlarPrintsOneJsonObjectARow) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  RunResult o = RunProgram({"mdb", "satirlar", path, "table1"});
  EXPECT_EQ(o.exit_code, 0);
  EXPECT_EQ(o.out,
            "{\"A\":\"abcdefg\",\"B\":\"hijklmnop\",\"C\":2,\"D\":222,\"E\":333333333,"
            "\"F\":444.555,\"G\":\"1974-09-21T00:00:00\",\"H\":\"3.5\",\"I\":true}\n"
            "{\"A\":\"a\",\"B\":\"b\",\"C\":0,\"D\":0,\"E\":0,\"F\":0,"
            "\"G\":\"1981-12-12T00:00:00\",\"H\":\"0\",\"I\":false}\n");
}

TEST(MdbCommand, SemaDescribesColumnsAndKeys) {
  PX_SAMPLE_OR_SKIP(path, "mdb/indexTestV2000.mdb");
  RunResult o = RunProgram({"mdb", "sema", path, "Table2"});
  EXPECT_EQ(o.exit_code, 0);
  EXPECT_EQ(o.out,
            "[{\"name\":\"Table2\",\"columns\":["
            "{\"name\":\"id\",\"ado_type\":3,\"size\":4,\"precision\":10,\"scale\":255,"
            "\"nullable\":true,\"autonumber\":false,\"allow_zero_length\":false,"
            "\"required\":false},"
            "{\"name\":\"data\",\"ado_type\":202,\"size\":50,\"precision\":255,\"scale\":255,"
            "\"nullable\":true,\"autonumber\":false,\"allow_zero_length\":true,"
            "\"required\":false}],"
            "\"keys\":[{\"name\":\"PrimaryKey\",\"type\":\"primary\",\"columns\":[\"id\"]}]}]\n");
}

TEST(MdbCommand, ErrorsNameTheFileAndFailTheRun) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  RunResult o = RunProgram({"mdb", "satirlar", path, "tblSirket"});
  EXPECT_NE(o.exit_code, 0);
  EXPECT_NE(o.err.find("testV2000.mdb: no table named tblSirket"), std::string::npos) << o.err;
  o = RunProgram({"mdb", "tablolar", "/nonexistent/yok.mdb"});
  EXPECT_NE(o.exit_code, 0);
  EXPECT_NE(o.err.find("/nonexistent/yok.mdb: cannot open"), std::string::npos) << o.err;
}

}  // namespace
}  // namespace px
