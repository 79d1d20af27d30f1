#include "platform/drive.h"

#include <fstream>
#include <string>
#include <system_error>

#include "platform/host_path.h"

#ifdef __linux__
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/sysmacros.h>
#endif

namespace px {
namespace fs = std::filesystem;

namespace {

// statfs f_type magic numbers (linux/magic.h and the file systems' own headers).
constexpr unsigned long kIso9660 = 0x9660;
constexpr unsigned long kUdf = 0x15013346;
constexpr unsigned long kTmpfs = 0x01021994;
constexpr unsigned long kRamfs = 0x858458f6;
constexpr unsigned long kNfs = 0x6969;
constexpr unsigned long kSmb = 0x517B;
constexpr unsigned long kCifs = 0xFF534D42;
constexpr unsigned long kSmb2 = 0xFE534D42;
constexpr unsigned long kProc = 0x9fa0;
constexpr unsigned long kSysfs = 0x62656572;
constexpr unsigned long kDevpts = 0x1cd1;
constexpr unsigned long kDebugfs = 0x64626720;
constexpr unsigned long kCgroup2 = 0x63677270;
constexpr unsigned long kCgroup = 0x27e0eb;

fs::path NearestExisting(fs::path p) {
  std::error_code ec;
  for (int i = 0; i < 4096 && !p.empty(); ++i) {
    if (fs::exists(p, ec)) return p;
    if (p == p.parent_path()) break;
    p = p.parent_path();
  }
  return p;
}

#ifdef __linux__
// The "removable" flag of the block device (or of the disk holding the partition).
bool RemovableDevice(dev_t dev) {
  const std::string base =
      "/sys/dev/block/" + std::to_string(major(dev)) + ":" + std::to_string(minor(dev));
  for (const char* rel : {"/removable", "/../removable"}) {
    std::ifstream in(base + rel);
    int flag = 0;
    if (in >> flag) return flag == 1;
  }
  return false;
}
#endif

}  // namespace

int DriveTypeOfMagic(unsigned long magic, bool removable_device) {
  switch (magic) {
    case kIso9660:
    case kUdf:
      return kDriveCdRom;
    case kTmpfs:
    case kRamfs:
      return kDriveRamDisk;
    case kNfs:
    case kSmb:
    case kCifs:
    case kSmb2:
      return kDriveNetwork;
    case kProc:
    case kSysfs:
    case kDevpts:
    case kDebugfs:
    case kCgroup:
    case kCgroup2:
      return kDriveUnknown;
    default:
      return removable_device ? kDriveRemovable : kDriveFixed;
  }
}

int DriveTypeOfFolder(const fs::path& folder) {
#ifdef __linux__
  const fs::path p = NearestExisting(folder);
  struct statfs sf {};
  if (statfs(p.c_str(), &sf) != 0) return kDriveUnknown;
  struct stat st {};
  const bool removable = stat(p.c_str(), &st) == 0 && RemovableDevice(st.st_dev);
  return DriveTypeOfMagic(static_cast<unsigned long>(sf.f_type) & 0xFFFFFFFFul, removable);
#else
  return fs::exists(NearestExisting(folder)) ? kDriveFixed : kDriveUnknown;
#endif
}

DriveFacts GetDriveFacts(char letter) {
  DriveFacts facts;
  auto root = DriveRoot(letter);
  if (!root.ok()) return facts;
  facts.exists = true;
  std::error_code ec;
  facts.ready = fs::is_directory(*root, ec);
  facts.type = DriveTypeOfFolder(*root);
  return facts;
}

}  // namespace px
