#pragma once
// Files are replaced whole or not at all: the new content goes to a temporary file in the
// same folder, which then takes the target's name in one rename.

#include <filesystem>
#include <string>
#include <string_view>

#include "core/result.h"

namespace px {

Status WriteFileAtomically(const std::filesystem::path& target, std::string_view content);

// The whole file; NotFound when it does not exist. Files above `max_bytes` are refused.
Result<std::string> ReadWholeFile(const std::filesystem::path& file,
                                  size_t max_bytes = size_t{256} << 20);

}  // namespace px
