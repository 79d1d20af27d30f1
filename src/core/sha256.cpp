#include "core/sha256.h"

#include <cstring>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#include <immintrin.h>
#define PX_SHA_X86 1
#endif

namespace px {
namespace {

constexpr std::array<uint32_t, 64> kK = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr uint32_t Rotr(uint32_t x, int n) {
  return (x >> n) | (x << (32 - n));
}

void PortableBlock(std::array<uint32_t, 8>& state, const uint8_t* p) {
  std::array<uint32_t, 64> w;
  for (int i = 0; i < 16; ++i) {
    w[i] = uint32_t(p[4 * i]) << 24 | uint32_t(p[4 * i + 1]) << 16 | uint32_t(p[4 * i + 2]) << 8 |
           uint32_t(p[4 * i + 3]);
  }
  for (int i = 16; i < 64; ++i) {
    const uint32_t s0 = Rotr(w[i - 15], 7) ^ Rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
    const uint32_t s1 = Rotr(w[i - 2], 17) ^ Rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
    w[i] = w[i - 16] + s0 + w[i - 7] + s1;
  }
  uint32_t a = state[0], b = state[1], c = state[2], d = state[3], e = state[4], f = state[5],
           g = state[6], h = state[7];
  for (int i = 0; i < 64; ++i) {
    const uint32_t t1 =
        h + (Rotr(e, 6) ^ Rotr(e, 11) ^ Rotr(e, 25)) + ((e & f) ^ (~e & g)) + kK[i] + w[i];
    const uint32_t t2 = (Rotr(a, 2) ^ Rotr(a, 13) ^ Rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
    h = g;
    g = f;
    f = e;
    e = d + t1;
    d = c;
    c = b;
    b = a;
    a = t1 + t2;
  }
  state[0] += a;
  state[1] += b;
  state[2] += c;
  state[3] += d;
  state[4] += e;
  state[5] += f;
  state[6] += g;
  state[7] += h;
}

#if PX_SHA_X86
// SHA-NI, SSSE3 and SSE4.1, as the x86 SHA extensions need them.
bool HasShaInstructions() {
  unsigned a, b, c, d;
  if (!__get_cpuid(1, &a, &b, &c, &d)) return false;
  const bool ssse3 = c & (1u << 9), sse41 = c & (1u << 19);
  if (!__get_cpuid_count(7, 0, &a, &b, &c, &d)) return false;
  return ssse3 && sse41 && (b & (1u << 29));
}

// The state lives in two registers as the instructions want it: ABEF and CDGH. Each
// sha256rnds2 does two rounds and swaps the roles of the two.
__attribute__((target("sha,ssse3,sse4.1"))) void ShaNiBlocks(std::array<uint32_t, 8>& h,
                                                             const uint8_t* p, size_t n) {
  const __m128i byte_swap = _mm_set_epi64x(0x0c0d0e0f08090a0bLL, 0x0405060700010203LL);
  __m128i dcba = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&h[0]));
  __m128i hgfe = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&h[4]));
  const __m128i cdab = _mm_shuffle_epi32(dcba, 0xB1);
  const __m128i efgh = _mm_shuffle_epi32(hgfe, 0x1B);
  __m128i abef = _mm_alignr_epi8(cdab, efgh, 8);
  __m128i cdgh = _mm_blend_epi16(efgh, cdab, 0xF0);
  for (; n > 0; --n, p += 64) {
    const __m128i abef_before = abef, cdgh_before = cdgh;
    __m128i w[4];
    for (int g = 0; g < 16; ++g) {  // four rounds a group
      __m128i& m = w[g % 4];
      if (g < 4) {
        m = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * g)),
                             byte_swap);
      } else {
        // W[t] = s1(W[t-2]) + W[t-7] + s0(W[t-15]) + W[t-16], four at a time.
        const __m128i& back4 = w[(g + 3) % 4];
        const __m128i back7 = _mm_alignr_epi8(back4, w[(g + 2) % 4], 4);
        m = _mm_sha256msg2_epu32(_mm_add_epi32(_mm_sha256msg1_epu32(m, w[(g + 1) % 4]), back7),
                                 back4);
      }
      __m128i wk = _mm_add_epi32(m, _mm_loadu_si128(reinterpret_cast<const __m128i*>(&kK[4 * g])));
      cdgh = _mm_sha256rnds2_epu32(cdgh, abef, wk);
      wk = _mm_shuffle_epi32(wk, 0x0E);
      abef = _mm_sha256rnds2_epu32(abef, cdgh, wk);
    }
    abef = _mm_add_epi32(abef, abef_before);
    cdgh = _mm_add_epi32(cdgh, cdgh_before);
  }
  const __m128i feba = _mm_shuffle_epi32(abef, 0x1B);
  const __m128i dchg = _mm_shuffle_epi32(cdgh, 0xB1);
  dcba = _mm_blend_epi16(feba, dchg, 0xF0);
  hgfe = _mm_alignr_epi8(dchg, feba, 8);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(&h[0]), dcba);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(&h[4]), hgfe);
}
#endif

}  // namespace

Sha256::Sha256(Engine engine)
    : h_{0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
         0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19} {
#if PX_SHA_X86
  static const bool has_sha = HasShaInstructions();
  accelerated_ = engine == Engine::kBest && has_sha;
#else
  (void)engine;
  accelerated_ = false;
#endif
}

void Sha256::Blocks(const uint8_t* p, size_t n) {
#if PX_SHA_X86
  if (accelerated_) return ShaNiBlocks(h_, p, n);
#endif
  for (; n > 0; --n, p += 64) PortableBlock(h_, p);
}

void Sha256::Update(std::string_view bytes) {
  total_ += bytes.size();
  const auto* p = reinterpret_cast<const uint8_t*>(bytes.data());
  size_t n = bytes.size();
  if (used_ > 0) {
    const size_t take = std::min(n, buf_.size() - used_);
    std::memcpy(buf_.data() + used_, p, take);
    used_ += take;
    p += take;
    n -= take;
    if (used_ < buf_.size()) return;
    Blocks(buf_.data(), 1);
    used_ = 0;
  }
  Blocks(p, n / 64);
  p += n / 64 * 64;
  n %= 64;
  if (n > 0) std::memcpy(buf_.data(), p, n);
  used_ = n;
}

std::string Sha256::HexDigest() {
  const uint64_t bits = total_ * 8;
  buf_[used_++] = 0x80;
  if (used_ > 56) {
    std::memset(buf_.data() + used_, 0, 64 - used_);
    Blocks(buf_.data(), 1);
    used_ = 0;
  }
  std::memset(buf_.data() + used_, 0, 56 - used_);
  for (int i = 0; i < 8; ++i) buf_[56 + i] = uint8_t(bits >> (56 - 8 * i));
  Blocks(buf_.data(), 1);
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out;
  for (uint32_t v : h_) {
    for (int s = 28; s >= 0; s -= 4) out += kHex[(v >> s) & 0xF];
  }
  return out;
}

std::string Sha256Hex(std::string_view bytes) {
  Sha256 s;
  s.Update(bytes);
  return s.HexDigest();
}

}  // namespace px
