// pergonix-demo-suite as a program, and its suite as the other programs see it: the settings
// found through the drive map and Jackcess's check (jet-oracle) on one database of each kind.
// Our own integrity check of every database is demo_suite_test.cpp's.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/utf8_path.h"
#include "support/jet_oracle.h"
#include "support/process.h"
#include "support/temp_folder.h"

namespace px::demo {
namespace {

namespace fs = std::filesystem;
using testing::RunProcess;
using testing::RunProgram;
using testing::TempFolder;

class DemoProgram : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = new TempFolder;
    const auto r = RunProcess({PX_DEMO_SUITE_BINARY, Root().string()});
    ASSERT_TRUE(r.ExitedWith(0)) << r.Describe();
    ASSERT_NE(r.out.find("69 databases"), std::string::npos) << r.out;
  }
  static void TearDownTestSuite() {
    delete folder_;
    folder_ = nullptr;
  }
  static fs::path Root() { return folder_->path() / "suite"; }

  static TempFolder* folder_;
};
TempFolder* DemoProgram::folder_ = nullptr;

TEST_F(DemoProgram, TheSettingsFindTheSuiteCompanyAndUserLevelThroughTheDriveMap) {
  testing::ScopedEnv drives("PERGONIX_DRIVES", "C=" + Utf8FromPath(Root() / "C"));
  const auto r = RunProgram({"ayarlar"});
  ASSERT_TRUE(r.ExitedWith(0)) << r.Describe();
  for (const char* line : {"CalismaAlani=C:\\Pergonix\n", "KullaniciAdi=YÖNETİCİ\n",
                           "SirketAdi=Anadolu Gıda Sanayi ve Ticaret A.Ş.\n",
                           "KullaniciDerecesi=1\n", "VergiDairesi=Kadıköy\n"}) {
    EXPECT_NE(r.out.find(line), std::string::npos) << line << "\n" << r.out;
  }
}

TEST_F(DemoProgram, JackcessFindsNothingWrongInOneDatabaseOfEachKind) {
  PX_JET_ORACLE_OR_SKIP();
  // The companies (Turkish letters in a text key), and module databases with AutoNumber and
  // text keys, ordinary indexes, memos, dates and an empty table.
  for (const char* relative :
       {"C/Pergonix/Genel/Data/sirket.mdb", "C/Pergonix/Cari/Data/001/2009/cari.mdb",
        "C/Pergonix/Personel/Data/002/2010/personel.mdb"}) {
    const auto r = testing::RunJetOracle({"check", (Root() / relative).string()});
    EXPECT_TRUE(r.ExitedWith(0)) << relative << ": " << r.Describe() << r.out.substr(0, 2000);
  }
}

struct Refusal {
  std::vector<std::string> args;  // after the program; "@" is a folder holding one file
  int exit_code;
  std::string message;
};

TEST(DemoProgramRefuses, UsageAndAFolderThatIsNotEmpty) {
  TempFolder folder;
  folder.Write("dolu/kalan.txt", "x");
  const Refusal cases[] = {
      {{}, 2, "usage: pergonix-demo-suite HEDEF_KLASOR"},
      {{"a", "b"}, 2, "usage"},
      {{"@"}, 1, "the folder is not empty"},
  };
  for (const Refusal& c : cases) {
    std::vector<std::string> argv{PX_DEMO_SUITE_BINARY};
    for (const std::string& a : c.args) argv.push_back(a == "@" ? folder.str() + "/dolu" : a);
    const auto r = RunProcess(argv);
    EXPECT_TRUE(r.ExitedWith(c.exit_code)) << r.Describe();
    EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
  }
  EXPECT_EQ(fs::directory_iterator(folder.path() / "dolu")->path().filename(), "kalan.txt");
}

}  // namespace
}  // namespace px::demo
