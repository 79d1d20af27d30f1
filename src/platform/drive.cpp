#include "platform/drive.h"

#include <fstream>
#include <string>
#include <system_error>

#include "platform/environment.h"
#include "platform/host_path.h"
#include "platform/utf8_path.h"

#ifdef _WIN32
#include <windows.h>
#endif

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

#ifdef _WIN32
// GetDriveTypeW's numbering in the codes of Drive.DriveType.
int DriveTypeOfWindowsCode(UINT code) {
  switch (code) {
    case DRIVE_REMOVABLE:
      return kDriveRemovable;
    case DRIVE_FIXED:
      return kDriveFixed;
    case DRIVE_REMOTE:
      return kDriveNetwork;
    case DRIVE_CDROM:
      return kDriveCdRom;
    case DRIVE_RAMDISK:
      return kDriveRamDisk;
    default:
      return kDriveUnknown;
  }
}

// Facts of a real drive letter: it exists when Windows knows a root there and is ready
// when its volume answers (a CD-ROM drive without a disc does not).
DriveFacts NativeDriveFacts(char letter) {
  const wchar_t root[] = {wchar_t(letter), L':', L'\\', L'\0'};
  DriveFacts facts;
  const UINT code = GetDriveTypeW(root);
  if (code == DRIVE_NO_ROOT_DIR) return facts;
  facts.exists = true;
  facts.type = DriveTypeOfWindowsCode(code);
  const UINT old_mode = SetErrorMode(SEM_FAILCRITICALERRORS);  // no "insert a disk" box
  facts.ready = GetVolumeInformationW(root, nullptr, 0, nullptr, nullptr, nullptr, nullptr, 0) != 0;
  SetErrorMode(old_mode);
  return facts;
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
#elif defined(_WIN32)
  const std::wstring p = NearestExisting(folder).wstring();
  wchar_t volume[MAX_PATH + 1];
  if (!GetVolumePathNameW(p.c_str(), volume, MAX_PATH + 1)) return kDriveUnknown;
  return DriveTypeOfWindowsCode(GetDriveTypeW(volume));
#else
  return fs::exists(NearestExisting(folder)) ? kDriveFixed : kDriveUnknown;
#endif
}

DriveFacts GetDriveFacts(char letter) {
#ifdef _WIN32
  if (!GetEnv(kDriveMapVariable)) {
    return NativeDriveFacts(char(letter >= 'a' && letter <= 'z' ? letter - 'a' + 'A' : letter));
  }
#endif
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
