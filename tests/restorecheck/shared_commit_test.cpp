// A module with two databases commits them together: a failing write, flush or rename at
// any point of the restore leaves both byte-identical, or, once the commit is decided, lets
// the next run finish both; a program that dies at any file operation leaves both as before
// or both as after once the next run has started.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>

#include "db/access_database.h"
#include "jet/writer.h"
#include "restorecheck/suite_helpers.h"
#include "support/dying_files.h"
#include "support/process.h"
#include "support/samples.h"

namespace px::restorecheck {
namespace {

// Bütçe with a second database: the catalog of the suite's copy lists "butce2.mdb" beside
// "butce.mdb" with the same tables, and both companies have one. Company 002's package is
// restored over company 001.
class IkiVeritabani : public ::testing::Test {
 protected:
  void SetUp() override {
    PX_SAMPLE_OR_SKIP(suite, "suite/Pergonix");
    s_.emplace();
    auto katalog_havuzu = db::NewAccessDatabasePool(platform::SystemFiles());
    auto katalog = katalog_havuzu->Open(s_->C("Genel/Data/DonemAc.mdb").string());
    ASSERT_TRUE(katalog.ok()) << katalog.status().ToString();
    auto eklendi = (*katalog)->Execute(
        "INSERT INTO tablo_veritabani_bilgileri (VeritabaniModulAdi, VeritabaniAccessAdi, "
        "VeritabaniSqlServerAdi, VeritabaniKonum, VeritabaniTanimi, VeritabaniBaglantiTuru) "
        "Values ('Butce','butce2.mdb','BUTCE2','DataSirketYil','Butce Veritabanı','Access')");
    ASSERT_TRUE(eklendi.ok()) << eklendi.status().ToString();
    katalog_havuzu->CloseAll();
    for (const char* sirket : {"001", "002"}) {
      const fs::path klasor = s_->C(std::string("Butce/Data/") + sirket + "/2009");
      fs::copy_file(klasor / "butce.mdb", klasor / "butce2.mdb");
    }
    s_->Yedekle("P", "002", "2009");
    vt_ = {s_->C("Butce/Data/001/2009/butce.mdb"), s_->C("Butce/Data/001/2009/butce2.mdb")};
    once_ = Suit::Baytlar(vt_);
  }

  Suit::GeriAlma GeriAl(platform::FileLayer& files) {
    return s_->GeriAl("P", "002", "2009", "001", "2009", files, {"Bütçe"});
  }
  void Eskiye() {
    for (const auto& [p, b] : once_) std::ofstream(p, std::ios::binary) << b;
    fs::remove_all(s_->C("GeriAlOncesi"));
  }
  bool KayitVar() const { return fs::exists(s_->C("GeriAlOncesi/.~pergonix-commit.tmp")); }
  // What the next run does before it changes anything: the record dealt with when the pool
  // opens a database, and the module's databases opened (and closed) again.
  void SonrakiCalisma() {
    auto havuz = db::NewAccessDatabasePool(platform::SystemFiles(), kCommitKaydi);
    for (const auto& p : vt_) {
      auto d = havuz->Open(p.string());
      EXPECT_TRUE(d.ok()) << d.status().ToString();
    }
    havuz->CloseAll();
    restore::HostDosyalar dosyalar;
    EXPECT_TRUE(restore::OncekiKopyaArtiklariniSil(dosyalar, "C:\\Pergonix").ok());
    // A killed run's staged table files are not what this test is about.
    for (const auto& e : fs::directory_iterator(s_->Gecici())) {
      if (e.path().filename() != "pergonix-yedek.lock") fs::remove_all(e.path());
    }
  }
  // The module's databases as a clean run leaves them.
  std::map<fs::path, std::string> Sonra() {
    Eskiye();
    const auto r = GeriAl(platform::SystemFiles());
    EXPECT_TRUE(r.sonuc.sona_ulasti) << Hatalar(r.kutular);
    auto sonra = Suit::Baytlar(vt_);
    Eskiye();
    return sonra;
  }

