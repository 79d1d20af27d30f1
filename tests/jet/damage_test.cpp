// Damaged copies of the sample files, held in memory: every damage ends in a clear error
// that names the file and the page, or in a clean read; never a crash or a hang. Damage in
// one known place gives its own message; the copies of corruption_helpers.h (each sample
// cut short, each structure broken, bytes flipped at random) are read as the mdb commands
// read them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "corruption_helpers.h"
#include "jet/integrity.h"
#include "jet/walk.h"
#include "support/samples.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

using px::testing::ReadBytes;

// Opens and walks the whole database; the first error, or OK.
Status OpenAndWalk(std::vector<uint8_t> bytes, const std::string& name) {
  auto db = Database::OpenMemory(std::move(bytes), name);
  if (!db.ok()) return db.status();
  WalkCounts counts;
  return WalkDatabase(**db, counts);
}

TEST(Damage, OtherVersionsAndFilesAreRefusedByName) {
  PX_SAMPLE_OR_SKIP(path, "mdb/adox_jet4.mdb");
  auto bytes = ReadBytes(path);
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

// One structure broken by hand in a known place: the whole message is known.
TEST(Damage, KnownDamageGivesItsOwnMessage) {
  struct Case {
    const char* sample;
    std::function<void(std::vector<uint8_t>&)> damage;
    const char* message;    // the start of the walk's error
    const char* also = "";  // and a part of its end
  };
  const Case cases[] = {
      // MSysObjects' definition continues on itself.
      {"testV2000.mdb", [](auto& b) { StoreLe32(&b[2 * 4096 + 4], 2); },
       "copy.mdb: table definition of MSysObjects (page 2)", "loops"},
      // Table1's definition is page 29; its owned-pages map pointer sits at offset 0x23.
      {"testV1997.mdb", [](auto& b) { StoreLe32(&b[29 * 2048 + 0x23], 0x00FFFF00); },
       "copy.mdb: usage map of table Table1 (page 65535 row 0): page 65535 is beyond the end"},
      {"testV1997.mdb", [](auto& b) { b[29 * 2048] = page_type::kIndexLeaf; },
       "copy.mdb: page 29: expected a table definition page of Table1"},
  };
  for (const Case& c : cases) {
    PX_SAMPLE_OR_SKIP(path, std::string("mdb/") + c.sample);
    auto bytes = ReadBytes(path);
    c.damage(bytes);
    Status st = OpenAndWalk(bytes, "copy.mdb");
    EXPECT_TRUE(st.message().starts_with(c.message)) << st.message();
    EXPECT_NE(st.message().find(c.also), std::string::npos) << st.message();
    // mdb kontrol names the file first in every finding.
    auto db = Database::OpenMemory(bytes, "copy.mdb");
    if (!db.ok()) continue;
    for (const std::string& finding : CheckDatabase(**db).findings) {
      EXPECT_TRUE(finding.starts_with("copy.mdb: ")) << finding;
    }
  }
}

// Reads a damaged copy as "mdb tablolar", "mdb sema", "mdb satirlar" (on each table of the
// undamaged file) and "mdb kontrol" do. Each read that broke the rules adds a line to
// `broken`: an error must name the copy and the page ("no table named T" being the clear
// answer when damage to the catalog hides a table), a check's findings the copy.
class CopyReader {
 public:
  CopyReader(std::string name, size_t file_size, std::vector<std::string>& broken)
      : name_(std::move(name)), file_size_(file_size), broken_(broken) {}

  void Read(std::vector<uint8_t> bytes, const std::vector<std::string>& tables) {
    auto db = Database::OpenMemory(std::move(bytes), name_);
    if (!db.ok()) return Judge("open", db.status());
    for (const std::string& table : (*db)->UserTableNames()) {
      Judge("sema " + table, (*db)->ReadSchema(table).status());
    }
    for (const std::string& table : tables) ReadRows(**db, table);
    const IntegrityReport report = CheckDatabase(**db);
    for (const std::string& finding : report.findings) {
      if (!finding.starts_with(name_ + ": ")) Broke("kontrol", "finding " + finding);
    }
  }

 private:
  void ReadRows(Database& db, const std::string& table) {
    auto reader = db.OpenTable(table);
    if (!reader.ok()) return Judge("satirlar " + table, reader.status(), table);
    Row row;
    size_t rows = 0;
    while ((*reader)->Next(row)) {
      // Every row takes at least its two-byte slot: more rows than that is a loop.
      if (++rows > file_size_ / 2) return Broke("satirlar " + table, "rows without end");
    }
    Judge("satirlar " + table, (*reader)->status(), table);
  }

  void Judge(const std::string& read, const Status& st, const std::string& table = "") {
    if (st.ok()) return;
    const std::string& m = st.message();
    if (!table.empty() && m == name_ + ": no table named " + table) return;
    std::string lower = m;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return char(std::tolower(c)); });
    if (m.find(name_) == std::string::npos || lower.find("page") == std::string::npos) {
      Broke(read, "error without the file and page: " + m);
    }
  }
  void Broke(const std::string& read, const std::string& why) {
    broken_.push_back(name_ + " [" + read + "]: " + why);
  }

  std::string name_;
  size_t file_size_;
  std::vector<std::string>& broken_;
};

