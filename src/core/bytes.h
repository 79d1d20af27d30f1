#pragma once
// Little-endian (and, separately named, big-endian) integer codecs over byte spans.
// The Load*/Store* functions do no bounds checking: call them only after one explicit
// range check of the whole structure. ByteReader is the checked way to walk a buffer.

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace px {

using Bytes = std::span<const uint8_t>;
using MutableBytes = std::span<uint8_t>;

inline uint16_t LoadLe16(const uint8_t* p) {
  return uint16_t(p[0] | (p[1] << 8));
}
inline uint32_t LoadLe24(const uint8_t* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16;
}
inline uint32_t LoadLe32(const uint8_t* p) {
  return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
inline uint64_t LoadLe64(const uint8_t* p) {
  return uint64_t(LoadLe32(p)) | uint64_t(LoadLe32(p + 4)) << 32;
}
inline uint32_t LoadBe24(const uint8_t* p) {
  return uint32_t(p[0]) << 16 | uint32_t(p[1]) << 8 | uint32_t(p[2]);
}
inline uint32_t LoadBe32(const uint8_t* p) {
  return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
}

inline void StoreLe16(uint8_t* p, uint16_t v) {
  p[0] = uint8_t(v);
  p[1] = uint8_t(v >> 8);
}
inline void StoreLe32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * i));
}
inline void StoreLe64(uint8_t* p, uint64_t v) {
  for (int i = 0; i < 8; ++i) p[i] = uint8_t(v >> (8 * i));
}
inline void StoreBe32(uint8_t* p, uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = uint8_t(v >> (8 * (3 - i)));
}

inline double BitsToDouble(uint64_t bits) {
  double d;
  std::memcpy(&d, &bits, sizeof d);
  return d;
}
inline float BitsToFloat(uint32_t bits) {
  float f;
  std::memcpy(&f, &bits, sizeof f);
  return f;
}
inline uint64_t DoubleToBits(double d) {
  uint64_t b;
  std::memcpy(&b, &d, sizeof b);
  return b;
}
inline uint32_t FloatToBits(float f) {
  uint32_t b;
  std::memcpy(&b, &f, sizeof b);
  return b;
}

// Checked reader: every Read* returns nullopt (and reads nothing) when fewer bytes than
// asked for remain. Offsets are relative to the start of the span.
class ByteReader {
 public:
  explicit ByteReader(Bytes data) : data_(data) {}

  size_t offset() const { return pos_; }
  size_t remaining() const { return data_.size() - pos_; }
  bool Seek(size_t offset) {
    if (offset > data_.size()) return false;
    pos_ = offset;
    return true;
  }
  bool Skip(size_t n) {
    if (n > remaining()) return false;
    pos_ += n;
    return true;
  }

  std::optional<uint8_t> U8() {
    return Take<uint8_t>(1, [](const uint8_t* p) { return p[0]; });
  }
  std::optional<uint16_t> U16() { return Take<uint16_t>(2, LoadLe16); }
  std::optional<uint32_t> U24() { return Take<uint32_t>(3, LoadLe24); }
  std::optional<uint32_t> U32() { return Take<uint32_t>(4, LoadLe32); }
  std::optional<uint64_t> U64() { return Take<uint64_t>(8, LoadLe64); }
  std::optional<Bytes> Span(size_t n) {
    if (n > remaining()) return std::nullopt;
    Bytes s = data_.subspan(pos_, n);
    pos_ += n;
    return s;
  }

 private:
  template <typename T, typename F>
  std::optional<T> Take(size_t n, F load) {
    if (n > remaining()) return std::nullopt;
    T v = static_cast<T>(load(data_.data() + pos_));
    pos_ += n;
    return v;
  }

  Bytes data_;
  size_t pos_ = 0;
};

// Bytes of a span at [offset, offset+n) or nullopt when out of range (overflow-safe).
inline std::optional<Bytes> SubSpan(Bytes data, size_t offset, size_t n) {
  if (offset > data.size() || n > data.size() - offset) return std::nullopt;
  return data.subspan(offset, n);
}

inline std::string_view AsChars(Bytes b) {
  return std::string_view(reinterpret_cast<const char*>(b.data()), b.size());
}

}  // namespace px
