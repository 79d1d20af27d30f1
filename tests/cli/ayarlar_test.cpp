// End to end: the program run as a user runs it, reading a config.ini written with
// tricky formatting in Windows-1254 through the drive map.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#include "platform/host_path.h"
#include "platform/profile.h"
#include "support/temp_folder.h"

namespace px {
namespace {

using testing::ScopedEnv;
using testing::TempFolder;

struct Cikti {
  std::string out;
  int status = -1;
};

Cikti Calistir(const std::string& args) {
  Cikti c;
  const std::string cmd = std::string(PX_BINARY) + " " + args + " </dev/null 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return c;
  std::array<char, 4096> buf;
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) c.out.append(buf.data(), n);
  c.status = pclose(p);
  return c;
}

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
  Cikti c = Calistir("ayarlar --json");
  EXPECT_EQ(c.status, 0) << c.out;
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
  Cikti c = Calistir("--evet ayarlar");
  EXPECT_EQ(c.status, 0) << c.out;
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
    Cikti c = Calistir("ayarlar");
    EXPECT_NE(c.status, 0);
    EXPECT_NE(c.out.find("PERGONIX_ANSI_CP=850"), std::string::npos) << c.out;
  }
  ScopedEnv drives(kDriveMapVariable, "C");
  Cikti c = Calistir("ayarlar --json");
  EXPECT_NE(c.status, 0);
  EXPECT_NE(c.out.find("PERGONIX_DRIVES"), std::string::npos) << c.out;
}

TEST(Program, HelpNamesTheCommandsAndTheEvetFlag) {
  Cikti c = Calistir("--help");
  EXPECT_EQ(c.status, 0);
  EXPECT_NE(c.out.find("ayarlar"), std::string::npos);
  EXPECT_NE(c.out.find("--evet"), std::string::npos);
  EXPECT_NE(Calistir("--version").out.find("pergonix-yedek "), std::string::npos);
}

}  // namespace
}  // namespace px