  std::optional<Suit> s_;
  std::vector<fs::path> vt_;
  std::map<fs::path, std::string> once_;
};

TEST_F(IkiVeritabani, EveryFailingWriteFlushOrRenameLeavesBothAsBeforeOrTheNextRunFinishesBoth) {
  using Fault = px::testing::DyingFiles::Fault;
  px::testing::DyingFiles sayac(0, Fault::kFailing);
  const auto temiz = GeriAl(sayac);
  ASSERT_TRUE(temiz.sonuc.sona_ulasti) << Hatalar(temiz.kutular);
  const uint64_t sayi = sayac.changes();
  const auto sonra = Suit::Baytlar(vt_);
  for (const auto& p : vt_) ASSERT_NE(sonra.at(p), once_.at(p)) << p;
  ASSERT_EQ(Sonra(), sonra) << "a restore is expected to write the same bytes each time";

  // Each change failing alone, and the disk full from a few of them on.
  std::vector<std::pair<uint64_t, Fault>> planlar;
  for (uint64_t n = 1; n <= sayi; ++n) planlar.push_back({n, Fault::kFailing});
  for (uint64_t k = 0; k < 8; ++k) planlar.push_back({1 + sayi * k / 8, Fault::kDiskFull});
  int kararli = 0;
  for (const auto& [n, fault] : planlar) {
    SCOPED_TRACE((fault == Fault::kFailing ? "failing change " : "disk full at change ") +
                 std::to_string(n));
    Eskiye();
    px::testing::DyingFiles files(n, fault);
    const auto r = GeriAl(files);
    EXPECT_TRUE(r.sonuc.hata);
    EXPECT_NE(Hatalar(r.kutular).find("Hata Kodu"), std::string::npos);
    if (KayitVar()) {
      // Decided: some databases may be renamed already; the next run renames the rest.
      ++kararli;
      EXPECT_NE(Hatalar(r.kutular).find("the next run finishes it"), std::string::npos)
          << Hatalar(r.kutular);
      SonrakiCalisma();
      EXPECT_TRUE(Suit::Baytlar(vt_) == sonra);
    } else {
      EXPECT_TRUE(Suit::Baytlar(vt_) == once_);
    }
    EXPECT_EQ(s_->ArtikGeciciler(), std::vector<fs::path>{});
  }
  EXPECT_GT(kararli, 0) << "no fault fell between the decision and the last rename";
  Eskiye();
  const auto sonraki = GeriAl(platform::SystemFiles());
  EXPECT_TRUE(sonraki.sonuc.sona_ulasti) << Hatalar(sonraki.kutular);
  EXPECT_TRUE(Suit::Baytlar(vt_) == sonra);
}

TEST_F(IkiVeritabani, AProgramKilledAtAnyFileChangeLeavesBothAsBeforeOrBothAsAfter) {
  const auto sonra = Sonra();
  px::testing::DyingFiles sayac(0);
  ASSERT_TRUE(GeriAl(sayac).sonuc.sona_ulasti);
  const uint64_t toplam = sayac.changes();
  ASSERT_GT(toplam, 0u);
  Eskiye();
  int once_kalan = 0, sonra_olan = 0;
  for (uint64_t n = 1; n <= toplam; ++n) {
    SCOPED_TRACE("killed at change " + std::to_string(n) + " of " + std::to_string(toplam));
    Eskiye();
    {
      px::testing::DyingFiles files(n);
      (void)GeriAl(files);
    }
    SonrakiCalisma();
    const auto simdi = Suit::Baytlar(vt_);
    if (simdi == once_) {
      ++once_kalan;
    } else {
      ++sonra_olan;
      EXPECT_TRUE(simdi == sonra) << "the module's databases are neither all before nor all after";
    }
    EXPECT_EQ(s_->ArtikGeciciler(), std::vector<fs::path>{});
  }
  EXPECT_GT(once_kalan, 0);
  EXPECT_GT(sonra_olan, 0);
}

// The program itself killed at a few moments of the module's restore: once the next run has
// started (one that its entry checks stop, after it has dealt with a commit left behind),
// both databases are as before or both as after.
TEST_F(IkiVeritabani, TheProgramKilledMidRestoreLeavesBothAsBeforeOrBothAsAfter) {
  const auto sonra = Sonra();
  const std::vector<std::string> komut = px::testing::Words(
      "--evet geri-al --kaynak D:\\Yedek --paket P --sirket 001 --yil 2009 --paketteki-sirket 002 "
      "--onaysiz --modul Butce --onceki-kopya-yok");
  const auto bas = std::chrono::steady_clock::now();
  auto tam = px::testing::RunProgram(komut);
  const double sure_tam =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - bas).count();
  ASSERT_TRUE(tam.ExitedWith(0)) << tam.Describe() << tam.out;
  ASSERT_TRUE(Suit::Baytlar(vt_) == sonra);
  std::vector<std::string> durdurulan = komut;
  *(std::find(durdurulan.begin(), durdurulan.end(), "--sirket") + 1) = "01";  // too short
  int oldurulen = 0;
  for (int k = 1; k <= 8; ++k) {
    // Moments spread over a whole run's time on this machine.
    const double sure = sure_tam * k / 9;
    SCOPED_TRACE(std::to_string(sure) + " s");
    Eskiye();
    auto r = px::testing::RunProgram(komut, {.input = "", .timeout_seconds = sure});
    oldurulen += r.timed_out;
    auto sonraki = px::testing::RunProgram(durdurulan);
    EXPECT_TRUE(sonraki.ExitedWith(1)) << sonraki.Describe() << sonraki.out;
    const auto simdi = Suit::Baytlar(vt_);
    EXPECT_TRUE(simdi == once_ || simdi == sonra) << "neither all before nor all after";
  }
  EXPECT_GT(oldurulen, 0) << "no run was killed: the moments are too late for this machine";
  // A whole run after the kills finishes and leaves nothing behind.
  auto son = px::testing::RunProgram(komut);
  EXPECT_TRUE(son.ExitedWith(0)) << son.Describe() << son.out;
  EXPECT_TRUE(Suit::Baytlar(vt_) == sonra);
  EXPECT_EQ(s_->ArtikGeciciler(), std::vector<fs::path>{});
}

// The second database an Access 97 file whose "Kod" column is indexed: Jet 3 has no key for
// the Turkish letters of the package's codes, so the module ends with the box that names
// the database, the table, the index and the letter, and neither database has changed.
TEST_F(IkiVeritabani, AnAccess97KeyThatCannotBeMadeEndsTheModuleWithNothingChanged) {
  PX_SAMPLE_OR_SKIP(jet3, "mdb/testV1997.mdb");
  const fs::path butce2 = vt_[1];
  fs::remove(butce2);
  fs::copy_file(jet3, butce2);
  {
    auto w = jet::Writer::Open(platform::SystemFiles(), butce2.string());
    ASSERT_TRUE(w.ok()) << w.status().ToString();
    jet::Writer& y = **w;
    ASSERT_TRUE(y.CreateTable("ButceKayit").ok());
    jet::ColumnSpec id{.name = "Id", .ado_type = 3, .autoincrement = true};
    const jet::ColumnSpec sutunlar[] = {
        id,
        {.name = "Kod", .ado_type = 202, .defined_size = 30, .allow_zero_length = true},
        {.name = "Tutar", .ado_type = 6, .precision = 2},
        {.name = "Aciklama", .ado_type = 202, .defined_size = 120, .allow_zero_length = true}};
    for (const auto& c : sutunlar) ASSERT_TRUE(y.AddColumn("ButceKayit", c).ok()) << c.name;
    ASSERT_TRUE(y.AddPrimaryKey("ButceKayit", "PrimaryKey", "Id").ok());
    jet::IndexSpec kod{.name = "KodSirasi", .columns = {{"Kod", true}}};
    ASSERT_TRUE(y.AddIndex("ButceKayit", kod).ok());
  }
  once_ = Suit::Baytlar(vt_);
  const auto r = GeriAl(platform::SystemFiles());
  EXPECT_TRUE(r.sonuc.hata);
  const std::string kutu = Hatalar(r.kutular);
  for (const char* parca :
       {"Hata Kodu", "butce2.mdb", "ButceKayit", "index KodSirasi", "has no known key"}) {
    EXPECT_NE(kutu.find(parca), std::string::npos) << parca << " in " << kutu;
  }
  EXPECT_TRUE(Suit::Baytlar(vt_) == once_);
  EXPECT_EQ(s_->ArtikGeciciler(), std::vector<fs::path>{});
}

}  // namespace
}  // namespace px::restorecheck
