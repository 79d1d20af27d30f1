// Key oracle: every index of every Access-written sample holds, for each row, exactly the
// key bytes our encoder makes of that row. Access wrote these keys, so equality proves the
// encoder for each type, direction and sort order the samples contain.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <string>

#include "jet/database.h"
#include "jet/index_verify.h"
#include "platform/utf8_path.h"
#include "support/jet_oracle.h"
#include "support/samples.h"

namespace px::jet {
namespace {

struct Coverage {
  uint64_t entries = 0;
  uint64_t text_entries = 0;
  std::map<TextOrder, uint64_t> orders;
};

void CheckFile(const std::filesystem::path& path, Coverage& cov) {
  SCOPED_TRACE(path.filename().string());
  auto db = Database::Open(path);
  ASSERT_TRUE(db.ok()) << db.status().ToString();
  for (const CatalogEntry& e : (*db)->tables()) {
    if (!e.has_tdef()) continue;
    auto def = (*db)->ReadDefinition(e);
    ASSERT_TRUE(def.ok()) << def.status().ToString();
    for (size_t i = 0; i < def->real_indexes.size(); ++i) {
      IndexWalk walk;
      Status st = WalkIndex(**db, e.name, *def, i, 5, nullptr, walk);
      ASSERT_TRUE(st.ok()) << st.ToString();
      for (const std::string& f : walk.findings) ADD_FAILURE() << f;
      cov.entries += walk.entries;
      for (const IndexColumn& ic : def->real_indexes[i].columns) {
        const ColumnDef& c = def->columns[size_t(def->ColumnByNumber(ic.column_number))];
        if (c.type != coltype::kText && c.type != coltype::kMemo) continue;
        auto order = TextOrderOf((*db)->format(), c);
        if (order.ok()) cov.orders[*order] += walk.entries;
        cov.text_entries += walk.entries;
        break;
      }
    }
  }
}

TEST(IndexKeyOracle, EveryStoredKeyOfEverySampleIsWhatTheEncoderMakes) {
  PX_SAMPLE_OR_SKIP(dir, "mdb");
  Coverage cov;
  for (const auto& f : std::filesystem::directory_iterator(PathFromUtf8(dir))) {
    if (f.path().extension() == ".mdb") CheckFile(f.path(), cov);
  }
  // The samples hold thousands of keys, text keys in both Jet 3 and Jet 4 General orders.
  EXPECT_GT(cov.entries, 1000u);
  EXPECT_GT(cov.orders[TextOrder::kGeneral97], 50u);
  EXPECT_GT(cov.orders[TextOrder::kGeneralLegacy], 50u);
  std::cout << "[ oracle ] " << cov.entries << " keys compared, " << cov.text_entries
            << " of them text (General 97 " << cov.orders[TextOrder::kGeneral97]
            << ", General legacy " << cov.orders[TextOrder::kGeneralLegacy] << ")\n";
}

// Jackcess (through jet-oracle) writes a Jet 4 General-ordered file whose keys it builds
// itself: Turkish letters in both cases, dotted and dotless i, hyphens and apostrophes
// (the ignorable characters), accents past the first letter, trailing spaces, and one key
// of every other indexable type.
TEST(IndexKeyOracle, ExternalJackcessBuiltTurkishKeysAreWhatTheEncoderMakes) {
  PX_JET_ORACLE_OR_SKIP();
  const char* words[] = {"ŞİRKET",
                         "şirket",
                         "SIRKET",
                         "sırket",
                         "Çağlar",
                         "ÇAĞLAR",
                         "ığdır",
                         "IĞDIR",
                         "İstanbul",
                         "istanbul",
                         "Ödemiş",
                         "ÖDEMİŞ",
                         "Ünal",
                         "üNAL",
                         "co-op",
                         "coop",
                         "O'Brien",
                         "Ali-Veli'nin",
                         "a-b-c-d-e",
                         "trailing   ",
                         " leading",
                         "Gümüşhane",
                         "Kırşehir",
                         "Muğla",
                         "Ağrı",
                         "Iğdır",
                         "Şanlıurfa",
                         "Çanakkale",
                         "Eskişehir",
                         "Düzce",
                         "ÂLİ",
                         "kâr",
                         "hâlâ",
                         "Hüseyin'in",
                         "5005",
                         "005-001",
                         "x",
                         "ABCDEFGHIJKLMNOPQRSTUVWXYZ",
                         "çöşüğı ÇÖŞÜĞİ",
                         "e\u00e9\u00e8\u00ea\u00eb",
                         "\u00f8\u00e5\u00df\u00e6",
                         "12.5%",
                         "a&b",
                         "(parantez)",
                         "ÇçĞğİıÖöŞşÜü"};
  std::string rows;
  int id = 0;
  for (const char* w : words) {
    if (!rows.empty()) rows += ",";
    ++id;
    rows += "[" + std::to_string(id) + ",\"" + w + "\",\"" + std::string(w) + " " +
            std::to_string(id) + "\"," + std::to_string(id * 1234 - 20000) + ".25," +
            std::to_string(id % 3 - 1) + "e" + std::to_string(id % 7) + "," +
            (id % 2 ? "true" : "false") + ",\"" + (id % 3 ? "" : "-") + std::to_string(id) +
            ".5\"," + std::to_string(id * 7 % 256) + "]";
  }
  const std::string json = R"({"tables":[{"name":"Cari","columns":[
    {"name":"Id","type":"LONG","autonumber":true},{"name":"Kod","type":"TEXT","length":40},
    {"name":"Unvan","type":"TEXT","length":100},{"name":"Tutar","type":"MONEY"},
    {"name":"Oran","type":"DOUBLE"},{"name":"Aktif","type":"BOOLEAN"},
    {"name":"Miktar","type":"NUMERIC","precision":18,"scale":4},{"name":"B","type":"BYTE"}],
    "primary_key":["Id"],
    "indexes":[{"name":"KodIdx","columns":["Kod"]},{"name":"UnvanIdx","columns":["Unvan"],"unique":true},
               {"name":"Coklu","columns":["Tutar","Oran","Aktif","Miktar","B","Kod"]}],
    "rows":[)" + rows + R"(]},
    {"name":"Diger","columns":[{"name":"G","type":"GUID"},{"name":"Tarih","type":"SHORT_DATE_TIME"},
      {"name":"F","type":"FLOAT"},{"name":"I","type":"INT"},{"name":"Bin","type":"BINARY","length":30},
      {"name":"Not","type":"MEMO"}],
     "indexes":[{"name":"GTarih","columns":["G","Tarih"]},{"name":"FI","columns":["F","I"]},
                {"name":"BinIdx","columns":["Bin"]},{"name":"NotIdx","columns":["Not"]}],
     "rows":[["{11223344-5566-7788-99AA-BBCCDDEEFF00}","2024-01-02T03:04:05",2.5,-7,"00112233445566778899aabbcc","Şükrü'nün notu"],
             [null,"1899-12-29T06:00:00",-0.5,32767,"ff","İĞNE-İPLİK"],
             ["{00000000-0000-0000-0000-000000000001}",null,null,-32768,"","ı"],
             ["{FFFFFFFF-0000-0000-0000-00000000000A}","2025-12-31T23:59:59",1e-30,0,null,null],
             [null,-700000.5,-3e38,1,"0102030405060708",""]]}]})";
  px::testing::TempFolder tmp;
  std::string error;
  auto file = px::testing::JetOracleBuild(tmp, "oracle.mdb", json, error);
  ASSERT_TRUE(file) << error;
  Coverage cov;
  CheckFile(*file, cov);
  // Three indexes hold a text column, plus the catalog's own ParentIdName.
  EXPECT_GE(cov.orders[TextOrder::kGeneralLegacy], 3 * std::size(words));
}

}  // namespace
}  // namespace px::jet
