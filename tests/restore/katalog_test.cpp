#include "restore/katalog.h"

#include <gtest/gtest.h>

#include "restore/fake_database.h"
#include "restore/test_katalog.h"

namespace px::restore {
namespace {

using testing::FakeDatabase;
using testing::KatalogKurucu;

// Cari's definition: tblCari (key Id, auto-number) and tblHareket (key Kod, text) with every
// type, positions as text so that "10" sorts before "2".
KatalogKurucu CariKatalogu() {
  KatalogKurucu k;
  k.Tablo("Cari", "tblHareket");
  k.Tablo("Cari", "tblCari");
  k.Tablo("Baska", "tblYok");
  k.Saha("Cari", "tblCari", "Id", "Long", "", "E", "E", "1");
  k.Saha("Cari", "tblCari", "Ad", "String", "50", "", "", "2");
  k.Saha("Cari", "tblCari", "Sira", "Long", "", "", "E", "3");
  k.Saha("Cari", "tblHareket", "Kod", "String", "10", "E", "", "1");
  k.Saha("Cari", "tblHareket", "Tutar", "Currency", "", "", "", "2");
  k.Saha("Cari", "tblHareket", "Oran", "Double", "", "", "", "10");
  k.Saha("Cari", "tblHareket", "B", "Byte", "", "", "E", "3");
  k.Saha("Cari", "tblHareket", "I", "Integer", "", "", "", "4");
  k.Saha("Cari", "tblHareket", "S", "Single", "", "", "", "5");
  k.Saha("Cari", "tblHareket", "O", "Boolean", "", "", "", "6");
  k.Saha("Cari", "tblHareket", "M", "Memo", "", "", "", "7");
  k.Saha("Baska", "tblCari", "Yabanci", "Long", "", "", "", "1");
  return k;
}

const std::vector<std::string> kCariOlustur = {
    "CreateTable tblCari",
    "AppendColumn tblCari Id 3 size=0 precision=0 azl auto",
    "AppendPrimaryKey tblCari PrimaryKey Id",
    "AppendColumn tblCari Ad 202 size=50 precision=0 azl",
    "AppendColumn tblCari Sira 3 size=0 precision=0 azl auto",
    "CreateTable tblHareket",
    "AppendColumn tblHareket Kod 202 size=10 precision=0 azl",
    "AppendPrimaryKey tblHareket PrimaryKey Kod",
    "AppendColumn tblHareket Oran 5 size=0 precision=0 azl",
    "AppendColumn tblHareket Tutar 6 size=0 precision=2 azl",
    "AppendColumn tblHareket B 17 size=0 precision=0 azl",
    "AppendColumn tblHareket I 2 size=0 precision=0 azl",
    "AppendColumn tblHareket S 4 size=0 precision=0 azl",
    "AppendColumn tblHareket O 11 size=0 precision=0 azl",
    "AppendColumn tblHareket M - size=0 precision=0 azl",
};

TEST(AccessTablolariOlustur, EveryTableAndColumnInCatalogOrder) {
  auto katalog = CariKatalogu().Baglanti();
  FakeDatabase db;
  ASSERT_TRUE(AccessTablolariOlustur(*katalog, db, "Cari").ok());
  EXPECT_EQ(db.log, kCariOlustur);
  EXPECT_EQ(
      katalog->queries,
      (std::vector<std::string>{
          "SELECT TabloAdi FROM tablo_veritabani_tablo_bilgileri WHERE VeritabaniTanimi ='Cari' "
          "ORDER BY TabloAdi",
          "SELECT SahaAdi,SahaBoyu,SahaOtomatikSayi,SahaVeriTuru,SahaPrimaryKey FROM "
          "tablo_veritabani_saha_bilgileri WHERE TabloAdi ='tblCari' AND VeritabaniTanim ='Cari' "
          "ORDER BY SahaPozisyonu",
          "SELECT SahaAdi,SahaBoyu,SahaOtomatikSayi,SahaVeriTuru,SahaPrimaryKey FROM "
          "tablo_veritabani_saha_bilgileri WHERE TabloAdi ='tblHareket' AND VeritabaniTanim "
          "='Cari' ORDER BY SahaPozisyonu"}));
}

TEST(AccessSahasi, AutoincrementRules) {
  struct Case {
    const char* tur;
    const char* birincil;
    const char* otomatik;
    bool auto_;
  };
  const Case cases[] = {
      {"Long", "E", "E", true},    {"String", "E", "E", true},  {"Long", "", "E", true},
      {"Integer", "", "E", false}, {"Long", "", "Evet", false}, {"Long", "E", "", false},
      {"Long", "e", "E", true},  // "e" is not a key flag, but an ordinary Long with "E" is
  };
  for (const auto& c : cases) {
    auto s = AccessSahasi({"X", "5", c.otomatik, c.tur, c.birincil});
    ASSERT_TRUE(s.ok());
    EXPECT_EQ(s->autoincrement, c.auto_) << c.tur << c.birincil << c.otomatik;
    EXPECT_TRUE(s->allow_zero_length);
  }
  for (const char* boy : {"", "abc", "40000", "5.5"}) {
    EXPECT_TRUE(AccessSahasi({"X", boy, "", "String", ""}).status().IsInvalidArgument()) << boy;
  }
  EXPECT_EQ(AccessSahasi({"X", "255", "", "String", ""})->defined_size, 255);
}

// A refused call stops the creation there: a failing column, or a second key column, which
// tries a second primary key.
TEST(AccessTablolariOlustur, FailureStopsAtThatCall) {
  KatalogKurucu iki_anahtar;
  iki_anahtar.Tablo("Cari", "T");
  iki_anahtar.Saha("Cari", "T", "A", "Long", "", "E", "", "1");
  iki_anahtar.Saha("Cari", "T", "B", "Long", "", "E", "", "2");
  const std::tuple<KatalogKurucu, const char*, std::vector<std::string>> cases[] = {
      {CariKatalogu(), "AppendColumn tblCari Ad", {kCariOlustur.begin(), kCariOlustur.begin() + 4}},
      {iki_anahtar,
       "",
       {"CreateTable T", "AppendColumn T A 3 size=0 precision=0 azl",
        "AppendPrimaryKey T PrimaryKey A", "AppendColumn T B 3 size=0 precision=0 azl",
        "AppendPrimaryKey T PrimaryKey B"}},
  };
  for (const auto& [katalog, hata, log] : cases) {
    FakeDatabase db;
    db.fail_on = hata;
    EXPECT_FALSE(AccessTablolariOlustur(*katalog.Baglanti(), db, "Cari").ok());
    EXPECT_EQ(db.log, log);
  }
}

TEST(AccessTablolariGuncelle, MissingTableCreatedMissingColumnsAppendedCaseSensitive) {
  auto katalog = CariKatalogu().Baglanti();
  FakeDatabase db;
  // tblCari exists with "AD" (not "Ad") and an extra column; tblHareket is missing.
  db.AddTable("tblCari", {{"Id", ado::kInteger}, {"AD", ado::kVarWChar}, {"Fazla", ado::kInteger}});
  bool eklendi = false;
  ASSERT_TRUE(AccessTablolariGuncelle(*katalog, db, "Cari", eklendi).ok());
  EXPECT_TRUE(eklendi);
  std::vector<std::string> beklenen = {
      "AppendColumn tblCari Ad 202 size=50 precision=0 azl",
      "AppendColumn tblCari Sira 3 size=0 precision=0 azl auto",
  };
  beklenen.insert(beklenen.end(), kCariOlustur.begin() + 5, kCariOlustur.end());
  EXPECT_EQ(db.log, beklenen);
  EXPECT_EQ(db.Find("tblCari")->columns.size(), 5u);  // nothing dropped
  // A second update finds nothing missing.
  db.log.clear();
  ASSERT_TRUE(AccessTablolariGuncelle(*katalog, db, "Cari", eklendi).ok());
  EXPECT_FALSE(eklendi);
  EXPECT_TRUE(db.log.empty());
}

TEST(AccessTablolariGuncelle, KeyColumnAddedToAnExistingTable) {
  KatalogKurucu k;
  k.Tablo("D", "A");
  k.Tablo("D", "B");
  k.Tablo("D", "C");
  k.Saha("D", "A", "Id", "Long", "", "E", "E", "1");
  k.Saha("D", "B", "Id", "Long", "", "E", "E", "1");
  k.Saha("D", "B", "Ad", "String", "5", "", "", "2");
  k.Saha("D", "C", "Id", "Long", "", "E", "", "1");
  k.Saha("D", "C", "No", "Long", "", "", "", "2");
  auto katalog = k.Baglanti();

  // No table made in this call: the key column of B stays ordinary.
  {
    FakeDatabase db;
    db.AddTable("A", {{"Id", ado::kInteger}});
    db.AddTable("B", {{"Ad", ado::kVarWChar}});
    db.AddTable("C", {{"Id", ado::kInteger}, {"No", ado::kInteger}});
    bool eklendi = false;
    ASSERT_TRUE(AccessTablolariGuncelle(*katalog, db, "D", eklendi).ok());
    EXPECT_EQ(db.log, std::vector<std::string>{"AppendColumn B Id 3 size=0 precision=0 azl auto"});
    EXPECT_TRUE(db.Find("B")->keys.empty());
  }
  // A was made in this call: B's key goes to A, which already has one, and fails.
  {
    FakeDatabase db;
    db.AddTable("B", {{"Ad", ado::kVarWChar}});
    bool eklendi = false;
    EXPECT_FALSE(AccessTablolariGuncelle(*katalog, db, "D", eklendi).ok());
    EXPECT_EQ(db.log.back(), "AppendPrimaryKey A PrimaryKey Id");
    EXPECT_TRUE(db.Find("B")->keys.empty());
  }
}

TEST(SqlTablolari, CreateAndAlterStatements) {
  auto katalog = CariKatalogu().Baglanti();
  std::vector<std::string> sent;
  auto calistir = [&](const std::string& sql) {
    sent.push_back(sql);
    return Status::Ok();
  };
  ASSERT_TRUE(SqlTablolariOlustur(*katalog, "Cari", calistir).ok());
  EXPECT_EQ(sent,
            (std::vector<std::string>{
                "CREATE TABLE tblCari ( [Id] int IDENTITY PRIMARY KEY CLUSTERED, [Ad] "
                "nvarchar(50), [Sira] int)",
                "CREATE TABLE tblHareket ( [Kod] nvarchar(10) PRIMARY KEY CLUSTERED, [Oran] "
                "float, [Tutar] money , [B] tinyint, [I] smallint, [S] real, [O] bit, [M] )"}));
  sent.clear();
  auto sema = [](const std::string& t) -> Result<std::vector<db::SchemaColumn>> {
    if (t == "tblCari") return std::vector<db::SchemaColumn>{{"Id", 1}, {"ad", 2}};
    return std::vector<db::SchemaColumn>{};
  };
  bool eklendi = false;
  ASSERT_TRUE(SqlTablolariGuncelle(*katalog, "Cari", sema, calistir, eklendi).ok());
  EXPECT_TRUE(eklendi);
  ASSERT_EQ(sent.size(), 3u);
  EXPECT_EQ(sent[0], "ALTER TABLE tblCari ADD Ad NVARCHAR(50) NULL");
  EXPECT_EQ(sent[1], "ALTER TABLE tblCari ADD Sira INT NULL");
  EXPECT_TRUE(sent[2].starts_with("CREATE TABLE tblHareket ( [Kod]"));
  // A refused statement stops the update there.
  sent.clear();
  auto ret = [&](const std::string& sql) {
    sent.push_back(sql);
    return Status::InvalidArgument("Column names in each table must be unique");
  };
  EXPECT_FALSE(SqlTablolariGuncelle(*katalog, "Cari", sema, ret, eklendi).ok());
  EXPECT_EQ(sent.size(), 1u);
}

TEST(SqlVeritabaniYarat, ExistingSkippedFailureIsFalse) {
  struct Case {
    const char* konum;
    int surum;
    bool var;
    bool basarili;
    bool sonuc;
    const char* ad;  // the name asked about
  };
  const Case cases[] = {
      {"DataSirketYil", 9, false, true, true, "X2009001"},
      {"DataSirket", 8, false, true, true, "X001"},
      {"Data", 10, true, true, false, "X"},
      {"DataSirketYil", 9, false, false, false, "X2009001"},
      {"DataSirketYil", 11, false, true, true, "X2009001"},  // 0 or 11: the version probe gives 0
  };
  for (const auto& c : cases) {
    std::vector<std::string> sorulan, sent;
    const bool r = SqlVeritabaniYarat(
        "X", "001", "2009", c.konum, c.surum == 11 ? SurumNumarasi("11.0") : c.surum, "D:\\",
        [&](const std::string& ad) {
          sorulan.push_back(ad);
          return c.var;
        },
        [&](const std::string& sql) {
          sent.push_back(sql);
          return c.basarili ? Status::Ok() : Status::IOError("CREATE DATABASE failed");
        });
    EXPECT_EQ(r, c.sonuc) << c.konum;
    EXPECT_EQ(sorulan, std::vector<std::string>{c.ad});
    EXPECT_EQ(sent.size(), c.var ? 0u : 1u);
    if (!sent.empty()) {
      EXPECT_TRUE(sent[0].starts_with(std::string("CREATE DATABASE ") + c.ad + " ON PRIMARY"));
    }
  }
  // An unknown version sends the empty command, whose failure is a false.
  std::vector<std::string> sent;
  EXPECT_FALSE(SqlVeritabaniYarat(
      "X", "001", "2009", "Data", 7, "D:\\", [](const std::string&) { return false; },
      [&](const std::string& sql) {
        sent.push_back(sql);
        return sql.empty() ? Status::InvalidArgument("empty command") : Status::Ok();
      }));
  EXPECT_EQ(sent, std::vector<std::string>{""});
}

}  // namespace
}  // namespace px::restore
