#pragma once
// Windows ANSI code pages 1254 (Turkish) and 1252 (Western) <-> UTF-8, with our own
// tables. Decoding never fails for a supported code page; encoding a character that the
// code page cannot hold is an error, never a silent '?'.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/result.h"

namespace px {

bool IsSupportedCodePage(int code_page);

Result<std::string> DecodeCodePage(int code_page, std::string_view bytes);
Result<std::string> EncodeCodePage(int code_page, std::string_view utf8);

// Decodes the code point at s[i] and advances i; nullopt (i unchanged) for malformed
// UTF-8, overlong forms and surrogates. REQUIRES: i < s.size().
std::optional<uint32_t> NextUtf8(std::string_view s, size_t& i);
void AppendUtf8CodePoint(std::string& out, uint32_t code_point);

}  // namespace px
