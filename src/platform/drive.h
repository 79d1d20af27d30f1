#pragma once
// Facts about a drive letter as the scripting runtime's Drive object gives them: whether
// the drive exists, whether it is ready, and its type. On Windows without PERGONIX_DRIVES
// these come from GetDriveTypeW and GetVolumeInformationW. Otherwise a drive
// exists when the drive map names it, is ready when its folder is there, and takes its
// type from the file system that holds the folder.

#include <filesystem>

namespace px {

// Drive.DriveType values.
inline constexpr int kDriveUnknown = 0;
inline constexpr int kDriveRemovable = 1;
inline constexpr int kDriveFixed = 2;
inline constexpr int kDriveNetwork = 3;
inline constexpr int kDriveCdRom = 4;
inline constexpr int kDriveRamDisk = 5;

struct DriveFacts {
  bool exists = false;
  bool ready = false;
  int type = kDriveUnknown;
  bool operator==(const DriveFacts&) const = default;
};

// Facts of a drive letter (any case) under the current drive map.
DriveFacts GetDriveFacts(char letter);

// The drive type of the file system holding `folder` (or its nearest existing parent); on
// Windows that of its volume. On Linux:
// iso9660/udf CD-ROM, tmpfs/ramfs RAM disk, nfs/cifs/smb network, kernel pseudo file
// systems unknown, disks fixed unless the block device says it is removable.
int DriveTypeOfFolder(const std::filesystem::path& folder);

// The type for a statfs f_type magic number on a disk that is (not) removable.
int DriveTypeOfMagic(unsigned long magic, bool removable_device);

}  // namespace px
