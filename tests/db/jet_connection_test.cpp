// The Access backend answering the suite's SELECT subset over a real sample file.
#include <gtest/gtest.h>

#include <filesystem>

#include "db/jet_connection.h"
#include "support/samples.h"

namespace px::db {
namespace {

std::string Sample(const char* name) {
  return (std::filesystem::path(PX_SHARED_DIR) / "samples" / "mdb" / name).string();
}

TEST(JetConnection, TablesAndFilteredQuery) {
  PX_SAMPLE_OR_SKIP(sample, "mdb/indexTestV2000.mdb");
  auto conn = OpenAccessConnection(Sample("indexTestV2000.mdb"));
  ASSERT_TRUE(conn.ok()) << conn.status().ToString();
  auto tables = (*conn)->Tables();
  ASSERT_TRUE(tables.ok());
  int user_tables = 0;
  int64_t table2_rows = -1;
  for (const TableEntry& t : *tables) {
    user_tables += t.type == "TABLE";
    if (t.name == "Table2") table2_rows = t.rows;  // the definition's count, for progress
    if (t.type != "TABLE") {
      EXPECT_EQ(t.rows, -1) << t.name;
    }
  }
  EXPECT_EQ(user_tables, 3);
  EXPECT_EQ(table2_rows, 3);

  auto rows = (*conn)->Query("SELECT * FROM table2");
  ASSERT_TRUE(rows.ok()) << rows.status().ToString();
  Row row;
  int n = 0;
  while ((*rows)->Next(row)) ++n;
  EXPECT_EQ(n, 3);  // mdb-json lists three rows
  conn->reset();    // row sources outlive the connection
  EXPECT_TRUE((*rows)->status().ok());
}

TEST(JetConnection, MissingTableAndFileAreErrors) {
  auto missing = OpenAccessConnection("/nonexistent/dir/sirket.mdb");
  EXPECT_FALSE(missing.ok());
  PX_SAMPLE_OR_SKIP(sample, "mdb/testV2000.mdb");
  auto conn = OpenAccessConnection(Sample("testV2000.mdb"));
  ASSERT_TRUE(conn.ok());
  auto q = (*conn)->Query("SELECT * FROM tblSirket");
  ASSERT_FALSE(q.ok());
  EXPECT_NE(q.status().message().find("tblSirket"), std::string::npos);
}

}  // namespace
}  // namespace px::db
