#include "settings/baglanti_acici.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace px::settings {
namespace {

const std::filesystem::path kSample = std::filesystem::path(PX_SHARED_DIR) / "samples/mdb";

TEST(VeritabaniBaglantiAcici, OpensAccessFilesWithTheJetProvider) {
  if (!std::filesystem::exists(kSample)) GTEST_SKIP() << "no sample files at " << kSample;
  VeritabaniBaglantiAcici acici;
  for (const char* file : {"testV2000.mdb", "testV1997.mdb"}) {
    auto c = acici.Ac({(kSample / file).string(), "microsoft.jet.oledb.4.0"});
    ASSERT_TRUE(c.ok()) << c.status().ToString();
    auto rows = (*c)->Query("SELECT A, E FROM table1 WHERE C = '002' ");
    ASSERT_TRUE(rows.ok()) << rows.status().ToString();
    Row row;
    ASSERT_TRUE((*rows)->Next(row)) << file;
    EXPECT_EQ(row, (Row{std::string("abcdefg"), int64_t{333333333}})) << file;
    EXPECT_FALSE((*rows)->Next(row));
    EXPECT_TRUE((*rows)->status().ok());
  }
}

TEST(VeritabaniBaglantiAcici, RefusesOtherProvidersAndSqlServerWithoutShowingThePassword) {
  VeritabaniBaglantiAcici acici;
  auto c = acici.Ac({"C:\\x\\sirket.mdb", "MSDASQL"});
  ASSERT_FALSE(c.ok());
  EXPECT_NE(c.status().message().find("MSDASQL"), std::string::npos);
  c = acici.Ac({"provider=SQLOLEDB;server=s;uid=pergo;password=51736420;database=sirket ", ""});
  ASSERT_FALSE(c.ok());
  EXPECT_EQ(c.status().message().find("51736420"), std::string::npos);
}

TEST(VeritabaniBaglantiAcici, MissingFileIsAnErrorNamingIt) {
  VeritabaniBaglantiAcici acici;
  auto c = acici.Ac({"/nonexistent/genel/data/sirket.mdb", "Microsoft.Jet.OLEDB.4.0"});
  ASSERT_FALSE(c.ok());
  EXPECT_NE(c.status().message().find("sirket.mdb"), std::string::npos) << c.status().ToString();
}

}  // namespace
}  // namespace px::settings
