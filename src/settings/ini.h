#pragma once
// The suite's profile-file helpers. Paths are domain paths ("C:\pergonix\config.ini"),
// reached through the drive map.

#include <string>

namespace px::settings {

// A profile read into a 512-character buffer: the characters copied, or "" when none
// were. A file that cannot be reached reads as missing, so the default comes back.
std::string IniOku(const std::string& bolum, const std::string& anahtar,
                   const std::string& varsayilan, const std::string& dosya);

// A profile write of the value without its surrounding blanks; true when it succeeded.
bool IniYaz(const std::string& bolum, const std::string& anahtar, const std::string& deger,
            const std::string& dosya);

}  // namespace px::settings
