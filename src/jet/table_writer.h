#pragma once
// Rows of one table written through the page store, with every real index kept exact.
//
// Insert: AutoNumber columns take the next counter value when Null (a given value is
// stored as given and the counter moves past it); values are encoded, the index keys made
// and checked (a required index refuses Null; a unique one a key it holds already, see
// below for when) before anything is written. Long values go inline when small and the row has
// room, otherwise into LVAL rows (long_value_writer.h). The row goes to the first page of the
// table's free-space map that takes it, else to a new page entered in the owned and
// free-space maps; a page that cannot take a row leaves the free-space map. The table
// definition gains its row count and AutoNumber counter (with deferred index entries, when
// the indexes take them: see below).
//
// With TableWriterOptions::defer_index_entries, index entries of inserted rows wait in a
// sorted buffer per index (EntryRuns, spilling to the scratch file beside the database)
// until FlushIndexes(), which the writer calls before a commit and which Update calls
// first (DeleteAll drops them with their rows). A few entries against a large index go in
// one B-tree insert at a time; otherwise the index is merged with them and laid out anew
// (IndexWriter::Rebuild). Unique keys of inserted rows are therefore checked at the flush,
// not at Insert: a violation (against a row already there or among the new rows) fails the
// flush naming the table, the index and the value, and leaves the index half changed, so
// the transaction must be rolled back; the file itself never sees it. The flush also sets
// the indexes' distinct-key counts and writes the row count and AutoNumber counter of the
// rows inserted since the last flush into the definition page (definition() has them at
// once); a reader of the definition must therefore follow a flush. Without the option each entry
// goes into its B-tree at once and Insert refuses a unique key itself.
//
// DeleteAll: every row of the owned pages is dropped with its long values (an LVAL page
// left without live rows is freed); the table's data pages are emptied and kept, listed in
// the free-space map, so that the rows inserted next reuse them; every index is emptied to
// its root page; the row count and distinct-key counts become 0 (the AutoNumber counter
// stays, as in Jet).
//
// Update: rows are rewritten where they stand when the new row has the same length (or,
// in Jet 4, a shorter one, padded); otherwise the new row goes to another page flagged
// deleted, so that scans pass it by, and the old slot becomes an overflow pointer to it, as
// Jet does; the row keeps its place and its index entries their row pointer. Index entries
// whose key changed are replaced; unique keys are checked before the row is touched.
//
// Memory: a page and a row at a time; index changes hold one root-to-leaf path, waiting
// entries up to EntryRuns' bound per index.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "jet/format.h"
#include "jet/index_writer.h"
#include "jet/row_codec.h"
#include "jet/tabledef.h"
#include "jet/value_encoder.h"
#include "jet/writable_pages.h"

namespace px::jet {

// The key bytes (without the row pointer) of `index` for a row whose values are indexed
// like def.columns, into `key` (replacing what it held). Supplied by the key encoder; an
// error refuses the change.
using IndexKeyFunction =
    std::function<Status(const TableDef& def, const RealIndex& index, std::span<const Value> values,
                         std::vector<uint8_t>& key)>;

// Keys as Access makes them (index_key.h), labelled with the table's name.
IndexKeyFunction AccessIndexKeys(const JetFormat& f, std::string table_name);

struct TableWriterOptions {
  int code_page = 1252;        // Jet 3 text of columns that name no code page of their own
  IndexKeyFunction index_key;  // required when the table has indexes
  // Index entries of inserted rows wait for FlushIndexes() (see above); when false, each
  // goes into its B-tree at once and unique keys are refused by Insert itself.
  bool defer_index_entries = false;
};

class TableWriter {
 public:
  // REQUIRES: `pages` outlives the writer. `def` is the table's definition as it stands.
  static Result<std::unique_ptr<TableWriter>> Open(WritablePages& pages, const JetFormat& f,
                                                   TableDef def, std::string table_name,
                                                   TableWriterOptions options);

  // One row, values indexed like definition().columns. Its index entries wait for
  // FlushIndexes().
  Status Insert(std::span<const Value> values);
  // The same on values the caller gives up: AutoNumber columns are filled in place.
  Status Insert(std::vector<Value>& values);
  // Brings every index up to date with the rows inserted, and the definition page with the
  // counters; refuses a unique key held twice.
  Status FlushIndexes();
  // Writes the row count and AutoNumber counter of rows inserted since into the definition
  // page (FlushIndexes() does so too), for a reader of the definition.
  Status SaveCounters() { return counters_dirty_ ? WriteCounters() : Status::Ok(); }
  // Every row; the number deleted.
  Result<uint64_t> DeleteAll();
  // Calls `change` on every row (values indexed like definition().columns) and rewrites the
  // rows for which it returns true; the number rewritten.
  Result<uint64_t> Update(const std::function<Result<bool>(std::vector<Value>& values)>& change);

