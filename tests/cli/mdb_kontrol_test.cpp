// "mdb kontrol": exit code 0 and one summary line on an intact file; exit code 1 and one
// line a finding on a damaged copy.
#include <gtest/gtest.h>

#include <string>

#include "core/bytes.h"
#include "jet/database.h"
#include "platform/utf8_path.h"
#include "support/process.h"
#include "support/samples.h"
#include "support/temp_folder.h"

namespace px::cli {
namespace {

using testing::RunProgram;

TEST(MdbKontrol, IntactFilePassesWithASummary) {
  PX_SAMPLE_OR_SKIP(path, "mdb/indexTestV1997.mdb");
  auto o = RunProgram({"mdb", "kontrol", path});
  EXPECT_TRUE(o.ExitedWith(0)) << o.Describe();
  EXPECT_EQ(o.out, path + ": no findings (10 tables, 162 rows, 209 index entries)\n");
}

TEST(MdbKontrol, BrokenKeyIsReportedWithExitCodeOne) {
  PX_SAMPLE_OR_SKIP(path, "mdb/testV2000.mdb");
  std::string bytes = testing::ReadAll(PathFromUtf8(path));
  // The root leaf of Table1's primary key; change the first key's first letter.
  auto db = jet::Database::Open(PathFromUtf8(path));
  ASSERT_TRUE(db.ok());
  auto def = (*db)->ReadDefinition(*(*db)->FindTable("Table1"));
  ASSERT_TRUE(def.ok());
  const jet::JetFormat& f = (*db)->format();
  const uint32_t leaf = def->real_indexes.at(0).root_page;
  bytes[size_t(leaf) * f.page_size + f.index_first_entry + 1] ^= 0x01;
  testing::TempFolder tmp;
  const std::string copy = Utf8FromPath(tmp.Write("bozuk.mdb", bytes));
  auto o = RunProgram({"mdb", "kontrol", copy});
  EXPECT_TRUE(o.ExitedWith(1)) << o.Describe();
  const std::string line = copy + ": table Table1, index PrimaryKey, leaf page " +
                           std::to_string(leaf) + ", entry for row page ";
  EXPECT_EQ(o.out.rfind(line, 0), 0u) << o.out;
  EXPECT_NE(o.err.find("pergonix-yedek: " + copy + ": "), std::string::npos) << o.err;
}

TEST(MdbKontrol, UnreadableFileIsAnError) {
  testing::TempFolder tmp;
  const auto junk = tmp.Write("cop.mdb", std::string(5000, 'x'));
  auto o = RunProgram({"mdb", "kontrol", Utf8FromPath(junk)});
  EXPECT_TRUE(o.ExitedWith(1)) << o.Describe();
  EXPECT_NE(o.err.find("pergonix-yedek: "), std::string::npos) << o.err;
}

}  // namespace
}  // namespace px::cli
