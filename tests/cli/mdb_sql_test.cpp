// "mdb sql" through the program: SELECT rows as "mdb satirlar" prints them, refusals that
// quote the statement and fail the run.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include "support/run_program.h"

namespace px {
namespace {

using testing::RunProgram;

TEST(MdbSqlCommand, SelectPrintsRowsAsSatirlarDoes) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  auto all = RunProgram("mdb sql '" + path + "' 'SELECT * FROM table1'");
  auto satirlar = RunProgram("mdb satirlar '" + path + "' table1");
  EXPECT_EQ(all.exit_code, 0) << all.text;
  EXPECT_EQ(all.text, satirlar.text);

  auto some = RunProgram("mdb sql '" + path + "' \"select B, A from Table1 where C = '002'\"");
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
    auto o = RunProgram("mdb sql '" + path + "' '" + c.statement + "'");
    EXPECT_EQ(o.exit_code, 1) << c.statement;
    EXPECT_NE(o.text.find(c.message), std::string::npos) << o.text;
  }
}

}  // namespace
}  // namespace px
