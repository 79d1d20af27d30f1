// End to end: the program run as a user runs it, reading a config.ini written with
// tricky formatting in Windows-1254 through the drive map.
#include <gtest/gtest.h>

#include <string>

#include "platform/host_path.h"
#include "platform/profile.h"
#include "support/process.h"
#include "support/temp_folder.h"

namespace px {
namespace {

using testing::RunProgram;
using testing::RunResult;
using testing::ScopedEnv;
using testing::TempFolder;

constexpr char kTricky[] =
    "; Pergonix genel ayarlari\r\n"
    "[pergo]\r\n"
    "   CalismaAlani  =  \"C:\\Pergonix Verileri\"   \r\n"
    "Yil = 2009\r\n"
    "YIL = 2010\r\n"
    ";Sirket = 999\r\n"
    "Sirket='004'\r\n"
    "KullaniciAdi = \xDE\xDDR\xDDN \xC7\x41\xD0LAR \r\n"
    "\r\n"
    "[veritabani]\r\n"
    "VeritabaniTuru=sqlSERVER\r\n"
    "Provider = SQLOLEDB\r\n"
    "SqlServerAdi=MUHASEBE\\SQL2000\r\n"
    "SqlServerKullanici=\"\"\r\n";

class AyarlarTest : public ::testing::Test {
 protected:
  TempFolder c_;
  ScopedEnv drives_{kDriveMapVariable, "C=" + c_.str()};
  ScopedEnv cp_{kAnsiCodePageVariable, std::nullopt};
};

TEST_F(AyarlarTest, JsonShowsWhatTheProfileFunctionsReturn) {
  c_.Write("PERGONIX/Config.Ini", kTricky);
  RunResult c = RunProgram({"ayarlar", "--json"});
  EXPECT_EQ(c.exit_code, 0) << c.out;
  EXPECT_EQ(c.out,
            "{\"CalismaAlani\":\"C:\\\\Pergonix Verileri\",\"CalismaYili\":\"2009\","
            "\"SirketNo\":\"004\",\"SQLServerAdi\":\"MUHASEBE\\\\SQL2000\","
            "\"KullaniciAdi\":\"ŞİRİN ÇAĞLAR\",\"VeriTabaniTuru\":\"SQLServer\","
            "\"SirketAdi\":\"Bilinmeyen Şirket Adı\",\"SirketFaxNo\":\"\","
            "\"SirketTelefonNo1\":\"\",\"SirketTelefonNo2\":\"\",\"SirketAdi2\":\"\","
            "\"KullaniciDerecesi\":0,\"VergiNo\":\"\",\"VergiDairesi\":\"\","
            "\"Provider\":\"SQLOLEDB\",\"SqlServerKullanici\":\"\","
            "\"SqlServerKullaniciSifre\":\"********\"}\n");
}

TEST_F(AyarlarTest, TextListsMembersInDeclarationOrder) {
  c_.Write("pergonix/config.ini", "[Veritabani]\nSqlServerSifre=\n");
  RunResult c = RunProgram({"--evet", "ayarlar"});
  EXPECT_EQ(c.exit_code, 0) << c.out;
  const std::string yil = c.out.substr(c.out.find("CalismaYili=") + 12, 4);
  EXPECT_EQ(c.out,
            "CalismaAlani=C:\\Pergonix\nCalismaYili=" + yil +
                "\nSirketNo=001\nSQLServerAdi=\nKullaniciAdi=PERGO\nVeriTabaniTuru=Access\n"
                "SirketAdi=Bilinmeyen Şirket Adı\nSirketFaxNo=\nSirketTelefonNo1=\n"
                "SirketTelefonNo2=\nSirketAdi2=\nKullaniciDerecesi=0\nVergiNo=\nVergiDairesi=\n"
                "Provider=Microsoft.Jet.OLEDB.4.0\nSqlServerKullanici=pergo\n"
                "SqlServerKullaniciSifre=\n");
  EXPECT_EQ(yil.find_first_not_of("0123456789"), std::string::npos);
}

TEST_F(AyarlarTest, BadCodePageOrDriveMapFails) {
  {
    ScopedEnv cp(kAnsiCodePageVariable, "850");
    RunResult c = RunProgram({"ayarlar"});
    EXPECT_NE(c.exit_code, 0);
    EXPECT_NE(c.err.find("PERGONIX_ANSI_CP=850"), std::string::npos) << c.err;
  }
  ScopedEnv drives(kDriveMapVariable, "C");
  RunResult c = RunProgram({"ayarlar", "--json"});
  EXPECT_NE(c.exit_code, 0);
  EXPECT_NE(c.err.find("PERGONIX_DRIVES"), std::string::npos) << c.err;
}

TEST(Program, HelpNamesTheCommandsAndTheEvetFlag) {
  RunResult c = RunProgram({"--help"});
  EXPECT_EQ(c.exit_code, 0);
  EXPECT_NE(c.out.find("ayarlar"), std::string::npos);
  EXPECT_NE(c.out.find("--evet"), std::string::npos);
  EXPECT_NE(RunProgram({"--version"}).out.find("pergonix-yedek "), std::string::npos);
}

}  // namespace
}  // namespace px
