// The restore commands through the program: the package listing and the exit codes of a run
// that cannot start.
#include <gtest/gtest.h>

#include "platform/host_path.h"
#include "support/process.h"
#include "support/temp_folder.h"

namespace px::restore {
namespace {

class KomutTest : public ::testing::Test {
 protected:
  KomutTest() {
    for (const char* f : {"Yedek/P1/Cari/Data/001/2009/cari-tblCari.xbf",
                          "Yedek/P1/Demirbas/Data/001/demirbas-tblDemirbas.xbf",
                          "Yedek/P1/Cari/Data/002/2010/cari-tblCari.xbf",
                          "Yedek/P1/Beyanname/Data/beyan-tblBeyan.xbf"}) {
      c_.Write(f, "x");
    }
    c_.Mkdir("Yedek/P2");
  }
  px::testing::TempFolder c_;
  px::testing::ScopedEnv drives_{kDriveMapVariable, "C=" + c_.str()};
};

TEST_F(KomutTest, PackagesAndWhatEachCompanyAndYearHolds) {
  auto o = px::testing::RunProgram({"paket", "listele", "--kaynak", "C:\\Yedek"});
  EXPECT_TRUE(o.ExitedWith(0)) << o.Describe();
  EXPECT_EQ(o.out, "P1\nP2\n");
  o = px::testing::RunProgram({"paket", "listele", "--kaynak", "C:\\Yedek", "--paket", "P1"});
  EXPECT_TRUE(o.ExitedWith(0)) << o.Describe();
  EXPECT_EQ(o.out,
            "P1\n"
            "  001 2009: Cari, Demirbaş, Beyanname\n"
            "  002 2010: Cari, Beyanname\n");
}

TEST_F(KomutTest, ExitCodes) {
  const std::pair<std::vector<std::string>, int> cases[] = {
      {{"paket", "listele", "--kaynak", "C:\\Yok"}, 1},
      {{"paket", "listele", "--kaynak", "C:\\Yedek", "--paket", "P9"}, 1},
      {{"geri-al", "--kaynak", "C:\\Yedek", "--paket", "P1", "--sirket", "001", "--yil", "2009",
        "--modul", "Yok"},
       2},
      {{"geri-al", "--kaynak", "C:\\Yedek", "--paket", "P1", "--sirket", "001"}, 2},
      {{"yil-geri-al", "--kaynak", "C:\\Yedek", "--paket", "P1", "--kaynak-yil", "2009",
        "--hedef-yil", "2010", "--veritabani-turu", "Oracle"},
       2},
  };
  for (const auto& [args, kod] : cases) {
    auto o = px::testing::RunProgram(args);
    EXPECT_TRUE(o.ExitedWith(kod)) << args[0] << " " << args[1] << "\n" << o.Describe();
  }
}

}  // namespace
}  // namespace px::restore
