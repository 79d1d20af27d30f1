#pragma once
// Letter case of UTF-8 text as the suite's Windows environment treats it: names of files,
// folders, INI sections and keys compare without regard to case, and the program shows
// some texts in capitals with the Turkish rules (i -> İ, ı -> I).

#include <string>
#include <string_view>

namespace px {

// Upper-cases for comparison: ASCII, Latin-1 and Latin Extended-A letters; the dotted and
// dotless i of Turkish both fold to I so that "Yil" and "YIL" meet.
std::string FoldCase(std::string_view utf8);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// Capitals the way the Turkish-locale suite writes them: i -> İ, ı -> I, ç -> Ç, ...
std::string UpperTurkish(std::string_view utf8);

// Without leading and trailing blanks and tabs.
std::string_view TrimBlanks(std::string_view s);

}  // namespace px
