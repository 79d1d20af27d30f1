#pragma once
// UTF-8 to UTF-16 and back for the Windows (W) calls, and the text of a Windows error.
// Windows only; included by platform/ sources inside #ifdef _WIN32.

#include <string>
#include <string_view>

namespace px::win {

std::wstring Wide(std::string_view utf8);
std::string Narrow(std::wstring_view utf16);
// "The system cannot find the file specified. (2)"
std::string ErrorText(unsigned long code);

}  // namespace px::win