constexpr double kSecondsPerCopy = 5;

class DamagedCopies : public ::testing::TestWithParam<const char*> {};

TEST_P(DamagedCopies, EveryReadEndsCleanlyOrNamesTheFileAndPage) {
  PX_SAMPLE_OR_SKIP(path, std::string("mdb/") + GetParam());
  const std::vector<uint8_t> original = ReadBytes(path);
  auto intact = Database::OpenMemory(original, GetParam());
  ASSERT_TRUE(intact.ok()) << intact.status().ToString();
  const std::vector<std::string> tables = (*intact)->UserTableNames();
  const std::vector<px::testing::DamagedCopy> copies = px::testing::MakeDamagedCopies(original);
  ASSERT_GE(copies.size(), 20u);
  for (const char* kind : {"truncated-", "header-", "tdef-", "data-", "usage-", "random-"}) {
    EXPECT_TRUE(std::any_of(copies.begin(), copies.end(),
                            [&](const auto& c) { return c.label.starts_with(kind); }))
        << "no " << kind << " copy";
  }

  const std::string stem = std::filesystem::path(GetParam()).stem().string();
  std::vector<std::string> broken;
  for (const px::testing::DamagedCopy& copy : copies) {
    const auto start = std::chrono::steady_clock::now();
    CopyReader(stem + "-" + copy.label + ".mdb", copy.bytes.size(), broken)
        .Read(copy.bytes, tables);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_LT(seconds, kSecondsPerCopy) << copy.label;
  }
  std::string listing;
  for (size_t i = 0; i < broken.size() && i < 30; ++i) listing += "\n  " + broken[i];
  EXPECT_TRUE(broken.empty()) << broken.size() << " reads of " << copies.size()
                              << " damaged copies broke the rules:" << listing;
}

INSTANTIATE_TEST_SUITE_P(Samples, DamagedCopies,
                         ::testing::Values("adox_jet4.mdb", "bigIndexTestV2000.mdb",
                                           "compIndexTestV1997.mdb", "compIndexTestV2000.mdb",
                                           "delColTestV2000.mdb", "delTestV1997.mdb", "empty.mdb",
                                           "empty2003.mdb", "fixedNumericTestV2000.mdb",
                                           "fixedTextTestV2000.mdb", "indexTestV1997.mdb",
                                           "indexTestV2000.mdb", "overflowTestV1997.mdb",
                                           "overflowTestV2000.mdb", "testV1997.mdb",
                                           "testV2000.mdb"),
                         [](const ::testing::TestParamInfo<const char*>& info) {
                           return std::filesystem::path(info.param).stem().string();
                         });

}  // namespace
}  // namespace px::jet
