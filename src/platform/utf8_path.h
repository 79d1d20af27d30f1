#pragma once
// Paths inside the program are UTF-8 strings. These two turn them into the system's path
// type and back, so that a Turkish name ("İş/Ağ.mdb") means the same file on Windows, where
// a narrow path would be read in the ANSI code page.

#include <filesystem>
#include <string>
#include <string_view>

namespace px {

std::filesystem::path PathFromUtf8(std::string_view utf8);
std::string Utf8FromPath(const std::filesystem::path& path);

}  // namespace px
