// Two Access databases committed together through the pool: the commit record read back
// exactly, a failing write, flush or rename at every point leaving both as before or (once
// decided) finished by the next opening, and a program killed at every file change leaving
// both as before or both as after.
#include "db/group_commit.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "db/access_database.h"
#include "jet/page_store.h"
#include "support/dying_files.h"
#include "support/temp_folder.h"

namespace px::db {
namespace {

namespace fs = std::filesystem;
using px::testing::ReadAll;

TEST(CommitRecord, ReadsBackWhatWasWrittenAndRefusesAnythingElse) {
  const CommitRecord kayit{true,
                           {{"/v/.~a.mdb.commit.tmp", "/v/a.mdb"}, {"/w/.~b.commit.tmp", "/w/b"}}};
  const std::string metin = EncodeCommitRecord(kayit);
  EXPECT_EQ(metin,
            "pergonix-commit 1\ndecided\n/v/.~a.mdb.commit.tmp\t/v/a.mdb\n"
            "/w/.~b.commit.tmp\t/w/b\nend 2\n");
  auto geri = DecodeCommitRecord(metin, "k");
  ASSERT_TRUE(geri.ok()) << geri.status().ToString();
  EXPECT_TRUE(geri->decided);
  EXPECT_EQ(geri->files, kayit.files);

  struct Bozuk {
    std::string metin;
    std::string hata;
  };
  const Bozuk bozuklar[] = {
      {"", "k: line 1 of the commit record: the record ends early"},
      {"pergonix-commit 2\ndecided\nend 0\n", "line 1 of the commit record: not a commit record"},
      {"pergonix-commit 1\nmaybe\nend 0\n", "line 2 of the commit record: neither decided"},
      {"pergonix-commit 1\nundecided\n/a /b\nend 1\n", "line 3 of the commit record: not a"},
      {"pergonix-commit 1\nundecided\n\t/b\nend 1\n", "line 3 of the commit record: not a"},
      {"pergonix-commit 1\nundecided\n/a\t/b\nend 2\n", "line 4 of the commit record: the count"},
      {"pergonix-commit 1\nundecided\n/a\t/b\n", "line 3 of the commit record: the count"},
      {"pergonix-commit 1\nundecided\n/a\t/b\nend 1", "line 4 of the commit record has no end"},
  };
  for (const auto& b : bozuklar) {
    auto r = DecodeCommitRecord(b.metin, "k");
    ASSERT_FALSE(r.ok()) << b.metin;
    EXPECT_NE(r.status().message().find(b.hata), std::string::npos) << r.status().message();
  }
}

// Two databases with one table each; a change adds rows to both. With `yeni_` the second
// does not exist before: the change creates it, and its file must appear only with the
// commit. (A new file's bytes hold the time it was made, so only its presence is compared.)
class IkiVeritabani : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(dir_.path() / "iki");
    auto havuz = NewAccessDatabasePool(platform::SystemFiles());
    for (const auto& p : vt_) {
      auto d = havuz->Create(p.string());
      ASSERT_TRUE(d.ok()) << d.status().ToString();
      ASSERT_TRUE((*d)->CreateTable("Kayit").ok());
      NewColumn ad{.name = "Ad", .ado_type = 202, .defined_size = 20};
      ASSERT_TRUE((*d)->AppendColumn("Kayit", ad).ok());
    }
    havuz->CloseAll();
    for (const auto& p : vt_) once_[p] = ReadAll(p);
  }

  // The change on `files`; its status.
  Status Degistir(platform::FileLayer& files) {
    auto havuz = NewAccessDatabasePool(files, kayit_, sayfalar_);
    std::vector<Database*> acik;
    for (const auto& p : vt_) {
      const bool yarat = yeni_ && p == vt_[1];
      PX_ASSIGN_OR_RETURN(Database * d,
                          yarat ? havuz->Create(p.string()) : havuz->Open(p.string()));
      PX_RETURN_IF_ERROR(d->Begin());
      acik.push_back(d);
      if (yarat) {
        PX_RETURN_IF_ERROR(d->CreateTable("Kayit"));
        PX_RETURN_IF_ERROR(
            d->AppendColumn("Kayit", {.name = "Ad", .ado_type = 202, .defined_size = 20}));
      }
      for (int i = 0; i < 50; ++i) {
        PX_RETURN_IF_ERROR(
            d->Execute("INSERT INTO Kayit (Ad) Values ('satır " + std::to_string(i) + "')")
                .status());
      }
    }
    return havuz->CommitTogether(acik);
  }
  std::map<fs::path, std::string> Simdi() const {
    std::map<fs::path, std::string> out;
    for (const auto& p : vt_) out[p] = fs::exists(p) ? ReadAll(p) : "";
    return out;
  }
  bool Ayni(const std::map<fs::path, std::string>& a,
            const std::map<fs::path, std::string>& b) const {
    if (!yeni_) return a == b;
    return a.at(vt_[0]) == b.at(vt_[0]) && a.at(vt_[1]).empty() == b.at(vt_[1]).empty();
  }
  void Eskiye() {
    for (const auto& [p, b] : once_) std::ofstream(p, std::ios::binary | std::ios::trunc) << b;
    if (yeni_) fs::remove(vt_[1]);
  }
  void Yeni() {
    yeni_ = true;
    Eskiye();
    once_[vt_[1]] = "";
  }
  // What the next run does: a pool that opens the databases, and the sweep of the folders;
  // true when the sweep found something.
  bool SonrakiAcilis() {
    {
      auto havuz = NewAccessDatabasePool(platform::SystemFiles(), kayit_);
      for (const auto& p : vt_) {
        if (!fs::exists(p)) continue;
        auto d = havuz->Open(p.string());
        EXPECT_TRUE(d.ok()) << p << ": " << d.status().ToString();
      }
    }
    const bool artik = !Artiklar().empty();
    const std::string klasor = dir_.str();
    Status st = RemoveStaleLeftovers(platform::SystemFiles(), kayit_, {&klasor, 1}, 2);
    EXPECT_TRUE(st.ok()) << st.ToString();
    return artik;
  }
  std::vector<std::string> Artiklar() const {
    std::vector<std::string> out;
    for (const auto& e : fs::recursive_directory_iterator(dir_.path())) {
      if (e.path().filename().string().starts_with(".~")) out.push_back(e.path().string());
    }
    return out;
  }

