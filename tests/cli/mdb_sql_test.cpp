// "mdb sql" through the program: SELECT rows as "mdb satirlar" prints them, refusals that
// quote the statement and fail the run.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/program.h"
#include "support/run_program.h"
#include "support/temp_folder.h"

namespace px {
namespace {

using testing::RunPergonixYedek;

TEST(MdbSqlCommand, SelectPrintsRowsAsSatirlarDoes) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  auto all = RunPergonixYedek("mdb sql '" + path + "' 'SELECT * FROM table1'");
  auto satirlar = RunPergonixYedek("mdb satirlar '" + path + "' table1");
  EXPECT_EQ(all.exit_code, 0) << all.text;
  EXPECT_EQ(all.text, satirlar.text);

  auto some =
      RunPergonixYedek("mdb sql '" + path + "' \"select B, A from Table1 where C = '002'\"");
  EXPECT_EQ(some.exit_code, 0) << some.text;
  EXPECT_EQ(some.text, "{\"B\":\"hijklmnop\",\"A\":\"abcdefg\"}\n");
}

TEST(MdbSqlCommand, RefusalsQuoteTheStatementAndFailTheRun) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  struct Case {
    const char* statement;
    const char* message;
  } cases[] = {
      {"SELECT * FROM Table1 WHERE A > 1", "SQL \"SELECT * FROM Table1 WHERE A > 1\""},
      {"DROP TABLE Table1", "SQL \"DROP TABLE Table1\" at position 1: only DELETE FROM"},
      {"SELECT * FROM tblSirket", "no table named tblSirket"},
  };
  for (const Case& c : cases) {
    auto o = RunPergonixYedek("mdb sql '" + path + "' '" + c.statement + "'");
    EXPECT_EQ(o.exit_code, 1) << c.statement;
    EXPECT_NE(o.text.find(c.message), std::string::npos) << o.text;
  }
}

std::string FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST(MdbSqlCommand, ChangesPrintRowsAffectedAndRefusalsLeaveTheFile) {
  PX_SAMPLE_OR_SKIP(sample, "mdb/testV2000.mdb");
  testing::TempFolder dir;
  const std::string path = dir.str() + "/kopya.mdb";
  std::filesystem::copy_file(sample, path);

  auto o = RunPergonixYedek("mdb sql '" + path +
                            "' \"INSERT INTO table1 (a, [B], c, H, I) Values "
                            "('x','Cay','7',CAST('1,234.5' AS MONEY),1)\"");
  EXPECT_EQ(o.exit_code, 0) << o.text;
  EXPECT_EQ(o.text, "1\n");
  o = RunPergonixYedek("mdb sql '" + path + "' \"SELECT B, C, H, I FROM Table1 WHERE c = 7\"");
  EXPECT_EQ(o.exit_code, 0) << o.text;
  EXPECT_EQ(o.text, "{\"B\":\"Cay\",\"C\":7,\"H\":\"1234.5\",\"I\":true}\n");

  const std::string before = FileBytes(path);
  o = RunPergonixYedek("mdb sql '" + path + "' \"INSERT INTO Table1 (A, C) Values ('z','300')\"");
  EXPECT_EQ(o.exit_code, 1);
  EXPECT_NE(o.text.find("table Table1, column C: '300' is out of range for Byte"),
            std::string::npos)
      << o.text;
  EXPECT_EQ(FileBytes(path), before);
}

}  // namespace
}  // namespace px
