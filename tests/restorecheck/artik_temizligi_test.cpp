// A restore run starts by dealing with what killed runs left in the suite: the commit
// record is finished, then the spill, scratch and prepared files beside the modules'
// databases that nothing needs any more are removed, and nothing else.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "db/group_commit.h"
#include "restorecheck/suite_helpers.h"
#include "support/process.h"

namespace px::restorecheck {
namespace {

TEST(ArtikTemizligi, ARestoreRunFirstFinishesTheRecordAndSweepsWhatKilledRunsLeft) {
  Suit s({"config.ini", "Genel/Data/DonemAc.mdb", "Genel/Data/sirket.mdb",
          "Genel/Data/YedekDosya.ini", "Cari/Data/001/2009/cari.mdb",
          "Stok/Data/001/2009/stok.mdb"});
  const fs::path cari = s.C("Cari/Data/001/2009");
  // A database being created when the run was killed, one that existed, and a file that
  // is no database's.
  const fs::path gidecekler[] = {cari / ".~yeni.mdb.pages.tmp", cari / ".~yeni.mdb.runs.tmp",
                                 cari / ".~cari.mdb.pages.tmp", cari / ".~cari.mdb.commit.tmp",
                                 s.C("Stok/Data/.~stok.mdb.pages.tmp")};
  for (const auto& g : gidecekler) std::ofstream(g) << "yarım";
  const fs::path kalacak = cari / ".~not.txt.tmp";
  std::ofstream(kalacak) << "x";
  // A decided commit whose database's new state waits beside it.
  const fs::path stok = s.C("Stok/Data/001/2009/stok.mdb");
  const fs::path hazir = stok.parent_path() / ".~stok.mdb.commit.tmp";
  fs::copy_file(stok, hazir);
  std::ofstream(hazir, std::ios::app) << std::string(4096, '\0');  // a page longer
  const uint64_t yeni_boy = fs::file_size(hazir);
  const fs::path kayit = s.C("GeriAlOncesi") / db::kCommitRecordName;
  fs::create_directories(kayit.parent_path());
  std::ofstream(kayit, std::ios::binary)
      << db::EncodeCommitRecord({true, {{hazir.string(), stok.string()}}});

  const auto r = px::testing::RunProgram({"--evet", "geri-al", "--kaynak", "D:\\Yedek", "--paket",
                                          "Yok", "--sirket", "001", "--yil", "2009"});
  EXPECT_EQ(r.err.find("warning"), std::string::npos) << r.Describe();
  for (const auto& g : gidecekler) EXPECT_FALSE(fs::exists(g)) << g;
  EXPECT_TRUE(fs::exists(kalacak));
  EXPECT_FALSE(fs::exists(kayit));
  EXPECT_FALSE(fs::exists(hazir));
  EXPECT_EQ(fs::file_size(stok), yeni_boy);
}

}  // namespace
}  // namespace px::restorecheck
