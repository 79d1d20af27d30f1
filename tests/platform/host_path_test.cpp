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

TEST(DriveMap, MalformedEntriesAndDrivePaths) {
  for (const char* bad : {"C", "CD=/x", "1=/x", "C="}) EXPECT_FALSE(ParseDriveMap(bad).ok()) << bad;
  EXPECT_TRUE(ParseDriveMap("").ok());
  for (const char* p : {"C:\\a", "c:/a", "D:"}) EXPECT_TRUE(IsDrivePath(p)) << p;
  for (const char* p : {"C:a", "/tmp/x", "1:\\a"}) EXPECT_FALSE(IsDrivePath(p)) << p;
}

class HostPathTest : public ::testing::Test {
 protected:
  TempFolder c_, d_;
  ScopedEnv env_{kDriveMapVariable, "C=" + c_.str() + ";D=" + d_.str()};
};

// Existing components match in any letter case (Turkish letters too), new ones keep the
// spelling given, repeated and mixed separators act as one, ".." stops at the drive.
TEST_F(HostPathTest, DrivePathsFindTheFoldersThere) {
  c_.Write("Pergonix/Config.ini", "x");
  c_.Mkdir("Pergonix/Cari");
  c_.Mkdir("Bütçe/Şube");
  c_.Mkdir("A");
  d_.Mkdir("Yedek/Data/x");
  const std::pair<const char*, fs::path> cases[] = {
      {"C:\\pergonix\\CONFIG.INI", c_.path() / "Pergonix" / "Config.ini"},
      {"c:\\PERGONIX\\cari\\Data\\001", c_.path() / "Pergonix" / "Cari" / "Data" / "001"},
      {"d:\\\\yedek\\DATA\\\\x\\", d_.path() / "Yedek" / "Data" / "x"},
      {"D:/yedek//data", d_.path() / "Yedek" / "Data"},
      {"C:\\BÜTÇE\\şube", c_.path() / PathFromUtf8("Bütçe/Şube")},
      {"C:\\..\\..\\a\\.\\b\\..\\", c_.path() / "A"},
      {"/tmp/Some/Path", fs::path("/tmp/Some/Path")},  // host paths pass unchanged
  };
  for (const auto& [drive, host] : cases) {
    auto p = ToHostPath(drive);
    ASSERT_TRUE(p.ok()) << drive << ": " << p.status().ToString();
    EXPECT_EQ(*p, host) << drive;
  }
}

TEST_F(HostPathTest, UnmappedDriveIsAnError) {
  auto p = ToHostPath("E:\\Yedek");
  ASSERT_FALSE(p.ok());
  EXPECT_NE(p.status().message().find("E:"), std::string::npos);
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