  // The owned-pages map of a long-value column's LVAL pages (page 0 when the definition
  // lists none); `column` indexes definition().columns.
  RowPointer LongValuePagesMap(size_t column) const { return long_value_maps_[column].owned; }

  // The definition with the counters as written so far.
  const TableDef& definition() const { return def_; }

 private:
  TableWriter(WritablePages& pages, const JetFormat& f, TableDef def, std::string table_name,
              TableWriterOptions options);

  struct Keys {
    std::vector<std::vector<uint8_t>> key;  // per real index
    std::vector<bool> skip;                 // per real index: no entry (all Null, ignore nulls)
  };

  Status AssignAutoNumbers(std::vector<Value>& values);
  Status MakeKeys(std::span<const Value> values, const std::string& where, Keys& keys);
  Status CheckUnique(const Keys& keys, std::span<const Value> values, const Keys* old_keys);
  // The row into `row`; `keep_long_values` (when not empty) are long values stored already.
  Status BuildRow(std::span<const Value> values, const std::string& where,
                  std::span<const ColumnData> keep_long_values, std::vector<uint8_t>& row);
  Result<RowPointer> PlaceRow(Bytes row, uint16_t flags);
  Result<uint32_t> PageWithRoom(size_t row_size);
  // The LVAL pages of a long-value column: its own usage maps (the list at the end of the
  // table definition), when the definition has them.
  struct LongValueMaps {
    RowPointer owned;
    RowPointer free;
    uint32_t current = 0;  // LVAL page its values go to while it has room
  };
  Status ReadLongValueMaps();
  LongValueMaps& MapsOf(size_t column);
  Status ListLongValuePage(LongValueMaps& maps, uint32_t page, bool owned, bool free);
  Result<RowPointer> WriteLongValueRow(size_t column, Bytes row);
  // The column's bytes in the row (`out`): the value inline or a descriptor of where it went.
  Status StoreLongValue(size_t column, Bytes payload, bool inline_fits, std::vector<uint8_t>& out);
  Status FreeLongValue(size_t column, Bytes descriptor, const std::string& where);
  Result<std::vector<uint8_t>> ReadLongValueBytes(Bytes descriptor, const std::string& where);
  Result<std::vector<Value>> DecodeRow(Bytes row, const std::string& where);
  // A live row where the table lists it: `id` its slot, `at` where its bytes are (an
  // overflow row's target), `slot` the bytes listed at `id`, `row` the row's own bytes.
  struct Place {
    RowPointer id;
    RowPointer at;
    std::vector<uint8_t> slot;
    std::vector<uint8_t> row;
    bool lookup = false;
  };
  // `raw` is the row's entry in its page's row table.
  Status ReadPlace(Bytes page, RowPointer id, uint16_t raw, Place& out);
  // Every live row of the owned pages, a page at a time; `page_done` after each page.
  Status ForEachRow(const std::function<Status(Place&)>& visit,
                    const std::function<Status(uint32_t page)>& page_done);
  Status FlushIndex(size_t real);
  Status Duplicate(size_t real, Bytes leaf_entry);
  Status AddIndexEntries(const Keys& keys, RowPointer row);
  Status RemoveIndexEntries(const Keys& keys, RowPointer row);
  Status WriteCounters();
  std::string IndexName(size_t real) const;
  std::string KeyText(size_t real, std::span<const Value> values) const;
  std::string Where(uint32_t page) const;

  WritablePages& pages_;
  const JetFormat& f_;
  TableDef def_;
  std::string name_;
  std::string row_where_;  // "table " + name_: where a row's error is
  TableWriterOptions options_;
  std::vector<IndexWriter> indexes_;
  std::vector<EntryRuns> pending_;              // per real index: entries of inserted rows
  bool direct_ = false;                         // index entries go straight into the B-tree
  uint32_t insert_page_ = 0;                    // data page rows go to while it has room
  std::vector<LongValueMaps> long_value_maps_;  // per column (unused for other columns)
  bool counters_dirty_ = false;                 // counters changed since the page has them
  // Kept from row to row so that an insert reuses their storage.
  Keys keys_;
  std::vector<EncodedValue> encoded_;
  std::vector<ColumnData> columns_;
  std::vector<std::vector<uint8_t>> payloads_;  // new long values, per column
  std::vector<uint8_t> row_;
};

}  // namespace px::jet
