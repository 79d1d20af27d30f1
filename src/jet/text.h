#pragma once
// Text as Jet stores it, decoded to UTF-8, and text comparison the way Jet compares text.
//
// Jet 4 stores UTF-16LE. A value may start with FF FE and use the compressed scheme: each
// byte is a code unit with a zero high byte; a 00 byte switches between that and plain
// UTF-16LE pairs. Jet 3 stores single-byte code-page text.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/bytes.h"
#include "core/result.h"

namespace px::jet {

// UTF-16LE to UTF-8. An odd byte count is an error; an unpaired surrogate becomes U+FFFD.
Result<std::string> DecodeUtf16Le(Bytes bytes);

// Jet 4 text: compressed (FF FE prefix) or plain UTF-16LE.
Result<std::string> DecodeJet4Text(Bytes bytes);

// The same two, appended to `out` (a reused string keeps its capacity); on error `out` is
// left as it was.
Status AppendDecodedUtf16Le(Bytes bytes, std::string& out);
Status AppendDecodedJet4Text(Bytes bytes, std::string& out);

// Jet 3 text in the given Windows code page (1252 and 1254 supported).
Result<std::string> DecodeJet3Text(Bytes bytes, int code_page);

// UTF-8 to UTF-16LE; malformed UTF-8 is an error (never a silent replacement).
Result<std::vector<uint8_t>> EncodeUtf16Le(std::string_view utf8);

// Jet 4 text for storage. With `compress`, text of more than two characters that all lie
// in U+0001..U+00FF is stored compressed (FF FE, one byte a character); everything else is
// plain UTF-16LE, which every reader accepts.
Result<std::vector<uint8_t>> EncodeJet4Text(std::string_view utf8, bool compress);
// The same from text already in UTF-16LE.
std::vector<uint8_t> CompressJet4Text(std::vector<uint8_t> utf16le, bool compress);
// The same in place.
void CompressJet4TextInPlace(std::vector<uint8_t>& utf16le, bool compress);

// Number of UTF-16 code units of a UTF-8 string (what Jet 4 counts against a column's
// size); nullopt when the UTF-8 is malformed.
std::optional<size_t> Utf16Length(std::string_view utf8);
// Appends one code point as UTF-16LE (a surrogate pair above U+FFFF).
void AppendUtf16Le(std::vector<uint8_t>& out, uint32_t code_point);

// Names of tables, columns and indexes: at most this many characters.
inline constexpr size_t kMaxNameChars = 64;

inline constexpr uint16_t kLcidGeneral = 1033;
inline constexpr uint16_t kLcidTurkish = 1055;

// True when Jet's "=" on text would call the two UTF-8 strings equal: letters compare
// without regard to case; everything else, accents included, must match. Under the
// Turkish sort order (LCID 1055) dotted and dotless i pair as Turkish does (I with ı,
// İ with i); under every other order I pairs with i, and ı and İ are letters of their own.
bool JetTextEquals(std::string_view a, std::string_view b, uint16_t sort_order_lcid);

// The case-folded form used by JetTextEquals (for keys of lookup maps).
std::u32string JetFoldCase(std::string_view utf8, uint16_t sort_order_lcid);

}  // namespace px::jet
