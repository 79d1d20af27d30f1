#include "jet/rc4.h"

#include <array>
#include <utility>

namespace px::jet {

void Rc4Xor(Bytes key, MutableBytes data) {
  if (key.empty()) return;
  std::array<uint8_t, 256> s;
  for (int i = 0; i < 256; ++i) s[i] = uint8_t(i);
  uint8_t j = 0;
  for (int i = 0; i < 256; ++i) {
    j = uint8_t(j + s[i] + key[i % key.size()]);
    std::swap(s[i], s[j]);
  }
  uint8_t a = 0, b = 0;
  for (auto& byte : data) {
    a = uint8_t(a + 1);
    b = uint8_t(b + s[a]);
    std::swap(s[a], s[b]);
    byte ^= s[uint8_t(s[a] + s[b])];
  }
}

}  // namespace px::jet
