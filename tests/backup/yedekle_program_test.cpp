// The yedekle and dogrula commands on a copy of the sample suite: the exit codes, and the
// package check naming what changed. The package's rows are the round trip's
// (tests/restorecheck).
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <optional>

#include "platform/files.h"
#include "platform/utf8_path.h"
#include "support/process.h"
#include "support/sample_suite.h"

namespace px::backup {
namespace {

namespace fs = std::filesystem;
using px::testing::RunProgram;
using px::testing::RunResult;

class YedekleProgrami : public ::testing::Test {
 protected:
  void SetUp() override {
    PX_SAMPLE_SUITE_OR_SKIP();
    s_.emplace();
  }
  RunResult Run(const std::string& args) { return RunProgram(px::testing::Words(args)); }
  fs::path Paket(const std::string& ad) const { return s_->D("Yedek/" + ad); }

  std::optional<px::testing::SampleSuite> s_;
};

TEST_F(YedekleProgrami, DogrulaNamesTruncatedFlippedMissingAndExtraFiles) {
  auto o =
      Run("--evet yedekle --paket P --sirket 001 --yil 2009 --hedef D:\\Yedek "
          "--modul Cari --modul Stok");
  ASSERT_EQ(o.exit_code, 0) << o.Describe();
  EXPECT_EQ(Run("dogrula D:\\Yedek\\P").exit_code, 0);
  const fs::path cari = Paket("P") / "Cari/Data/001/2009";
  const fs::path stok = Paket("P") / "Stok/Data/001/2009";
  fs::resize_file(cari / "cari-CariKart.pbf", fs::file_size(cari / "cari-CariKart.pbf") - 7);
  {
    std::string b = px::testing::ReadAll(stok / "stok-StokKart.pbf");
    b[b.size() / 2] = char(b[b.size() / 2] ^ 0x10);
    std::ofstream(stok / "stok-StokKart.pbf", std::ios::binary) << b;
  }
  fs::remove(cari / "cari-CariHareket.pbf");
  std::ofstream(cari / "yabanci.txt") << "x";
  // A leftover temporary name is not part of the package.
  std::ofstream(cari / ".~cari-CariNot.pbf.tmp") << "yarım";

  auto d = Run("dogrula D:\\Yedek\\P");
  EXPECT_EQ(d.exit_code, 1);
  EXPECT_NE(d.out.find("bozuk Cari\\Data\\001\\2009\\cari-CariKart.pbf: "), std::string::npos)
      << d.out;
  EXPECT_NE(d.out.find("bozuk Stok\\Data\\001\\2009\\stok-StokKart.pbf: "), std::string::npos);
  EXPECT_NE(d.out.find("eksik Cari\\Data\\001\\2009\\cari-CariHareket.pbf\n"), std::string::npos);
  EXPECT_NE(d.out.find("fazla Cari\\Data\\001\\2009\\yabanci.txt"), std::string::npos);
  EXPECT_EQ(d.out.find(".~"), std::string::npos);
  EXPECT_NE(d.out.find(", 4 sorun\n"), std::string::npos) << d.out;
}

TEST_F(YedekleProgrami, ExitCodesOfTheRun) {
  // Declined at the start: not a terminal, no --evet, so the default No answers.
  EXPECT_EQ(Run("yedekle --paket P --sirket 001 --yil 2009 --hedef D:\\Yedek").exit_code, 3);
  // Input errors and unknown modules are usage errors.
  EXPECT_EQ(Run("--evet yedekle --paket P --sirket 01 --yil 2009 --hedef D:\\Yedek").exit_code, 2);
  EXPECT_EQ(Run("--evet yedekle --paket P --sirket 001 --yil 2009 --hedef D:\\Yedek "
                "--modul Yok")
                .exit_code,
            2);
  EXPECT_EQ(Run("--evet yedekle --bilinmeyen").exit_code, 2);
  // With --evet an old backup is deleted (Yes) and the run ends well.
  ASSERT_EQ(Run("--evet yedekle --paket P --sirket 001 --yil 2009 --hedef D:\\Yedek "
                "--modul Cari")
                .exit_code,
            0);
  auto o =
      Run("--evet yedekle --paket P --sirket 001 --yil 2009 --hedef D:\\Yedek "
          "--modul Cari");
  EXPECT_EQ(o.exit_code, 0) << o.Describe();
  EXPECT_NE(o.err.find("Klasöründe Eski Bir Yedek Bulundu!"), std::string::npos) << o.err;
  EXPECT_NE(o.out.find("Modül            Durum\nCari             Tamam\n"), std::string::npos)
      << o.out;
  // A second run beside one that holds the temporary folder is refused before it starts.
  {
    const std::string kilit = Utf8FromPath(s_->Staging() / "pergonix-yedek.lock");
    auto tutulan = platform::SystemFiles().LockExclusive(kilit);
    ASSERT_TRUE(tutulan.ok()) << tutulan.status().ToString();
    o = Run("--evet yedekle --paket P --sirket 001 --yil 2009 --hedef D:\\Yedek --modul Cari");
    EXPECT_EQ(o.exit_code, 1) << o.Describe();
    EXPECT_NE(o.err.find("another backup or restore is using the temporary folder"),
              std::string::npos)
        << o.err;
    EXPECT_EQ(o.err.find("Yedekleniyor"), std::string::npos) << o.err;
  }
  // A missing shared file is an error box.
  fs::remove(s_->C("Genel/Data/YedekDosya.ini"));
  EXPECT_EQ(Run("--evet yedekle --paket P --sirket 001 --yil 2009 --hedef D:\\Yedek").exit_code, 1);
}

}  // namespace
}  // namespace px::backup