  px::testing::TempFolder dir_;
  const std::vector<fs::path> vt_ = {dir_.path() / "bir.mdb", dir_.path() / "iki" / "iki.mdb"};
  const std::string kayit_ = (dir_.path() / "kayitlar" / kCommitRecordName).string();
  std::map<fs::path, std::string> once_;
  bool yeni_ = false;
  jet::PageStoreOptions sayfalar_;

  // Every failing write, flush and rename of the change; every moment to die at (counting
  // in `suprulen_` the moments that left files for the next run's sweep).
  void Hatalar();
  void Olumler();
  int suprulen_ = 0;
};

void IkiVeritabani::Hatalar() {
  Eskiye();
  using Fault = px::testing::DyingFiles::Fault;
  px::testing::DyingFiles sayac(0, Fault::kFailing);
  ASSERT_TRUE(Degistir(sayac).ok());
  const auto sonra = Simdi();
  ASSERT_FALSE(Ayni(sonra, once_));
  EXPECT_EQ(Artiklar(), std::vector<std::string>{});

  int kararli = 0, kararsiz = 0;
  for (uint64_t n = 1; n <= sayac.changes(); ++n) {
    SCOPED_TRACE("failing change " + std::to_string(n));
    Eskiye();
    px::testing::DyingFiles files(n, Fault::kFailing);
    const Status st = Degistir(files);
    ASSERT_FALSE(st.ok());
    if (fs::exists(kayit_)) {
      ++kararli;
      EXPECT_NE(st.message().find("the next run finishes it"), std::string::npos) << st.message();
      SonrakiAcilis();
      EXPECT_TRUE(Ayni(Simdi(), sonra));
    } else {
      ++kararsiz;
      EXPECT_TRUE(Ayni(Simdi(), once_)) << st.message();
    }
    EXPECT_EQ(Artiklar(), std::vector<std::string>{});
  }
  EXPECT_GT(kararli, 0);
  EXPECT_GT(kararsiz, 0);
}

void IkiVeritabani::Olumler() {
  Eskiye();
  px::testing::DyingFiles sayac(0);
  ASSERT_TRUE(Degistir(sayac).ok());
  const auto sonra = Simdi();
  const uint64_t toplam = sayac.changes();
  int once_kalan = 0;
  for (uint64_t n = 1; n <= toplam; ++n) {
    SCOPED_TRACE("killed at change " + std::to_string(n) + " of " + std::to_string(toplam));
    Eskiye();
    {
      px::testing::DyingFiles files(n);
      (void)Degistir(files);
    }
    suprulen_ += SonrakiAcilis() ? 1 : 0;
    const auto simdi = Simdi();
    if (Ayni(simdi, once_)) {
      ++once_kalan;
    } else {
      EXPECT_TRUE(Ayni(simdi, sonra)) << "neither all before nor all after";
    }
    EXPECT_EQ(Artiklar(), std::vector<std::string>{});
  }
  EXPECT_GT(once_kalan, 0);
}

TEST_F(IkiVeritabani, AFaultBeforeTheDecisionChangesNothingAndOneAfterItIsFinishedNextTime) {
  Hatalar();
  Yeni();
  Hatalar();
}

TEST_F(IkiVeritabani, KilledAtAnyFileChangeBothAreAsBeforeOrAsAfterOnceReopened) {
  Olumler();
  Yeni();
  Olumler();
}

