#include "platform/host_path.h"

#include <algorithm>
#include <system_error>

#include "platform/environment.h"
#include "platform/text_case.h"
#include "platform/utf8_path.h"

namespace px {
namespace fs = std::filesystem;

namespace {

// Entries looked at when matching one component; a folder beyond this is hostile.
constexpr size_t kMaxEntriesScanned = 1'000'000;
// Components of one path; longer paths are refused by Windows long before this.
constexpr size_t kMaxComponents = 4096;

char UpperLetter(char c) {
  return (c >= 'a' && c <= 'z') ? char(c - 'a' + 'A') : c;
}

bool IsLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

std::vector<std::string_view> SplitComponents(std::string_view rest) {
  std::vector<std::string_view> parts;
  size_t i = 0;
  while (i < rest.size() && parts.size() < kMaxComponents) {
    size_t j = rest.find_first_of("\\/", i);
    if (j == std::string_view::npos) j = rest.size();
    if (j > i) parts.push_back(rest.substr(i, j - i));
    i = j + 1;
  }
  return parts;
}

// The entry of `dir` that spells `name` in any letter case, as the folder spells it; empty
// when none. An entry spelled exactly so wins; otherwise several candidates (possible on
// case-sensitive hosts) resolve to the smallest name.
std::string FindEntryIgnoringCase(const fs::path& dir, std::string_view name) {
  std::error_code ec;
  fs::directory_iterator it(dir, ec);
  if (ec) return {};
  const std::string wanted = FoldCase(name);
  std::string best;
  size_t scanned = 0;
  for (; it != fs::directory_iterator() && scanned < kMaxEntriesScanned; it.increment(ec)) {
    if (ec) break;
    ++scanned;
    std::string entry = Utf8FromPath(it->path().filename());
    if (entry == name) return entry;
    if (FoldCase(entry) == wanted && (best.empty() || entry < best)) best = std::move(entry);
  }
  return best;
}

#ifndef _WIN32
Result<fs::path> DefaultDriveC() {
  fs::path base;
  if (auto xdg = GetEnv("XDG_DATA_HOME"); xdg && !xdg->empty()) {
    base = PathFromUtf8(*xdg);
  } else if (auto home = GetEnv("HOME"); home && !home->empty()) {
    base = PathFromUtf8(*home) / ".local" / "share";
  } else {
    return Status::NotFound("drive C: has no folder: neither PERGONIX_DRIVES nor HOME is set");
  }
  fs::path root = base / "pergonix-yedek" / "C";
  std::error_code ec;
  fs::create_directories(root, ec);
  if (ec) return Status::IOError("cannot create " + Utf8FromPath(root) + ": " + ec.message());
  return root;
}
#endif

}  // namespace

Result<std::vector<DriveMapping>> ParseDriveMap(std::string_view map_text) {
  std::vector<DriveMapping> map;
  size_t i = 0;
  while (i <= map_text.size()) {
    size_t j = map_text.find(';', i);
    if (j == std::string_view::npos) j = map_text.size();
    std::string_view entry = TrimBlanks(map_text.substr(i, j - i));
    i = j + 1;
    if (entry.empty()) continue;
    size_t eq = entry.find('=');
    std::string_view letter =
        eq == std::string_view::npos ? entry : TrimBlanks(entry.substr(0, eq));
    std::string_view folder = eq == std::string_view::npos ? "" : TrimBlanks(entry.substr(eq + 1));
    if (letter.size() != 1 || !IsLetter(letter[0]) || folder.empty()) {
      return Status::InvalidArgument(std::string(kDriveMapVariable) + ": entry '" +
                                     std::string(entry) + "' is not of the form X=/folder");
    }
    const char up = UpperLetter(letter[0]);
    if (std::none_of(map.begin(), map.end(), [&](const auto& m) { return m.letter == up; })) {
      map.push_back({up, PathFromUtf8(folder)});
    }
  }
  return map;
}

bool IsDrivePath(std::string_view path) {
  if (path.size() < 2 || path[1] != ':' || !IsLetter(path[0])) return false;
  return path.size() == 2 || path[2] == '\\' || path[2] == '/';
}

Result<fs::path> DriveRoot(char letter) {
  const char up = UpperLetter(letter);
  const auto map_text = GetEnv(kDriveMapVariable);
  if (!map_text) {
#ifdef _WIN32
    return PathFromUtf8(std::string(1, up) + ":\\");
#else
    if (up == 'C') return DefaultDriveC();
#endif
    return Status::NotFound(std::string("drive ") + up + ": is not mapped (set " +
                            kDriveMapVariable + ")");
  }
  PX_ASSIGN_OR_RETURN(auto map, ParseDriveMap(*map_text));
  for (const auto& m : map) {
    if (m.letter == up) return m.root;
  }
  return Status::NotFound(std::string("drive ") + up + ": is not in " + kDriveMapVariable);
}

fs::path ResolveBelow(const fs::path& root, std::string_view rest) {
  fs::path current = root;
  size_t depth = 0;  // components below the root, so that ".." never climbs above it
  bool exists = true;
  for (std::string_view part : SplitComponents(rest)) {
    if (part == ".") continue;
    if (part == "..") {
      if (depth > 0) {
        current = current.parent_path();
        --depth;
        std::error_code ec;
        exists = fs::is_directory(current, ec);
      }
      continue;
    }
    ++depth;
    std::error_code ec;
    // Folders that ignore case (Windows) find any spelling; the folder's own is kept.
    if (exists) {
      std::string found = FindEntryIgnoringCase(current, part);
      if (!found.empty()) {
        current /= PathFromUtf8(found);
        continue;
      }
      exists = false;
    }
    current /= PathFromUtf8(part);
  }
  return current;
}

Result<fs::path> ToHostPath(std::string_view path) {
#ifdef _WIN32
  // Drive letters are the system's own unless a map is given (tests give one).
  if (!GetEnv(kDriveMapVariable)) return PathFromUtf8(path);
#endif
  if (!IsDrivePath(path)) return PathFromUtf8(path);
  PX_ASSIGN_OR_RETURN(fs::path root, DriveRoot(path[0]));
  return ResolveBelow(root, path.substr(2));
}

}  // namespace px
