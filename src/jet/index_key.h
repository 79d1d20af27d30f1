#pragma once
// Index keys: the bytes an index leaf entry holds before its row pointer, made from a row's
// values exactly as Access makes them. Entries compare as raw bytes, so each column's part
// is built to sort like the value. Per key column, in the index's column order:
//
//   flag      7F value follows / 00 NULL (ascending); 80 / FF (descending)
//   Boolean   never NULL: the flag, then 00 true, FF false (ascending)
//   Byte      the byte                      Integer, Long, Currency  big-endian, sign bit flipped
//   Single, Double, Date/Time  big-endian IEEE; positive: sign bit flipped, negative: all
//             bits inverted
//   Numeric   sign byte then the 16-byte big-endian unscaled magnitude; a negative value's
//             bytes are inverted; the sign byte is then set to FF (>= 0) or 00 (< 0)
//   GUID, Binary  8-byte groups, each followed by 09 (more follows) or by the count of real
//             bytes in the last group (zero-padded)
//   Text, Memo  the collation key of the first 255 UTF-16 units, trailing spaces dropped,
//             in the column's sort order (below)
// A descending column inverts its value bytes (the flag byte is already the descending one).
//
// Text sort orders (LCID and version stored with each text column):
//   Jet 4 General, version 0 ("legacy") and version 1: per character inline weights, 01, the
//     accent codes of accented characters (02 fills the unaccented ones, trailing 00..02
//     trimmed), then when needed 01 01, packed width/kana flags, 01 and one 4-byte record
//     per ignorable character (position, 06, code); 00 ends the key. Descending: everything
//     after the flag inverted and a further 00 appended.
//   Jet 3 General: one byte per character, then 00, or (when accented characters occur) a
//     nibble list of accent codes framed by 0 nibbles, 2 filling for unaccented letters.
//   Turkish (LCID 1055, Jet 4 version 0): General legacy with its own slots for C-cedilla,
//     G-breve, dotless and dotted I, O-diaeresis, S-cedilla and U-diaeresis (measured; a
//     file's own keys must confirm them before use, see index_verify.h).

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "jet/format.h"
#include "jet/tabledef.h"

namespace px::jet {

enum class TextOrder {
  kGeneral97,      // Jet 3 General
  kGeneralLegacy,  // Jet 4 General, version 0
  kGeneral,        // Jet 4 General, version 1
  kTurkish,        // Jet 4 Turkish (1055), version 0
};

// "General 97", "General legacy", "General", "Turkish".
std::string_view TextOrderName(TextOrder order);
// True for the General orders, whose tables the samples' own keys prove.
bool IsGeneralOrder(TextOrder order);

// Longest key Jet stores whole; longer keys are cut in a way we do not make.
inline constexpr size_t kMaxIndexKeySize = 510;

// Names used in messages: the table and the index (its logical names).
struct KeyLabels {
  std::string table;
  std::string index;
};

// The logical index names that share real index `real`, joined with "/".
std::string IndexLabel(const TableDef& def, size_t real);

// Sort order of a Text or Memo column: its LCID and version, or the format's default when
// the column stores none. NotSupported names the column and the LCID/version when Jet's
// keys for that order are not known.
Result<TextOrder> TextOrderOf(const JetFormat& f, const ColumnDef& c);

// The key of one row in `index`. `by_column` holds the row's values indexed like
// def.columns (Value types as ValueDecoder makes them). NotSupported when the key cannot be
// made exactly (unknown sort order, a character without a key, a key over 510 bytes);
// InvalidArgument when a value does not fit its column. Messages name the table, the
// index and the column.
Result<std::vector<uint8_t>> EncodeIndexKey(const JetFormat& f, const TableDef& def,
                                            const RealIndex& index,
                                            std::span<const Value> by_column,
                                            const KeyLabels& labels);
// The same into `key` (replacing what it held), its errors not yet labelled: a row's key
// needs no labels unless it fails, and KeyError() gives them as the form above does.
Status EncodeIndexKey(const JetFormat& f, const TableDef& def, const RealIndex& index,
                      std::span<const Value> by_column, std::vector<uint8_t>& key);
// "table T, index I: " before an error of the key of that index.
Status KeyError(const Status& error, const KeyLabels& labels);

// One column's part of a key (flag byte included). `order` is used for Text/Memo only.
// Errors name the column; the caller adds the table and index.
Status AppendColumnKey(const ColumnDef& c, TextOrder order, bool ascending, const Value& v,
                       std::vector<uint8_t>& out);

// The key bytes of a text value without the flag byte; errors name the character
// ("U+011F (ğ)") and the order.
Status AppendTextKey(TextOrder order, std::string_view utf8, bool ascending,
                     std::vector<uint8_t>& out);

// True when every character of `utf8` has a key in `order` (the check AppendTextKey makes).
bool TextHasKey(TextOrder order, std::string_view utf8);

// "U+011F (ğ)".
std::string DescribeCharacter(uint32_t code_point);

}  // namespace px::jet
