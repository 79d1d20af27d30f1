// A backup taken after a restore was killed while its module committed: the backup first
// deals with the commit record the restore left, so that the package holds every database
// of the module as after the restore (a decided commit) or as before it (an undecided one),
// never a mixture.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "db/group_commit.h"
#include "jet/page_store.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "platform/utf8_path.h"
#include "support/process.h"
#include "support/sample_suite.h"

namespace px::backup {
namespace {

namespace fs = std::filesystem;

TEST(YarimGeriAlma, TheBackupFinishesOrUndoesTheCommitAKilledRestoreLeft) {
  PX_SAMPLE_SUITE_OR_SKIP();
  // The restore emptied one table in each of two modules' databases.
  struct Degisen {
    const char* veritabani;
    const char* tablo;
    const char* paketteki;
  };
  const Degisen degisenler[] = {
      {"Cari/Data/001/2009/cari.mdb", "CariNot", "Cari/Data/001/2009/cari-CariNot.xbf"},
      {"Stok/Data/001/2009/stok.mdb", "StokHareket", "Stok/Data/001/2009/stok-StokHareket.xbf"}};
  for (const bool karar : {true, false}) {
    SCOPED_TRACE(karar ? "decided" : "undecided");
    px::testing::SampleSuite suite;
    const fs::path kok = suite.C();
    db::CommitRecord kayit{karar, {}};
    for (const Degisen& g : degisenler) {
      const std::string vt = Utf8FromPath(kok / g.veritabani);
      const std::string hazir = jet::PreparedFileBeside(vt);
      const std::string kopya = vt + ".yeni";
      fs::copy_file(PathFromUtf8(vt), PathFromUtf8(kopya));
      {
        auto w = jet::Writer::Open(platform::SystemFiles(), kopya);
        ASSERT_TRUE(w.ok()) << w.status().ToString();
        ASSERT_TRUE((*w)->DeleteAll(g.tablo).ok());
      }
      fs::rename(PathFromUtf8(kopya), PathFromUtf8(hazir));
      kayit.files.push_back({hazir, vt});
    }
    const fs::path kayit_yolu = kok / "GeriAlOncesi" / db::kCommitRecordName;
    fs::create_directories(kayit_yolu.parent_path());
    std::ofstream(kayit_yolu, std::ios::binary) << db::EncodeCommitRecord(kayit);

    const auto r = px::testing::RunProgram({"--evet", "yedekle", "--paket", "P", "--sirket", "001",
                                            "--yil", "2009", "--hedef", "D:\\Yedek", "--modul",
                                            "Cari", "--modul", "Stok", "--sikistirma-yok"});
    ASSERT_TRUE(r.ExitedWith(0)) << r.Describe();
    EXPECT_FALSE(fs::exists(kayit_yolu));
    EXPECT_TRUE(fs::exists(kayit_yolu.parent_path() / db::kCommitLockName));
    for (const Degisen& g : degisenler) {
      EXPECT_FALSE(
          fs::exists(PathFromUtf8(jet::PreparedFileBeside(Utf8FromPath(kok / g.veritabani)))));
      // An empty table writes no file: the package shows which state it read.
      EXPECT_EQ(fs::exists(suite.D("Yedek/P") / g.paketteki), !karar) << g.paketteki;
    }
  }
}

}  // namespace
}  // namespace px::backup
