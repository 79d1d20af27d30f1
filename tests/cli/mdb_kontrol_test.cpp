// "mdb kontrol": exit code 0 and one summary line on an intact file; exit code 1 and one
// line a finding on a damaged copy.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "core/bytes.h"
#include "jet/database.h"
#include "support/program.h"
#include "support/temp_folder.h"

namespace px::cli {
namespace {

std::filesystem::path Sample(const char* name) {
  return std::filesystem::path(PX_SHARED_DIR) / "samples" / "mdb" / name;
}

TEST(MdbKontrol, IntactFilePassesWithASummary) {
  const auto path = Sample("indexTestV1997.mdb");
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no sample " << path;
  auto o = px::testing::RunPergonixYedek("mdb kontrol '" + path.string() + "'");
  EXPECT_EQ(o.exit_code, 0) << o.text;
  EXPECT_EQ(o.text, path.string() + ": no findings (10 tables, 162 rows, 209 index entries)\n");
}

TEST(MdbKontrol, BrokenKeyIsReportedWithExitCodeOne) {
  const auto path = Sample("testV2000.mdb");
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "no sample " << path;
  std::ifstream in(path, std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), {});
  // The root leaf of Table1's primary key; change the first key's first letter.
  auto db = jet::Database::Open(path);
  ASSERT_TRUE(db.ok());
  auto def = (*db)->ReadDefinition(*(*db)->FindTable("Table1"));
  ASSERT_TRUE(def.ok());
  const jet::JetFormat& f = (*db)->format();
  const uint32_t leaf = def->real_indexes.at(0).root_page;
  bytes[size_t(leaf) * f.page_size + f.index_first_entry + 1] ^= 0x01;
  px::testing::TempFolder tmp;
  const auto copy = tmp.Write("bozuk.mdb", bytes);
  auto o = px::testing::RunPergonixYedek("mdb kontrol '" + copy.string() + "'");
  EXPECT_EQ(o.exit_code, 1) << o.text;
  const std::string line = copy.string() + ": table Table1, index PrimaryKey, leaf page " +
                           std::to_string(leaf) + ", entry for row page ";
  EXPECT_EQ(o.text.rfind(line, 0), 0u) << o.text;
  EXPECT_NE(o.text.find("pergonix-yedek: " + copy.string() + ": "), std::string::npos) << o.text;
}

TEST(MdbKontrol, UnreadableFileIsAnError) {
  px::testing::TempFolder tmp;
  const auto junk = tmp.Write("cop.mdb", std::string(5000, 'x'));
  auto o = px::testing::RunPergonixYedek("mdb kontrol '" + junk.string() + "'");
  EXPECT_EQ(o.exit_code, 1);
  EXPECT_NE(o.text.find("pergonix-yedek: "), std::string::npos) << o.text;
}

}  // namespace
}  // namespace px::cli
