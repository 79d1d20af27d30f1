// "mdb sql" through the program: SELECT rows as "mdb satirlar" prints them, changes print
// the rows affected, refusals quote the statement and fail the run.
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/utf8_path.h"
#include "support/process.h"
#include "support/samples.h"
#include "support/temp_folder.h"

namespace px {
namespace {

using testing::ReadAll;
using testing::RunProgram;

TEST(MdbSqlCommand, SelectPrintsRowsAsSatirlarDoes) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  auto all = RunProgram({"mdb", "sql", path, "SELECT * FROM table1"});
  auto satirlar = RunProgram({"mdb", "satirlar", path, "table1"});
  EXPECT_TRUE(all.ExitedWith(0)) << all.Describe();
  EXPECT_EQ(all.out, satirlar.out);

  auto some = RunProgram({"mdb", "sql", path, "select B, A from Table1 where C = '002'"});
  EXPECT_TRUE(some.ExitedWith(0)) << some.Describe();
  EXPECT_EQ(some.out, "{\"B\":\"hijklmnop\",\"A\":\"abcdefg\"}\n");
}

TEST(MdbSqlCommand, ChangesPrintRowsAffectedAndRefusalsLeaveTheFile) {
  PX_SAMPLE_OR_SKIP(sample, "mdb/testV2000.mdb");
  testing::TempFolder dir;
  const auto copy = dir.path() / "kopya.mdb";
  std::filesystem::copy_file(PathFromUtf8(sample), copy);
  const std::string path = Utf8FromPath(copy);

  auto o = RunProgram({"mdb", "sql", path,
                       "INSERT INTO table1 (a, [B], c, H, I) Values "
                       "('x','Cay','7',CAST('1,234.5' AS MONEY),1)"});
  EXPECT_TRUE(o.ExitedWith(0)) << o.Describe();
  EXPECT_EQ(o.out, "1\n");
  o = RunProgram({"mdb", "sql", path, "SELECT B, C, H, I FROM Table1 WHERE c = 7"});
  EXPECT_TRUE(o.ExitedWith(0)) << o.Describe();
  EXPECT_EQ(o.out, "{\"B\":\"Cay\",\"C\":7,\"H\":\"1234.5\",\"I\":true}\n");

  // Refusals of either parser quote the statement and fail the run; the messages themselves
  // are the database layer's.
  for (const char* refused : {"SELECT * FROM Table1 WHERE A > 1", "DROP TABLE Table1"}) {
    o = RunProgram({"mdb", "sql", path, refused});
    EXPECT_TRUE(o.ExitedWith(1)) << refused << ": " << o.Describe();
    EXPECT_NE(o.err.find(std::string("SQL \"") + refused + "\""), std::string::npos) << o.err;
  }

  const std::string before = ReadAll(copy);
  o = RunProgram({"mdb", "sql", path, "INSERT INTO Table1 (A, C) Values ('z','300')"});
  EXPECT_TRUE(o.ExitedWith(1)) << o.Describe();
  EXPECT_NE(o.err.find("table Table1, column C: '300' is out of range for Byte"), std::string::npos)
      << o.err;
  EXPECT_EQ(ReadAll(copy), before);
}

}  // namespace
}  // namespace px
