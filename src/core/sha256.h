#pragma once
// SHA-256 (FIPS 180-4), fed in pieces: the checksums of a backup package's manifest.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace px {

class Sha256 {
 public:
  // kBest uses the processor's SHA instructions where it has them; both give the same
  // digests.
  enum class Engine { kBest, kPortable };
  explicit Sha256(Engine engine = Engine::kBest);
  void Update(std::string_view bytes);
  // The digest as 64 lower-case hexadecimal digits; the object is spent afterwards.
  std::string HexDigest();

 private:
  // Hashes `n` 64-byte blocks at `p`.
  void Blocks(const uint8_t* p, size_t n);

  bool accelerated_;
  std::array<uint32_t, 8> h_;
  std::array<uint8_t, 64> buf_{};
  size_t used_ = 0;
  uint64_t total_ = 0;
};

std::string Sha256Hex(std::string_view bytes);

}  // namespace px
