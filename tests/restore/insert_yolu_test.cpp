// A restored row reaches an Access table as the INSERT text, as that statement's parts
// (Database::Insert), or made ready from the parts (Database::PrepareInsert); all three must
// store the same values, the text's deliberate changes included, and refuse the same rows
// with the same message.
#include <gtest/gtest.h>

#include <algorithm>

#include "db/access_database.h"
#include "db/text_of.h"
#include "platform/files.h"
#include "restore/sql_metinleri.h"
#include "support/temp_folder.h"

namespace px::restore {
namespace {

FieldInfo Saha(const std::string& ad, int tur) {
  FieldInfo f;
  f.name = ad;
  f.ado_type = tur;
  return f;
}

// The file's fields: the table has the same columns, Id an AutoNumber key.
const std::vector<FieldInfo> kSahalar = {
    Saha("Id", ado::kInteger),          Saha("Ad", ado::kVarWChar), Saha("Tutar", ado::kCurrency),
    Saha("Aktif", ado::kBoolean),       Saha("Tarih", ado::kDate),  Saha("Oran", ado::kDouble),
    Saha("Notlar", ado::kLongVarWChar), Saha("Key", ado::kVarWChar)};

Status TabloYap(db::Database& d, const std::string& ad) {
  PX_RETURN_IF_ERROR(d.CreateTable(ad));
  for (const db::NewColumn& c :
       {db::NewColumn{"Id", 3, 0, 0, true, true}, db::NewColumn{"Ad", 202, 10, 0, true, false},
        db::NewColumn{"Tutar", 6, 0, 2, true, false}, db::NewColumn{"Aktif", 11, 0, 0, true, false},
        db::NewColumn{"Tarih", 7, 0, 0, true, false}, db::NewColumn{"Oran", 5, 0, 0, true, false},
        db::NewColumn{"Notlar", 203, 0, 0, true, false},
        db::NewColumn{"Key", 202, 10, 0, true, false}}) {
    PX_RETURN_IF_ERROR(d.AppendColumn(ad, c));
  }
  return d.AppendPrimaryKey(ad, "PrimaryKey", "Id");
}

std::vector<std::string> Satirlar(db::Database& d, const std::string& tablo) {
  std::vector<std::string> out;
  auto rows = d.Query("SELECT * FROM " + tablo + " ORDER BY Id");
  EXPECT_TRUE(rows.ok()) << rows.status().ToString();
  if (!rows.ok()) return out;
  Row row;
  while ((*rows)->Next(row)) {
    std::string line;
    for (size_t i = 0; i < row.size(); ++i) {
      line += (i ? "|" : "") + (IsNull(row[i]) ? std::string("Null") : db::TextOf(row[i]));
    }
    out.push_back(line);
  }
  return out;
}

OleDate Gun(double gun) {
  return OleDate{gun};
}

TEST(InsertYolu, PartsStoreWhatTheTextStores) {
  struct Case {
    const char* what;
    Row satir;
    const char* saklanan;  // as read back; empty when the row is refused
  };
  const Null bos;
  const std::vector<Case> cases = {
      {"apostrophes become double quotes",
       {int64_t{1}, std::string("O'Brien"), bos, true, bos, bos, std::string("it's"), bos},
       "1|O\"Brien|Null|True|Null|Null|it\"s|"},
      {"null text of type 202 becomes '', other nulls stay Null, Null Yes/No is No",
       {int64_t{2}, bos, bos, bos, bos, bos, bos, bos},
       "2||Null|False|Null|Null|Null|"},
      {"money typed and as text through ParaMetniDuzelt",
       {int64_t{3}, std::string("a"), Currency{12345600}, false, bos, bos, bos, std::string("k")},
       "3|a|1234.56|False|Null|Null|Null|k"},
      {"money text with a decimal comma",
       {int64_t{4}, bos, std::string("1.234,5"), bos, bos, bos, bos, bos},
       "4||1234.5|False|Null|Null|Null|"},
      {"dates keep whole seconds, midnight has no time",
       {int64_t{5}, bos, bos, bos, Gun(45351.5729166667), bos, bos, bos},
       "5||Null|False|2024-02-29 13:45:00|Null|Null|"},
      {"midnight",
       {int64_t{6}, bos, bos, bos, Gun(45351), bos, bos, bos},
       "6||Null|False|2024-02-29|Null|Null|"},
      {"numbers by their shortest text",
       {int64_t{7}, bos, bos, bos, bos, 0.1, bos, bos},
       "7||Null|False|Null|0.1|Null|"},
      {"a number given as text",
       {int64_t{8}, bos, bos, bos, bos, std::string("2E3"), bos, bos},
       "8||Null|False|Null|2000|Null|"},
      {"doubles the text writes with an exponent",
       {int64_t{12}, bos, bos, bos, bos, 1e-7, bos, bos},
       "12||Null|False|Null|1e-07|Null|"},
      {"1e300",
       {int64_t{13}, bos, bos, bos, bos, 1e300, bos, bos},
       "13||Null|False|Null|1e+300|Null|"},
      {"negative zero",
       {int64_t{14}, bos, bos, bos, bos, -0.0, bos, bos},
       "14||Null|False|Null|0|Null|"},
      {"5e-324",
       {int64_t{15}, bos, bos, bos, bos, 5e-324, bos, bos},
       "15||Null|False|Null|5e-324|Null|"},
      {"milliseconds are dropped",
       {int64_t{16}, bos, bos, bos, Gun(45351.0 + 1.5 / 86400), bos, bos, bos},
       "16||Null|False|2024-02-29 00:00:01|Null|Null|"},
      {"negative money with four decimals",
       {int64_t{17}, bos, Currency{-12345678}, bos, bos, bos, bos, bos},
       "17||-1234.5678|False|Null|Null|Null|"},
      {"a date before year 100 is refused",
       {int64_t{18}, bos, bos, bos, Gun(-680000), bos, bos, bos},
       ""},
      {"a key beyond Long is refused", {int64_t{1} << 40, bos, bos, bos, bos, bos, bos, bos}, ""},
      {"text longer than its column is refused",
       {int64_t{9}, std::string("onbir harf!"), bos, bos, bos, bos, bos, bos},
       ""},
      {"a number column given words is refused",
       {int64_t{10}, bos, bos, bos, bos, std::string("yok"), bos, bos},
       ""},
      {"binary data has no INSERT form",
       {int64_t{11}, bos, bos, bos, bos, bos, Binary{{1, 2}}, bos},
       ""},
  };

  px::testing::TempFolder dir;
  auto pool = db::NewAccessDatabasePool(platform::SystemFiles());
  auto created = pool->Create(dir.str() + "/Stok.mdb");
  ASSERT_TRUE(created.ok()) << created.status().ToString();
  db::Database& d = **created;
  ASSERT_TRUE(TabloYap(d, "Metin").ok());
  ASSERT_TRUE(TabloYap(d, "Parca").ok());
  ASSERT_TRUE(TabloYap(d, "Hazir").ok());
  db::InsertStatement sekil{"Hazir", {}, {}};
  for (const FieldInfo& saha : kSahalar) sekil.columns.push_back(saha.name);
  const std::unique_ptr<db::ReadyInsert> hazir = d.PrepareInsert(sekil);
  ASSERT_NE(hazir, nullptr);

  std::vector<std::string> beklenen;
  db::InsertStatement komut;
  Row kayit;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Status metinle = [&]() -> Status {
      PX_ASSIGN_OR_RETURN(std::string sql, InsertMetni("Metin", kSahalar, c.satir));
      return d.Execute(sql).status();
    }();
    Status parcayla = [&]() -> Status {
      PX_RETURN_IF_ERROR(InsertKomutu("Parca", kSahalar, c.satir, komut));
      return d.Insert(komut).status();
    }();
    Status hazirla = [&]() -> Status {
      PX_RETURN_IF_ERROR(InsertKomutu("Hazir", kSahalar, c.satir, komut));
      PX_RETURN_IF_ERROR(hazir->MakeRow(komut, kayit));
      return hazir->Insert(kayit, komut);
    }();
    // The same refusal, but for the table's name.
    auto mesaj = [](const Status& s) {
      std::string m = s.ToString();
      for (const char* ad : {"Metin", "Parca", "Hazir"}) {
        for (size_t at; (at = m.find(ad)) != std::string::npos;) m.replace(at, 5, "T");
      }
      return m;
    };
    EXPECT_EQ(mesaj(metinle), mesaj(parcayla));
    EXPECT_EQ(mesaj(metinle), mesaj(hazirla));
    EXPECT_EQ(metinle.ok(), *c.saklanan != '\0') << metinle.ToString();
    // Texts made only when read are those made at once: the value's text with apostrophes
    // replaced, money through ParaMetniDuzelt.
    for (size_t i = 0; i < kSahalar.size(); ++i) {
      const int tur = kSahalar[i].ado_type;
      const Value& v = c.satir[i];
      if (IsNull(v) || tur == ado::kBoolean || std::holds_alternative<Binary>(v)) continue;
      std::string metin = db::TextOf(v);
      std::replace(metin.begin(), metin.end(), '\'', '"');
      EXPECT_EQ(*InsertDegeri(kSahalar[i], v),
                tur == ado::kCurrency ? "CAST('" + ParaMetniDuzelt(db::TextOf(v)) + "' AS MONEY)"
                                      : "'" + metin + "'");
    }
    if (*c.saklanan != '\0') beklenen.push_back(c.saklanan);
  }
  EXPECT_EQ(Satirlar(d, "Metin"), beklenen);
  EXPECT_EQ(Satirlar(d, "Parca"), beklenen);
  EXPECT_EQ(Satirlar(d, "Hazir"), beklenen);
}

TEST(InsertYolu, TextAndPartsAreTheSameStatement) {
  db::InsertStatement komut;
  const Row satir = {int64_t{7}, std::string("it's"), Currency{10000}, true, Null{}, 2.5, Null{},
                     Null{}};
  ASSERT_TRUE(InsertKomutu("tblStok", kSahalar, satir, komut).ok());
  EXPECT_EQ(db::InsertText(komut),
            "INSERT INTO tblStok (Id, Ad, Tutar, Aktif, Tarih, Oran, Notlar, [Key]) Values "
            "('7','it\"s',CAST('1' AS MONEY),1,Null,'2.5',Null,'')");
}

// A shape the parser refuses (a name with a blank, unbracketed) is refused on the parts
// path too, row after row.
TEST(InsertYolu, ShapesTheTextRefusesAreRefused) {
  px::testing::TempFolder dir;
  auto pool = db::NewAccessDatabasePool(platform::SystemFiles());
  auto created = pool->Create(dir.str() + "/Stok.mdb");
  ASSERT_TRUE(created.ok()) << created.status().ToString();
  db::Database& d = **created;
  ASSERT_TRUE(TabloYap(d, "Parca").ok());
  const std::vector<FieldInfo> sahalar = {Saha("Ad Soyad", ado::kVarWChar)};
  db::InsertStatement komut;
  const Row satir = {std::string("x")};
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(InsertKomutu("Parca", sahalar, satir, komut).ok());
    const Status parcayla = d.Insert(komut).status();
    const Status metinle = d.Execute(*InsertMetni("Parca", sahalar, satir)).status();
    EXPECT_FALSE(parcayla.ok());
    EXPECT_EQ(d.PrepareInsert(komut), nullptr);  // each statement tells why
    EXPECT_EQ(parcayla.ToString(), metinle.ToString());
  }
}

}  // namespace
}  // namespace px::restore
