// One table file restored while a second thread parses it: a damaged value and a refused
// row each end both sides, and the one met first in the file's row order is told.
#include <gtest/gtest.h>

#include <algorithm>

#include "operator/scripted_operator.h"
#include "platform/host_path.h"
#include "restore/adimlar.h"
#include "restore/fake_database.h"
#include "restore/test_katalog.h"
#include "support/temp_folder.h"
#include "xbf/xbf_writer.h"

namespace px::restore {
namespace {

const std::string kDb = "C:\\Pergonix\\Cari\\Data\\004\\2010\\cari.mdb";
const std::string kDosya = "C:\\Yedek\\P\\cari-tblSayi.xbf";
constexpr int kSatir = 3000;  // more than the rows parsed ahead

FieldInfo F(const std::string& name, int type) {
  FieldInfo f;
  f.name = name;
  f.ado_type = type;
  return f;
}

TEST(TabloHatti, TheErrorMetFirstInRowOrderEndsTheRestore) {
  struct Case {
    const char* what;
    int bozuk_satir;       // the file's row whose No does not parse; 0: none
    int reddedilen_satir;  // the row the database refuses; 0: none
    bool insert_yolu;      // one key and an AutoNumber column: the INSERT path
  };
  const Case cases[] = {
      {"no fault, rows added", 0, 0, false},
      {"no fault, INSERT statements", 0, 0, true},
      {"a damaged value late in the file", 2500, 0, false},
      {"a row refused while the parser is far ahead", 0, 3, false},
      {"a refused INSERT before a damaged value", 2500, 3, true},
      {"a damaged value before a refused row", 2, 2500, false},
  };
  for (const Case& c : cases) {
    for (const bool hazirla : {false, true}) {  // rows made ready on the parsing thread
      SCOPED_TRACE(std::string(c.what) + (hazirla ? ", made ready" : ""));
      px::testing::TempFolder kok;
      px::testing::ScopedEnv surucu(kDriveMapVariable, "C=" + kok.str());
      kok.Mkdir("tmp");
      std::vector<Row> satirlar;
      for (int i = 1; i <= kSatir; ++i) {
        satirlar.push_back({int64_t{i}, std::string("ad " + std::to_string(i))});
      }
      db::VectorRowSource kaynak({F("No", ado::kInteger), F("Ad", ado::kVarWChar)},
                                 std::move(satirlar));
      const std::string yol = (kok.path() / "Yedek/P/cari-tblSayi.xbf").string();
      kok.Mkdir("Yedek/P");
      ASSERT_TRUE(xbf::WriteRecordsetFile(kaynak, yol).ok());
      int bozuk_dosya_satiri = 0;  // the text line of the damaged value
      if (c.bozuk_satir) {
        std::string metin = px::testing::ReadAll(yol);
        const std::string deger = "No='" + std::to_string(c.bozuk_satir) + "'";
        const size_t at = metin.find(deger);
        bozuk_dosya_satiri =
            1 + int(std::count(metin.begin(), metin.begin() + std::ptrdiff_t(at), '\n'));
        metin.replace(at, deger.size(), "No='x'");
        kok.Write("Yedek/P/cari-tblSayi.xbf", metin);
      }

      testing::KatalogKurucu k;
      k.Veritabani("Cari", "cari.mdb", "CARI", "DataSirketYil", "Cari");
      testing::FakePool pool;
      testing::FakeDatabase& d = pool.Add(kDb);
      d.prepares = hazirla;
      auto& tablo = d.AddTable("tblSayi", {{"No", ado::kInteger, 0, 0, true, c.insert_yolu},
                                           {"Ad", ado::kVarWChar, 50}});
      tablo.rows.push_back({int64_t{0}, std::string("eski")});
      if (c.insert_yolu) tablo.keys.push_back({"PrimaryKey", "No"});
      if (c.reddedilen_satir) {
        const std::string no = std::to_string(c.reddedilen_satir);
        d.fail_on = c.insert_yolu ? "Values ('" + no + "'" : "No=" + no + " ";
      }
      HostFileSystem fs;
      HostDosyalar dosyalar;
      op::ScriptedOperator op;
      Ortam ortam{fs,       dosyalar,    pool, op, nullptr, "C:\\Pergonix",
                  "Access", "C:\\tmp\\", "",   {}, nullptr, {}};
      ModulIslemi islem(ortam);
      auto katalog = k.Baglanti();
      const Status s = TabloGeriAl(ortam, islem, *katalog, "cari", "tblSayi",
                                   {"Cari", 4, "004", "2010"}, kDosya, "Sayi");

      EXPECT_EQ(d.ready_inserts, hazirla ? int(tablo.rows.size()) : 0);
      const int ilk_bozuk = c.bozuk_satir ? c.bozuk_satir : kSatir + 1;
      const int ilk_red = c.reddedilen_satir ? c.reddedilen_satir : kSatir + 1;
      if (ilk_bozuk > kSatir && ilk_red > kSatir) {
        ASSERT_TRUE(s.ok()) << s.ToString();
        EXPECT_EQ(tablo.rows.size(), size_t(kSatir));
        EXPECT_EQ(op.progress.back(), (std::pair<int, int>{0, kSatir}));
      } else if (ilk_red < ilk_bozuk) {
        EXPECT_NE(s.message().find("injected failure"), std::string::npos) << s.ToString();
        EXPECT_EQ(tablo.rows.size(), size_t(ilk_red - 1));
      } else {
        EXPECT_TRUE(s.IsCorruption()) << s.ToString();
        EXPECT_NE(s.message().find("cari-tblSayi.xbf: line " + std::to_string(bozuk_dosya_satiri)),
                  std::string::npos)
            << s.ToString();
        EXPECT_EQ(tablo.rows.size(), size_t(ilk_bozuk - 1));
      }
    }
  }
}

}  // namespace
}  // namespace px::restore
