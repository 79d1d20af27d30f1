#include "platform/drive.h"

#include <gtest/gtest.h>

#include "platform/host_path.h"
#include "platform/temp_path.h"
#include "support/temp_folder.h"

namespace px {
namespace {

using testing::ScopedEnv;
using testing::TempFolder;

TEST(DriveType, MagicNumbersMapToTheDriveTypes) {
  EXPECT_EQ(DriveTypeOfMagic(0x9660, false), kDriveCdRom);        // iso9660
  EXPECT_EQ(DriveTypeOfMagic(0x15013346, true), kDriveCdRom);     // udf
  EXPECT_EQ(DriveTypeOfMagic(0x01021994, false), kDriveRamDisk);  // tmpfs
  EXPECT_EQ(DriveTypeOfMagic(0x858458f6, false), kDriveRamDisk);  // ramfs
  EXPECT_EQ(DriveTypeOfMagic(0x6969, false), kDriveNetwork);      // nfs
  EXPECT_EQ(DriveTypeOfMagic(0xFF534D42, false), kDriveNetwork);  // cifs
  EXPECT_EQ(DriveTypeOfMagic(0xFE534D42, false), kDriveNetwork);  // smb2
  EXPECT_EQ(DriveTypeOfMagic(0x9fa0, false), kDriveUnknown);      // proc
  EXPECT_EQ(DriveTypeOfMagic(0xEF53, false), kDriveFixed);        // ext4
  EXPECT_EQ(DriveTypeOfMagic(0xEF53, true), kDriveRemovable);
  EXPECT_EQ(DriveTypeOfMagic(0x4d44, true), kDriveRemovable);  // vfat stick
}

class DriveFactsTest : public ::testing::Test {
 protected:
  TempFolder c_;
};

TEST_F(DriveFactsTest, MappedExistingFolderIsReady) {
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
  if (!std::filesystem::is_directory("/dev/shm")) GTEST_SKIP() << "no /dev/shm on this host";
  ScopedEnv env(kDriveMapVariable, "R=/dev/shm");
  EXPECT_EQ(GetDriveFacts('R').type, kDriveRamDisk);
}

TEST(TempPath, EndsWithTheSeparator) {
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

}  // namespace
}  // namespace px
