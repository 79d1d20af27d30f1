#include "platform/host_path.h"

#include <gtest/gtest.h>

#include "platform/utf8_path.h"
#include "support/system.h"
#include "support/temp_folder.h"

namespace px {
namespace {

namespace fs = std::filesystem;
using testing::ScopedEnv;
using testing::TempFolder;

TEST(DriveMap, ParsesLettersInAnyCaseFirstMappingWins) {
  auto map = ParseDriveMap(" c=/srv/pergonix ; ;D = /media/usb;C=/baska");
  ASSERT_TRUE(map.ok()) << map.status().ToString();
  ASSERT_EQ(map->size(), 2u);
  EXPECT_EQ((*map)[0], (DriveMapping{'C', "/srv/pergonix"}));
  EXPECT_EQ((*map)[1], (DriveMapping{'D', "/media/usb"}));
}

TEST(DriveMap, RefusesMalformedEntries) {
  EXPECT_FALSE(ParseDriveMap("C").ok());
  EXPECT_FALSE(ParseDriveMap("CD=/x").ok());
  EXPECT_FALSE(ParseDriveMap("1=/x").ok());
  EXPECT_FALSE(ParseDriveMap("C=").ok());
  EXPECT_TRUE(ParseDriveMap("").ok());
}

TEST(DriveMap, DrivePathsAreRecognised) {
  EXPECT_TRUE(IsDrivePath("C:\\a"));
  EXPECT_TRUE(IsDrivePath("c:/a"));
  EXPECT_TRUE(IsDrivePath("D:"));
  EXPECT_FALSE(IsDrivePath("C:a"));
  EXPECT_FALSE(IsDrivePath("/tmp/x"));
  EXPECT_FALSE(IsDrivePath("1:\\a"));
}

class HostPathTest : public ::testing::Test {
 protected:
  TempFolder c_, d_;
  ScopedEnv env_{kDriveMapVariable, "C=" + c_.str() + ";D=" + d_.str()};
};

TEST_F(HostPathTest, ComponentsMatchInAnyLetterCase) {
  c_.Write("Pergonix/Config.ini", "x");
  auto p = ToHostPath("C:\\pergonix\\CONFIG.INI");
  ASSERT_TRUE(p.ok());
  EXPECT_EQ(*p, c_.path() / "Pergonix" / "Config.ini");
  EXPECT_TRUE(fs::exists(*p));
}

TEST_F(HostPathTest, NewComponentsKeepTheSpellingGiven) {
  c_.Mkdir("Pergonix/Cari");
  auto p = ToHostPath("c:\\PERGONIX\\cari\\Data\\001");
  ASSERT_TRUE(p.ok());
  EXPECT_EQ(*p, c_.path() / "Pergonix" / "Cari" / "Data" / "001");
}

TEST_F(HostPathTest, RepeatedAndMixedSeparatorsActAsOne) {
  d_.Mkdir("Yedek/Data/x");
  auto p = ToHostPath("d:\\\\yedek\\DATA\\\\x\\");
  ASSERT_TRUE(p.ok());
  EXPECT_EQ(*p, d_.path() / "Yedek" / "Data" / "x");
  EXPECT_EQ(*ToHostPath("D:/yedek//data"), d_.path() / "Yedek" / "Data");
}

TEST_F(HostPathTest, TurkishLettersMatchInOtherCase) {
  c_.Mkdir("Bütçe/Şube");
  EXPECT_EQ(*ToHostPath("C:\\BÜTÇE\\şube"), c_.path() / PathFromUtf8("Bütçe/Şube"));
}

TEST_F(HostPathTest, DotDotNeverClimbsAboveTheDrive) {
  c_.Mkdir("A");
  EXPECT_EQ(*ToHostPath("C:\\..\\..\\a\\.\\b\\..\\"), c_.path() / "A");
}

TEST_F(HostPathTest, UnmappedDriveIsAnError) {
  auto p = ToHostPath("E:\\Yedek");
  ASSERT_FALSE(p.ok());
  EXPECT_NE(p.status().message().find("E:"), std::string::npos);
}

TEST_F(HostPathTest, HostPathsPassUnchanged) {
  EXPECT_EQ(*ToHostPath("/tmp/Some/Path"), fs::path("/tmp/Some/Path"));
}

TEST(HostPathDefault, DriveCIsAPerUserFolderCreatedOnFirstUse) {
  PX_POSIX_ONLY("on Windows an unmapped C: is the system's own drive");
  TempFolder home;
  ScopedEnv map(kDriveMapVariable, std::nullopt);
  ScopedEnv xdg("XDG_DATA_HOME", std::nullopt);
  ScopedEnv h("HOME", home.str());
  auto p = ToHostPath("C:\\pergonix\\config.ini");
  ASSERT_TRUE(p.ok()) << p.status().ToString();
  const fs::path root = home.path() / ".local" / "share" / "pergonix-yedek" / "C";
  EXPECT_TRUE(fs::is_directory(root));
  EXPECT_EQ(*p, root / "pergonix" / "config.ini");
  EXPECT_FALSE(ToHostPath("D:\\x").ok());
}

}  // namespace
}  // namespace px
