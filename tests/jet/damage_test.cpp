// Damaged copies of the sample files, held in memory: every damage ends in a clear error
// that names the file and the page, or in a clean read; never a crash or a hang.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "jet/walk.h"

namespace px::jet {
namespace {

std::vector<uint8_t> LoadSample(const std::string& name) {
  auto path = std::filesystem::path(PX_SHARED_DIR) / "samples" / "mdb" / name;
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>((std::istreambuf_iterator<char>(in)), {});
}

#define LOAD_OR_SKIP(var, name) \
  auto var = LoadSample(name);  \
  if (var.empty()) GTEST_SKIP() << "sample " << name << " not found under " PX_SHARED_DIR

// Opens and walks the whole database; the first error, or OK.
Status OpenAndWalk(std::vector<uint8_t> bytes, const std::string& name) {
  auto db = Database::OpenMemory(std::move(bytes), name);
  if (!db.ok()) return db.status();
  WalkCounts counts;
  return WalkDatabase(**db, counts);
}

TEST(Damage, IntactSamplesWalkCleanly) {
  LOAD_OR_SKIP(bytes, "testV2000.mdb");
  auto db = Database::OpenMemory(bytes, "testV2000.mdb");
  ASSERT_TRUE(db.ok());
  WalkCounts counts;
  ASSERT_TRUE(WalkDatabase(**db, counts).ok());
  EXPECT_EQ(counts.tables, 9u);  // 4 system, MSysAccessObjects, 4 user tables
}

TEST(Damage, TruncatedFileNamesTheMissingPage) {
  LOAD_OR_SKIP(bytes, "compIndexTestV2000.mdb");
  // Cut in the middle of the user table's data pages.
  const size_t page = 4096;
  for (size_t pages : {size_t(1), size_t(3), size_t(10), bytes.size() / page / 2}) {
    std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + pages * page + 100);
    Status st = OpenAndWalk(cut, "cut.mdb");
    ASSERT_FALSE(st.ok()) << pages;
    EXPECT_NE(st.message().find("cut.mdb"), std::string::npos) << st.message();
    EXPECT_NE(st.message().find("page"), std::string::npos) << st.message();
  }
}

TEST(Damage, OtherVersionsAndFilesAreRefusedByName) {
  LOAD_OR_SKIP(bytes, "adox_jet4.mdb");
  auto ace = bytes;
  ace[0x14] = 2;
  auto st = Database::OpenMemory(ace, "x.accdb").status();
  EXPECT_TRUE(st.IsNotSupported());
  EXPECT_NE(st.message().find("ACE 12 (Access 2007 .accdb)"), std::string::npos) << st.message();
  auto ace_id = bytes;
  std::copy_n("Standard ACE DB", 15, ace_id.begin() + 4);
  ace_id[0x14] = 3;
  EXPECT_NE(Database::OpenMemory(ace_id, "y.accdb").status().message().find("ACE 14"),
            std::string::npos);
  std::vector<uint8_t> text(8192, 'x');
  st = Database::OpenMemory(text, "notes.txt").status();
  EXPECT_TRUE(st.IsInvalidArgument());
  EXPECT_NE(st.message().find("not an Access database"), std::string::npos);
  EXPECT_TRUE(Database::OpenMemory(std::vector<uint8_t>(10), "tiny.mdb").status().IsCorruption());
}

TEST(Damage, TableDefinitionChainLoop) {
  LOAD_OR_SKIP(bytes, "testV2000.mdb");
  StoreLe32(&bytes[2 * 4096 + 4], 2);  // MSysObjects' definition continues on itself
  Status st = OpenAndWalk(bytes, "loop.mdb");
  ASSERT_FALSE(st.ok());
  EXPECT_NE(st.message().find("loop.mdb: table definition of MSysObjects (page 2)"),
            std::string::npos)
      << st.message();
  EXPECT_NE(st.message().find("loops"), std::string::npos);
}

TEST(Damage, UsageMapPointingOutsideTheFile) {
  LOAD_OR_SKIP(bytes, "testV1997.mdb");
  // Table1's definition is page 29; its owned-pages map pointer sits at offset 0x23.
  StoreLe32(&bytes[29 * 2048 + 0x23], 0x00FFFF00);
  Status st = OpenAndWalk(bytes, "map.mdb");
  ASSERT_FALSE(st.ok());
  EXPECT_NE(st.message().find("usage map of table Table1"), std::string::npos) << st.message();
  EXPECT_NE(st.message().find("page 65535 is beyond the end"), std::string::npos);
}

TEST(Damage, WrongPageTypeWhereADefinitionBelongs) {
  LOAD_OR_SKIP(bytes, "testV1997.mdb");
  bytes[29 * 2048] = page_type::kIndexLeaf;
  Status st = OpenAndWalk(bytes, "type.mdb");
  ASSERT_FALSE(st.ok());
  EXPECT_NE(st.message().find("page 29: expected a table definition page of Table1"),
            std::string::npos)
      << st.message();
}

// Random byte damage over whole files: each copy must end (error or not) quickly.
TEST(Damage, RandomByteDamageNeverCrashesOrHangs) {
  for (const char* name : {"testV1997.mdb", "testV2000.mdb", "overflowTestV2000.mdb"}) {
    auto bytes = LoadSample(name);
    if (bytes.empty()) GTEST_SKIP() << "samples not found under " PX_SHARED_DIR;
    std::mt19937 rng(1234);
    const size_t pages_used = std::min<size_t>(bytes.size(), 40 * 4096);
    for (int round = 0; round < 150; ++round) {
      auto copy = bytes;
      const int flips = 1 + int(rng() % 8);
      for (int k = 0; k < flips; ++k) copy[rng() % pages_used] ^= uint8_t(1 + rng() % 255);
      const auto start = std::chrono::steady_clock::now();
      Status st = OpenAndWalk(std::move(copy), name);
      const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                          std::chrono::steady_clock::now() - start)
                          .count();
      EXPECT_LT(ms, 1000) << name << " round " << round;
      if (!st.ok()) {
        EXPECT_NE(st.message().find(name), std::string::npos) << st.message();
      }
    }
  }
}

}  // namespace
}  // namespace px::jet
