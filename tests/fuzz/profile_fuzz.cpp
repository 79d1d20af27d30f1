// Profile files are read from users' disks: any bytes must give an answer within the
// buffer, never a crash. The same bytes also go through the drive map parser.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "platform/codepage.h"
#include "platform/host_path.h"
#include "platform/profile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view raw(reinterpret_cast<const char*>(data), size);
  static constexpr std::string_view kKeys[][2] = {
      {"Pergo", "CalismaAlani"}, {"pergo", "YIL"}, {"Veritabani", "VeritabaniTuru"}, {"", ""}};
  for (int cp : {1254, 1252}) {
    for (const auto& k : kKeys) {
      for (size_t buffer : {size_t{0}, size_t{1}, size_t{16}, px::kProfileBufferSize}) {
        const std::string v = px::LookUpProfileString(raw, cp, k[0], k[1], "varsayılan", buffer);
        // At most buffer - 1 characters, and text the code page can hold again.
        size_t chars = 0;
        for (size_t i = 0; i < v.size();) {
          if (!px::NextUtf8(v, i)) std::abort();
          ++chars;
        }
        if (chars + 1 > (buffer == 0 ? 1 : buffer)) std::abort();
      }
    }
  }
  (void)px::ParseDriveMap(raw);
  return 0;
}
