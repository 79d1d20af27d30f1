#include "modules/moduller.h"

#include <gtest/gtest.h>

#include "platform/host_path.h"
#include "support/temp_folder.h"

namespace px::modules {
namespace {

using testing::ScopedEnv;
using testing::TempFolder;

TEST(Moduller, FifteenRowsInTheirFixedOrder) {
  const auto& m = Moduller();
  ASSERT_EQ(m.size(), 15u);
  std::vector<std::string_view> adlar;
  for (size_t i = 0; i < m.size(); ++i) {
    EXPECT_EQ(m[i].sira, static_cast<int>(i + 1));
    adlar.push_back(m[i].ad);
  }
  EXPECT_EQ(adlar,
            (std::vector<std::string_view>{"Cari", "Çek", "Demirbaş", "Fatura", "Genel", "İrsaliye",
                                           "Muhasebe", "Personel", "Senet", "Stok", "Bütçe",
                                           "Beyanname", "İşletme", "Sipariş", "Teknik Servis"}));
}

TEST(Moduller, LookupsBothWaysWithoutCaseFolding) {
  EXPECT_EQ(ModulAdiyla("Teknik Servis")->klasor, "Servis");
  EXPECT_EQ(ModulAdiyla("Bütçe")->klasor, "Butce");
  EXPECT_EQ(ModulAdiyla("Çek")->klasor, "Cek");
  EXPECT_EQ(ModulKlasoruyle("Servis")->ad, "Teknik Servis");
  EXPECT_EQ(ModulKlasoruyle("Irsaliye")->buyuk_ad, "İRSALİYE");
  EXPECT_EQ(ModulKlasoruyle("Isletme")->buyuk_ad, "İŞLETME");
  EXPECT_EQ(ModulAdiyla("Cari")->buyuk_ad, "CARİ");
  EXPECT_EQ(ModulAdiyla("cari"), nullptr);
  EXPECT_EQ(ModulAdiyla("Butce"), nullptr);
  EXPECT_EQ(ModulKlasoruyle("Teknik Servis"), nullptr);
  EXPECT_EQ(ModulAdiyla("Kasa"), nullptr);
  EXPECT_EQ(ModulSirasiyla(16), nullptr);
  EXPECT_EQ(ModulSirasiyla(0), nullptr);
  EXPECT_EQ(ModulSirasiyla(15)->ad, "Teknik Servis");
}

TEST(Moduller, OldBackupFolderFollowsTheLevel) {
  EXPECT_EQ(EskiYedekKlasoru(*ModulAdiyla("Cari"), "001", "2009"), "Cari\\Data\\001\\2009");
  EXPECT_EQ(EskiYedekKlasoru(*ModulAdiyla("Demirbaş"), "001", "2009"), "Demirbas\\Data\\001");
  EXPECT_EQ(EskiYedekKlasoru(*ModulAdiyla("Teknik Servis"), "001", "2009"), "Servis\\Data");
}

class PaketTest : public ::testing::Test {
 protected:
  TempFolder d_;
  ScopedEnv env_{kDriveMapVariable, "D=" + d_.str()};
};

TEST_F(PaketTest, AFileAtTheLevelAsked) {
  d_.Write("Yedek/Paket1/Cari/Data/001/2009/Cari-tblCari.pbf", "x");
  EXPECT_TRUE(ModulPaketteVarmi("D:\\Yedek\\Paket1", "Cari", "001", "2009"));
  EXPECT_FALSE(ModulPaketteVarmi("D:\\Yedek\\Paket1", "Cari", "001", "2010"));
  EXPECT_FALSE(ModulPaketteVarmi("D:\\Yedek\\Paket1", "Cari", "002", "2009"));
  // Sub-folders do not count.
  EXPECT_FALSE(ModulPaketteVarmi("D:\\Yedek\\Paket1", "Cari", "001", ""));
  EXPECT_FALSE(ModulPaketteVarmi("D:\\Yedek\\Paket1", "Cari", "", ""));
  EXPECT_FALSE(ModulPaketteVarmi("D:\\Yedek\\Paket1", "Cek", "001", "2009"));
}

TEST_F(PaketTest, CompanyAloneAndModuleWideLevels) {
  d_.Write("Yedek/P/Servis/Data/Servis.xbf", "x");
  d_.Write("Yedek/P/Demirbas/Data/001/Demirbas-tblDemirbas.xbf", "x");
  EXPECT_TRUE(ModulPaketteVarmi("D:\\yedek\\p", "Servis", "", ""));
  EXPECT_TRUE(ModulPaketteVarmi("D:\\Yedek\\P", "Demirbas", "001", ""));
  EXPECT_FALSE(ModulPaketteVarmi("D:\\Yedek\\P", "Demirbas", "001", "2009"));
  // A year without a company looks at the module-wide folder.
  EXPECT_TRUE(ModulPaketteVarmi("D:\\Yedek\\P", "Servis", "", "2009"));
}

}  // namespace
}  // namespace px::modules
