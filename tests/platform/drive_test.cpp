#include "platform/drive.h"

#include <gtest/gtest.h>

#include "platform/files.h"
#include "platform/host_path.h"
#include "platform/temp_path.h"
#include "platform/utf8_path.h"
#include "support/system.h"
#include "support/temp_folder.h"

namespace px {
namespace {

using testing::ScopedEnv;
using testing::TempFolder;

class DriveFactsTest : public ::testing::Test {
 protected:
  TempFolder c_;
};

TEST_F(DriveFactsTest, MappedExistingFolderIsReady) {
  PX_POSIX_ONLY("R=/proc is a kernel file system");
  ScopedEnv env(kDriveMapVariable, "C=" + c_.str() + ";R=/proc;X=" + c_.str() + "/yok");
  DriveFacts c = GetDriveFacts('c');
  EXPECT_TRUE(c.exists);
  EXPECT_TRUE(c.ready);
  EXPECT_NE(c.type, kDriveUnknown);

  DriveFacts x = GetDriveFacts('X');
  EXPECT_TRUE(x.exists);
  EXPECT_FALSE(x.ready);
  // A folder that is missing takes the type of the file system that would hold it.
  EXPECT_EQ(x.type, c.type);

  DriveFacts r = GetDriveFacts('R');
  EXPECT_TRUE(r.exists);
  EXPECT_EQ(r.type, kDriveUnknown);

  EXPECT_EQ(GetDriveFacts('Q'), DriveFacts{});
}

TEST_F(DriveFactsTest, TmpfsIsARamDisk) {
  PX_POSIX_ONLY("drive types of mapped folders come from statfs");
  if (!std::filesystem::is_directory("/dev/shm")) GTEST_SKIP() << "no /dev/shm on this host";
  ScopedEnv env(kDriveMapVariable, "R=/dev/shm");
  EXPECT_EQ(GetDriveFacts('R').type, kDriveRamDisk);
}

TEST(TempPath, EndsWithTheSeparator) {
  PX_POSIX_ONLY("the temporary folder comes from TMPDIR");
  {
    ScopedEnv env("TMPDIR", "/var/tmp");
    EXPECT_EQ(TempPath(), "/var/tmp/");
  }
  {
    ScopedEnv env("TMPDIR", "/var/tmp/");
    EXPECT_EQ(TempPath(), "/var/tmp/");
  }
  ScopedEnv env("TMPDIR", std::nullopt);
  EXPECT_EQ(TempPath(), "/tmp/");
}

// Without a map Windows answers for its own drive letters, in the scripting runtime's codes.
TEST(DriveFacts, WindowsDrivesAreTheSystems) {
  PX_WINDOWS_ONLY("drive letters are the system's own");
  ScopedEnv env(kDriveMapVariable, std::nullopt);
  const std::string temp = TempPath();
  ASSERT_TRUE(IsDrivePath(temp)) << temp;
  const DriveFacts facts = GetDriveFacts(temp[0]);
  EXPECT_TRUE(facts.exists);
  EXPECT_TRUE(facts.ready);
  EXPECT_EQ(facts.type, kDriveFixed);
  EXPECT_EQ(temp.back(), '\\');
  EXPECT_TRUE(std::filesystem::is_directory(temp));
}

// With a drive map the letters are the map's: the system's temporary folder keeps naming
// itself, in the verbatim form the map leaves alone, and takes files.
TEST(TempPath, UnderADriveMapStillNamesTheSystemsFolder) {
  PX_WINDOWS_ONLY("only Windows has drive letters of its own besides the map");
  std::string plain;
  {
    ScopedEnv env(kDriveMapVariable, std::nullopt);
    plain = TempPath();
  }
  ScopedEnv env(kDriveMapVariable, "C=" + Utf8FromPath(std::filesystem::current_path()));
  const std::string temp = TempPath();
  EXPECT_EQ(temp, "\\\\?\\" + plain);
  auto host = ToHostPath(temp + "px-temp-test.txt");
  ASSERT_TRUE(host.ok()) << host.status().ToString();
  EXPECT_EQ(Utf8FromPath(*host), temp + "px-temp-test.txt");
  auto& files = platform::SystemFiles();
  ASSERT_TRUE(platform::ReplaceFileWhole(files, Utf8FromPath(*host), "x").ok());
  EXPECT_TRUE(std::filesystem::exists(PathFromUtf8(plain + "px-temp-test.txt")));
  EXPECT_TRUE(files.Remove(Utf8FromPath(*host)).ok());
}

}  // namespace
}  // namespace px
