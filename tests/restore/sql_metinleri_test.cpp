#include "restore/sql_metinleri.h"

#include <gtest/gtest.h>

#include "db/memory_connection.h"
#include "support/saha.h"

namespace px::restore {
namespace {

using px::testing::Saha;

TEST(ParaMetniDuzelt, LastSeparatorBecomesThePoint) {
  const std::pair<const char*, const char*> cases[] = {
      {"1.234,56", "1,234.56"}, {"12,5", "12.5"},           {"7", "7"},       {"", ""},
      {"1234.56", "1234.56"},   {"1.234.567", "1,234.567"}, {"-0,5", "-0.5"}, {",", "."},
      {"1,2,3", "1,2.3"},
  };
  for (const auto& [in, out] : cases) EXPECT_EQ(ParaMetniDuzelt(in), out) << in;
}

TEST(InsertDegeri, TypeTable) {
  struct Case {
    int tur;
    Value deger;
    const char* beklenen;
  };
  const Case cases[] = {
      {ado::kBoolean, true, "1"},
      {ado::kBoolean, false, "0"},
      {ado::kBoolean, Null{}, "Null"},
      {ado::kCurrency, Currency{12345600}, "CAST('1234.56' AS MONEY)"},
      {ado::kCurrency, Currency{-5000}, "CAST('-0.5' AS MONEY)"},
      {ado::kCurrency, std::string("1.234,56"), "CAST('1,234.56' AS MONEY)"},
      {ado::kCurrency, Null{}, "Null"},
      {ado::kVarWChar, Null{}, "''"},
      {ado::kVarWChar, std::string("O'Neil"), "'O\"Neil'"},
      {ado::kVarWChar, std::string("''"), "'\"\"'"},
      {ado::kVarWChar, std::string(""), "''"},
      {ado::kLongVarWChar, Null{}, "Null"},
      {ado::kLongVarWChar, std::string("a'b"), "'a\"b'"},
      {ado::kInteger, int64_t{-42}, "'-42'"},
      {ado::kInteger, Null{}, "Null"},
      {ado::kDouble, 12.5, "'12.5'"},
      {ado::kDate, OleDate{39814.5}, "'2009-01-01 12:00:00'"},
      {ado::kDate, OleDate{39814}, "'2009-01-01'"},
      {ado::kDate, Null{}, "Null"},
  };
  for (const auto& c : cases) {
    auto r = InsertDegeri(Saha("x", c.tur), c.deger);
    ASSERT_TRUE(r.ok()) << r.status().ToString();
    EXPECT_EQ(*r, c.beklenen) << c.tur << " " << c.beklenen;
  }
  EXPECT_TRUE(
      InsertDegeri(Saha("Resim", ado::kLongVarBinary), Binary{{1, 2}}).status().IsNotSupported());
}

TEST(InsertMetni, FieldsBareExceptKeyValuesWithoutBlanks) {
  const std::vector<FieldInfo> sahalar = {
      Saha("Id", ado::kInteger),    Saha("Key", ado::kVarWChar),   Saha("key", ado::kVarWChar),
      Saha("Aktif", ado::kBoolean), Saha("Tutar", ado::kCurrency), Saha("Not", ado::kVarWChar)};
  const Row satir = {int64_t{7}, std::string("K'1"), std::string("k"),
                     true,       Currency{10000},    Null{}};
  auto sql = InsertMetni("tblCari", sahalar, satir);
  ASSERT_TRUE(sql.ok());
  EXPECT_EQ(*sql,
            "INSERT INTO tblCari (Id, [Key], key, Aktif, Tutar, Not) Values "
            "('7','K\"1','k',1,CAST('1' AS MONEY),'')");
}

KatalogSahasi S(std::string ad, std::string tur, std::string boy = "", std::string birincil = "",
                std::string otomatik = "") {
  return {std::move(ad), std::move(boy), std::move(otomatik), std::move(tur), std::move(birincil)};
}

TEST(SqlTabloOlusturMetni, TypeTableAndKeyForms) {
  struct Case {
    std::vector<KatalogSahasi> sahalar;
    const char* beklenen;
  };
  const Case cases[] = {
      {{S("Id", "Long", "", "E", "E"), S("Ad", "String", "50")},
       "CREATE TABLE T ( [Id] int IDENTITY PRIMARY KEY CLUSTERED, [Ad] nvarchar(50))"},
      {{S("Kod", "String", "10", "E"), S("Sayi", "Long", "", "", "E")},
       "CREATE TABLE T ( [Kod] nvarchar(10) PRIMARY KEY CLUSTERED, [Sayi] int)"},
      {{S("Tutar", "Currency"), S("Oran", "Double")},
       "CREATE TABLE T ( [Tutar] money , [Oran] float)"},
      {{S("B", "Byte"), S("I", "Integer"), S("S", "Single"), S("O", "Boolean")},
       "CREATE TABLE T ( [B] tinyint, [I] smallint, [S] real, [O] bit)"},
      {{S("P", "Currency", "", "E"), S("Q", "Byte", "", "E", "E")},
       "CREATE TABLE T ( [P] money PRIMARY KEY CLUSTERED, [Q] tinyint IDENTITY PRIMARY KEY "
       "CLUSTERED)"},
      {{S("X", "Memo"), S("Y", "long")}, "CREATE TABLE T ( [X] , [Y] )"},
      {{S("X", "Memo", "", "E")}, "CREATE TABLE T ( [X] PRIMARY KEY CLUSTERED)"},
      {{}, "CREATE TABLE T ( )"},
  };
  for (const auto& c : cases) EXPECT_EQ(SqlTabloOlusturMetni("T", c.sahalar), c.beklenen);
}

TEST(SqlSahaEkleMetni, UpperCaseTypesDoubleAsTextEvetTail) {
  const std::pair<KatalogSahasi, const char*> cases[] = {
      {S("Aciklama", "String", "50"), "ALTER TABLE Cari ADD Aciklama NVARCHAR(50) NULL"},
      {S("Oran", "Double", "8"), "ALTER TABLE Cari ADD Oran NVARCHAR(8) NULL"},
      {S("Oran", "Double"), "ALTER TABLE Cari ADD Oran NVARCHAR() NULL"},
      {S("B", "Byte"), "ALTER TABLE Cari ADD B TINYINT NULL"},
      {S("I", "Integer"), "ALTER TABLE Cari ADD I SMALLINT NULL"},
      {S("L", "Long", "", "E", "E"), "ALTER TABLE Cari ADD L INT NULL"},
      {S("L", "Long", "", "", "Evet"), "ALTER TABLE Cari ADD L INT IDENTITY "},
      {S("I", "Integer", "", "", "Evet"), "ALTER TABLE Cari ADD I SMALLINT NULL"},
      {S("S", "Single"), "ALTER TABLE Cari ADD S REAL NULL"},
      {S("O", "Boolean"), "ALTER TABLE Cari ADD O BIT NULL"},
      {S("T", "Currency"), "ALTER TABLE Cari ADD T money NULL"},
      {S("M", "Memo"), "ALTER TABLE Cari ADD M NULL"},
  };
  for (const auto& [saha, beklenen] : cases) EXPECT_EQ(SqlSahaEkleMetni("Cari", saha), beklenen);
}

TEST(SqlVeritabaniAdi, ByLocation) {
  const std::pair<const char*, const char*> cases[] = {
      {"DataSirketYil", "X2009001"}, {"DataSirket", "X001"}, {"Data", "X"}, {"datasirket", ""}};
  for (const auto& [konum, ad] : cases) EXPECT_EQ(SqlVeritabaniAdi("X", "001", "2009", konum), ad);
}

TEST(SqlVeritabaniYaratMetni, SizesByVersion) {
  const std::string uc =
      "CREATE DATABASE X2009001 ON PRIMARY (NAME = X2009001_data ,FILENAME = "
      "'C:\\SQL\\Data\\X2009001.mdf', SIZE = 3MB, FILEGROWTH = 20%) LOG ON (NAME = X2009001_log, "
      "FILENAME = 'C:\\SQL\\Data\\X2009001.ldf', SIZE = 3MB, FILEGROWTH = 20%)";
  std::string bir = uc;
  for (size_t p; (p = bir.find("3MB")) != std::string::npos;) bir.replace(p, 3, "1MB");
  EXPECT_EQ(SqlVeritabaniYaratMetni("X2009001", "C:\\SQL\\Data\\", 8), bir);
  for (int surum : {0, 9, 10})
    EXPECT_EQ(SqlVeritabaniYaratMetni("X2009001", "C:\\SQL\\Data\\", surum), uc);
  for (int surum : {7, 11, -1}) EXPECT_EQ(SqlVeritabaniYaratMetni("X", "C:\\", surum), "");
}

TEST(SurumNumarasi, PrefixesInOrder) {
  const std::pair<const char*, int> cases[] = {{"8.00.2039", 8},
                                               {"9.00.5000.00", 9},
                                               {"10.50.1600.1", 10},
                                               {"11.0.2100.60", 0},
                                               {"15.0.2000.5", 0},
                                               {"", 0},
                                               {"80", 8},
                                               {"1", 0}};
  for (const auto& [v, n] : cases) EXPECT_EQ(SurumNumarasi(v), n) << v;
}

// A master connection that answers the probes from a table of statement -> rows.
class ProbeConnection : public db::Connection {
 public:
  Result<std::vector<db::TableEntry>> Tables() override { return std::vector<db::TableEntry>{}; }
  Result<std::unique_ptr<RowSource>> Query(std::string_view sql) override {
    sent.emplace_back(sql);
    auto it = answers.find(std::string(sql));
    if (it == answers.end()) return Status::NotFound("Invalid object name");
    FieldInfo f = db::TextField("DataKlasoru");
    std::vector<Row> rows;
    if (it->second) rows.push_back({*it->second});
    return std::unique_ptr<RowSource>(new db::VectorRowSource({f}, rows));
  }
  std::map<std::string, std::optional<Value>> answers;
  std::vector<std::string> sent;
};

TEST(SqlServerProbes, SecondDataFolderQueryAlwaysWins) {
  struct Case {
    std::optional<Value> yeni, eski;  // nullopt: the query fails
    bool eski_var, yeni_var;
    const char* beklenen;
  };
  const Case cases[] = {
      {std::string("C:\\Yeni\\"), std::string("C:\\Eski\\"), true, true, "C:\\Eski\\"},
      {std::string("C:\\Yeni\\"), std::nullopt, false, true, ""},
      {std::nullopt, std::string("C:\\Eski\\"), true, false, "C:\\Eski\\"},
      {std::nullopt, Value(Null{}), true, false, ""},
  };
  for (const auto& c : cases) {
    ProbeConnection master;
    if (c.yeni_var) master.answers[kDataKlasoruSorgusu2005] = c.yeni;
    if (c.eski_var) master.answers[kDataKlasoruSorgusu2000] = c.eski;
    EXPECT_EQ(SqlServerDataKlasoruBul(master), c.beklenen);
    EXPECT_EQ(master.sent,
              (std::vector<std::string>{kDataKlasoruSorgusu2005, kDataKlasoruSorgusu2000}));
  }
  ProbeConnection master;
  master.answers[kSurumSorgusu] = std::string("10.50.1600.1");
  EXPECT_EQ(*SqlServerSurumBul(master), 10);
  master.answers[kSurumSorgusu] = Value(Null{});
  EXPECT_EQ(*SqlServerSurumBul(master), 0);
  EXPECT_EQ(std::string(kSurumSorgusu),
            "SELECT SERVERPROPERTY('productversion'), SERVERPROPERTY ('productlevel'), "
            "SERVERPROPERTY ('edition')");
}

TEST(PersonelKeyMetinleri, BothDialects) {
  const std::string isyeri =
      "UPDATE tablo_isyeri_bilgileri SET strIsyeriKey = '004' + MID(strIsyeriKey,4,3), "
      "strIsyeriKodu = '004' WHERE strIsyeriKodu = '001'";
  const std::string parametre =
      "UPDATE tablo_personel_parametreleri SET strPersonelKey = MID(strPersonelKey, 1, 2) + "
      "'004' WHERE MID(strPersonelKey, 3, 3) = '001'";
  auto sql_server = [](std::string s) {
    for (size_t p; (p = s.find("MID(")) != std::string::npos;) s.replace(p, 3, "SUBSTRING");
    return s;
  };
  // Any other kind text takes the Access dialect.
  for (const char* tur : {"Access", "sqlserver"}) {
    EXPECT_EQ(IsyeriKeyMetni("001", "004", tur), isyeri);
    EXPECT_EQ(ParametreKeyMetni("001", "004", tur), parametre);
  }
  EXPECT_EQ(IsyeriKeyMetni("001", "004", "SQLServer"), sql_server(isyeri));
  EXPECT_EQ(ParametreKeyMetni("001", "004", "SQLServer"), sql_server(parametre));
}

}  // namespace
}  // namespace px::restore