// Changes beyond the memory bound spill beside their databases; a program killed before
// its commit record exists leaves the spill file of a database it was creating, which
// nothing opens again: the next run's sweep removes it.
TEST_F(IkiVeritabani, KilledWhileSpillingLeavesNothingOnceTheNextRunHasSwept) {
  sayfalar_.memory_bytes = 8 * 4096;
  Yeni();
  Olumler();
  EXPECT_GT(suprulen_, 0);
}

// The sweep keeps what may still be needed: everything while a record cannot be dealt
// with, and the files of a database in use.
TEST_F(IkiVeritabani, TheSweepKeepsWhatARecordOrALiveTransactionNeeds) {
  const fs::path yok = dir_.path() / "iki" / "yok.mdb";
  const std::vector<std::string> artiklar = {
      jet::SpillFileBeside(yok.string()), jet::ScratchFileBeside(yok.string()),
      jet::PreparedFileBeside(yok.string()), jet::SpillFileBeside(vt_[0].string()),
      jet::PreparedFileBeside(vt_[1].string())};
  for (const auto& a : artiklar) std::ofstream(a) << "x";
  const std::string klasor = dir_.str();
  fs::create_directories(fs::path(kayit_).parent_path());
  std::ofstream(kayit_) << "pergonix-commit 1\nmaybe\n";
  Status st = RemoveStaleLeftovers(platform::SystemFiles(), kayit_, {&klasor, 1}, 2);
  ASSERT_FALSE(st.ok());
  EXPECT_NE(st.message().find(kayit_), std::string::npos) << st.message();
  EXPECT_EQ(Artiklar().size(), artiklar.size() + 1);

  fs::remove(kayit_);
  auto havuz = NewAccessDatabasePool(platform::SystemFiles(), kayit_);
  ASSERT_TRUE(havuz->Open(vt_[0].string()).ok());
  std::ofstream(artiklar[3]) << "x";  // as a live transaction of that database spills
  st = RemoveStaleLeftovers(platform::SystemFiles(), kayit_, {&klasor, 1}, 2);
  ASSERT_TRUE(st.ok()) << st.ToString();
  EXPECT_EQ(Artiklar(), std::vector<std::string>{artiklar[3]});
  // The store that opens or creates a database removes its scratch itself.
  havuz->CloseAll();
  std::ofstream(artiklar[0]) << "x";
  ASSERT_TRUE(havuz->Open(vt_[0].string()).ok());
  ASSERT_TRUE(havuz->Create(yok.string()).ok());
  EXPECT_EQ(Artiklar(), std::vector<std::string>{});
}

// A commit under way in another run (its lock held) is not an interrupted one: nothing of
// it is touched until that run lets go.
TEST_F(IkiVeritabani, ACommitUnderWayInAnotherRunIsLeftAlone) {
  const std::string hazir = jet::PreparedFileBeside(vt_[0].string());
  std::ofstream(hazir) << "x";
  fs::create_directories(fs::path(kayit_).parent_path());
  std::ofstream(kayit_, std::ios::binary) << EncodeCommitRecord({true, {{hazir, vt_[0].string()}}});
  const std::string kilit = CommitLockBeside(kayit_);
  std::ofstream{kilit};
  {
    auto tutulan = platform::SystemFiles().LockExclusive(kilit);
    ASSERT_TRUE(tutulan.ok()) << tutulan.status().ToString();
    const Status st = FinishInterruptedCommit(platform::SystemFiles(), kayit_);
    EXPECT_TRUE(st.IsBusy()) << st.ToString();
    EXPECT_TRUE(fs::exists(hazir));
    EXPECT_TRUE(fs::exists(kayit_));
    EXPECT_EQ(ReadAll(vt_[0]), once_.at(vt_[0]));
  }
  ASSERT_TRUE(FinishInterruptedCommit(platform::SystemFiles(), kayit_).ok());
  EXPECT_FALSE(fs::exists(kayit_));
  EXPECT_EQ(ReadAll(vt_[0]), "x");
}

TEST_F(IkiVeritabani, APreparedFileLeftBesideADatabaseKeepsItClosedUntilTheRecordIsSeen) {
  const std::string hazir = jet::PreparedFileBeside(vt_[0].string());
  std::ofstream(hazir) << "x";
  auto havuz = NewAccessDatabasePool(platform::SystemFiles());
  auto d = havuz->Open(vt_[0].string());
  ASSERT_FALSE(d.ok());
  EXPECT_NE(d.status().message().find(hazir), std::string::npos) << d.status().message();
  // An undecided record naming it lets the next opening remove it.
  fs::create_directories(fs::path(kayit_).parent_path());
  std::ofstream(kayit_, std::ios::binary)
      << EncodeCommitRecord({false, {{hazir, vt_[0].string()}}});
  SonrakiAcilis();
  EXPECT_FALSE(fs::exists(hazir));
  EXPECT_EQ(ReadAll(vt_[0]), once_.at(vt_[0]));
}

}  // namespace
}  // namespace px::db
