#pragma once
// Profile (INI) files read and written the way GetPrivateProfileStringA and
// WritePrivateProfileStringA treat them:
// - section and key names match without regard to letter case; the first section of a
//   name and, in it, the first key of a name win;
// - blanks around names and values are dropped, one pair of surrounding quotes (" or ')
//   is removed, backslashes and everything else are ordinary characters;
// - a read returns at most buffer size - 1 characters, and the default (without its
//   trailing blanks) when the file, the section or the key is missing;
// - a write replaces the key's line, adds the key at the end of its section or adds the
//   section at the end of the file, and keeps every other byte of the file as it was.
// Files are in the ANSI code page (Windows-1254 unless PERGONIX_ANSI_CP names another);
// names and values are UTF-8 inside the program.

#include <filesystem>
#include <string>
#include <string_view>

#include "core/result.h"

namespace px {

inline constexpr size_t kProfileBufferSize = 512;
inline constexpr char kAnsiCodePageVariable[] = "PERGONIX_ANSI_CP";

// 1254, or the code page PERGONIX_ANSI_CP names; an unsupported one is an error.
Result<int> AnsiCodePage();

Result<std::string> ReadProfileString(std::string_view section, std::string_view key,
                                      std::string_view default_value,
                                      const std::filesystem::path& file,
                                      size_t buffer_size = kProfileBufferSize);

// The same over a file's bytes already read, in the given code page.
std::string LookUpProfileString(std::string_view raw, int code_page, std::string_view section,
                                std::string_view key, std::string_view default_value,
                                size_t buffer_size = kProfileBufferSize);

// Fails when the value, section or key cannot be written in the code page, or the file
// cannot be replaced; the file is then left as it was.
Status WriteProfileString(std::string_view section, std::string_view key, std::string_view value,
                          const std::filesystem::path& file);

}  // namespace px
