#pragma once
// Trust, then verify: before we change a table of a file someone else wrote, the keys
// already in its indexes are made again from the rows they point at and compared with the
// bytes on disk. Equal keys prove the encoder for that file's sort orders and characters;
// a difference refuses the change. The same walk serves the integrity check (`mdb
// kontrol`), which collects findings instead of stopping at the first.
//
// What a verified walk proves for text orders whose tables are measured rather than
// public (Turkish): exactly the characters that occurred in the keys compared. Keys with
// other characters in such an order may not be written (VerifiedCharacters::MayEncode);
// General orders need no proof beyond their tables.

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "jet/database.h"
#include "jet/index_key.h"

namespace px::jet {

class VerifiedCharacters {
 public:
  // Records the characters of a text value whose key was found equal on disk.
  void Add(TextOrder order, std::string_view utf8);
  // OK when a key of `utf8` in `order` may be written: in a General order when every
  // character has a key; in another order when, in addition, every character occurred in a
  // verified key. NotSupported names the order and the first unproven character.
  Status MayEncode(TextOrder order, std::string_view utf8) const;
  // MayEncode for every text column of `index` in a row (values indexed like def.columns),
  // General orders left to EncodeIndexKey, which refuses the same characters; errors name
  // the table and index. Callers encode the key next.
  Status MayEncodeKey(const JetFormat& f, const TableDef& def, const RealIndex& index,
                      std::span<const Value> by_column, const KeyLabels& labels) const;
  // The same with the labels made only for an error.
  Status MayEncodeKey(const JetFormat& f, const TableDef& def, const RealIndex& index,
                      std::span<const Value> by_column,
                      const std::function<KeyLabels()>& labels) const;

 private:
  std::map<TextOrder, std::set<uint32_t>> seen_;
};

// The key of a row for a writer: EncodeIndexKey after MayEncodeKey, so that a key in an
// order the file has not proven is refused rather than guessed.
Result<std::vector<uint8_t>> EncodeProvenKey(const JetFormat& f, const TableDef& def,
                                             const RealIndex& index,
                                             std::span<const Value> by_column,
                                             const KeyLabels& labels,
                                             const VerifiedCharacters& verified);

// Result of walking one index.
struct IndexWalk {
  std::string label;           // logical index names
  uint64_t entries = 0;        // leaf entries walked
  std::vector<uint32_t> rows;  // every entry's row pointer (page << 8 | row), in index order
  std::vector<std::string> findings;
  uint64_t unchecked = 0;     // entries whose key cannot be made (unknown order or character)
  std::string unchecked_why;  // the first such entry and why
};

// Walks the leaf level of real index `real` of a table: every entry must point at a live
// row of the table, carry exactly the key the encoder makes of that row, and follow the
// previous entry in byte order (key, then row pointer). Up to `max_findings` differences
// are collected in `out.findings` (they name the table, index, leaf page and row); entries
// whose key the encoder cannot make are counted apart (out.unchecked), not findings;
// structural damage that stops the walk is the returned error. Characters of keys found
// equal are added to `verified` (may be null).
Status WalkIndex(Database& db, const std::string& table, const TableDef& def, size_t real,
                 size_t max_findings, VerifiedCharacters* verified, IndexWalk& out);

// Verification before the first change to a table: every index of `table`; the first
// difference is the error (Corruption naming the table, index and the first differing
// key). NotSupported when a stored key cannot be re-made (unknown sort order or
// character). On success `verified` (may be null) knows the characters proven.
Status VerifyIndexKeys(Database& db, const CatalogEntry& table, VerifiedCharacters* verified);

// "7f 4a 01 00" (at most `limit` bytes, then "...").
std::string HexBytes(std::span<const uint8_t> bytes, size_t limit = 64);

inline uint32_t PackRowPointer(RowPointer p) {
  return p.page << 8 | p.row;
}
inline RowPointer UnpackRowPointer(uint32_t v) {
  return RowPointer{v >> 8, uint8_t(v & 0xFF)};
}

}  // namespace px::jet
