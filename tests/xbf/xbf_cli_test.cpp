// The xbf and pbf commands, driven through the program itself.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

#include "xbf_test_util.h"

namespace px::xbf {
namespace {

namespace fs = std::filesystem;

class XbfCommands : public ::testing::Test {
 protected:
  void SetUp() override {
    PX_REQUIRE_SAMPLES();
    dir_ = fs::temp_directory_path() /
           ("px_xbf_cli_" + std::to_string(::getpid()) + "_" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  // Runs the program; returns its exit status. Standard output goes to `out_file`.
  int Run(const std::string& args, const std::string& out_file = "/dev/null") const {
    const std::string cmd =
        std::string(PX_BINARY) + " " + args + " > " + out_file + " 2> " + Path("stderr.txt");
    return std::system(cmd.c_str());
  }
  std::string SamplePath(const std::string& prefix) const {
    for (const auto& e : fs::directory_iterator(testing::SampleDir())) {
      if (e.path().filename().string().rfind(prefix, 0) == 0) return e.path().string();
    }
    return "";
  }

  fs::path dir_;
};

TEST_F(XbfCommands, KopyalaReproducesEveryCommittedSample) {
  for (const char* n : {"04-", "17-", "20-", "22-", "23-", "24-", "28-"}) {
    ASSERT_EQ(Run("xbf kopyala " + SamplePath(n) + " " + Path("copy.xbf")), 0) << n;
    EXPECT_EQ(testing::ReadAll(Path("copy.xbf")), testing::ReadAll(SamplePath(n))) << n;
  }
}

TEST_F(XbfCommands, CompressedCopiesReadTheSameAndDecompressToTheFile) {
  const std::string sample = SamplePath("14-");
  ASSERT_EQ(Run("xbf satirlar " + sample, Path("plain.jsonl")), 0);
  ASSERT_EQ(Run("pbf sikistir " + sample + " " + Path("t.pbf")), 0);
  ASSERT_EQ(Run("xbf satirlar " + Path("t.pbf"), Path("packed.jsonl")), 0);
  EXPECT_EQ(testing::ReadAll(Path("packed.jsonl")), testing::ReadAll(Path("plain.jsonl")));
  EXPECT_GT(testing::ReadAll(Path("plain.jsonl")).size(), 1000u);
  ASSERT_EQ(Run("pbf ac " + Path("t.pbf") + " " + Path("back.xml")), 0);
  EXPECT_EQ(testing::ReadAll(Path("back.xml")), testing::ReadAll(sample));

  std::string damaged = testing::ReadAll(Path("t.pbf"));
  damaged.resize(damaged.size() - 10);
  std::ofstream(Path("cut.pbf"), std::ios::binary) << damaged;
  EXPECT_NE(Run("xbf satirlar " + Path("cut.pbf"), Path("cut.jsonl")), 0);
  EXPECT_NE(Run("pbf ac " + Path("cut.pbf") + " " + Path("cut.xml")), 0);
  EXPECT_FALSE(fs::exists(Path("cut.xml")));
  EXPECT_NE(testing::ReadAll(Path("stderr.txt")).find("cut.pbf"), std::string::npos);
}

TEST_F(XbfCommands, SemaListsTheFields) {
  ASSERT_EQ(Run("xbf sema " + SamplePath("22-"), Path("sema.json")), 0);
  EXPECT_EQ(testing::ReadAll(Path("sema.json")),
            "[\n {\"name\":\"ID\",\"ado_type\":3,\"size\":4,\"precision\":0,\"scale\":255,"
            "\"nullable\":false,\"autonumber\":false,\"long\":false,\"fixed\":true},\n"
            " {\"name\":\"VALUE_FIELD\",\"ado_type\":131,\"size\":19,\"precision\":18,\"scale\":4,"
            "\"nullable\":true,\"autonumber\":false,\"long\":false,\"fixed\":true}\n]\n");
  EXPECT_NE(Run("xbf sema " + Path("missing.xbf")), 0);
}

TEST_F(XbfCommands, AktarWritesAnAccessTableAsAdoWouldAndReadsBack) {
  const fs::path mdb = fs::path(PX_SHARED_DIR) / "samples" / "mdb" / "testV2000.mdb";
  if (!fs::exists(mdb)) GTEST_SKIP() << "Access samples not found at " << mdb;
  ASSERT_EQ(Run("xbf aktar " + mdb.string() + " Table1 " + Path("a-Table1.xbf")), 0);
  const std::string xml = testing::ReadAll(Path("a-Table1.xbf"));
  // Jet's column flags as ADO persists them; Yes/No is not nullable yet may be null.
  EXPECT_NE(xml.find("<s:AttributeType name='A' rs:number='1' rs:nullable='true' "
                     "rs:maydefer='true' rs:writeunknown='true' rs:basetable='Table1'\r\n"
                     "\t\t\t rs:basecolumn='A' rs:keycolumn='true'>"),
            std::string::npos)
      << xml;
  EXPECT_NE(xml.find("<s:datatype dt:type='boolean' dt:maxLength='2' rs:fixedlength='true'/>"),
            std::string::npos);
  EXPECT_NE(xml.find("<s:datatype dt:type='dateTime' rs:dbtype='variantdate' "
                     "dt:maxLength='16' rs:fixedlength='true'/>"),
            std::string::npos);
  ASSERT_EQ(Run("xbf satirlar " + Path("a-Table1.xbf"), Path("xbf.jsonl")), 0);
  ASSERT_EQ(Run("mdb satirlar " + mdb.string() + " Table1", Path("mdb.jsonl")), 0);
  EXPECT_EQ(testing::ReadAll(Path("xbf.jsonl")), testing::ReadAll(Path("mdb.jsonl")));
  ASSERT_EQ(Run("xbf aktar " + mdb.string() + " Table1 " + Path("a-Table1.pbf")), 0);
  ASSERT_EQ(Run("pbf ac " + Path("a-Table1.pbf") + " " + Path("unpacked.xbf")), 0);
  EXPECT_EQ(testing::ReadAll(Path("unpacked.xbf")), xml);
  EXPECT_NE(Run("xbf aktar " + mdb.string() + " NoSuchTable " + Path("x.xbf")), 0);
  EXPECT_FALSE(fs::exists(Path("x.xbf")));
}

TEST_F(XbfCommands, AktarOfEveryAccessSampleTableReadsBackTheSameRows) {
  const fs::path dir = fs::path(PX_SHARED_DIR) / "samples" / "mdb";
  if (!fs::is_directory(dir)) GTEST_SKIP() << "Access samples not found at " << dir;
  int tables = 0, empty = 0;
  for (const auto& e : fs::directory_iterator(dir)) {
    const std::string mdb = e.path().string();
    if (Run("mdb tablolar " + mdb, Path("tables.txt")) != 0) continue;
    std::istringstream names(testing::ReadAll(Path("tables.txt")));
    for (std::string table; std::getline(names, table);) {
      fs::remove(Path("t.xbf"));
      ASSERT_EQ(Run("xbf aktar " + mdb + " '" + table + "' " + Path("t.xbf")), 0) << mdb << table;
      ASSERT_EQ(Run("mdb satirlar " + mdb + " '" + table + "'", Path("mdb.jsonl")), 0);
      if (testing::ReadAll(Path("mdb.jsonl")).empty()) {
        EXPECT_FALSE(fs::exists(Path("t.xbf"))) << "empty table " << table << " wrote a file";
        ++empty;
        continue;
      }
      ASSERT_EQ(Run("xbf satirlar " + Path("t.xbf"), Path("xbf.jsonl")), 0) << mdb << table;
      EXPECT_EQ(testing::ReadAll(Path("xbf.jsonl")), testing::ReadAll(Path("mdb.jsonl")))
          << mdb << " " << table;
      ++tables;
    }
  }
  EXPECT_GT(tables, 10);
  EXPECT_GT(empty, 0);
}

}  // namespace
}  // namespace px::xbf
