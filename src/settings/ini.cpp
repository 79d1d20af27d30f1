#include "settings/ini.h"

#include "platform/host_path.h"
#include "platform/profile.h"

namespace px::settings {
namespace {

std::string TrimSpaces(const std::string& s) {
  size_t b = s.find_first_not_of(' ');
  if (b == std::string::npos) return "";
  return s.substr(b, s.find_last_not_of(' ') - b + 1);
}

}  // namespace

std::string IniOku(const std::string& bolum, const std::string& anahtar,
                   const std::string& varsayilan, const std::string& dosya) {
  auto host = ToHostPath(dosya);
  if (!host.ok()) host = std::filesystem::path();  // unreachable: read as a missing file
  auto value = ReadProfileString(bolum, anahtar, varsayilan, *host, kProfileBufferSize);
  return value.ok() ? *value : std::string();
}

bool IniYaz(const std::string& bolum, const std::string& anahtar, const std::string& deger,
            const std::string& dosya) {
  auto host = ToHostPath(dosya);
  return host.ok() && WriteProfileString(bolum, anahtar, TrimSpaces(deger), *host).ok();
}

}  // namespace px::settings
