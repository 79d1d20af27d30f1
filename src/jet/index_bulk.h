#pragma once
// New entries of one index gathered during a transaction, to be merged into the index at
// once rather than one B-tree insert per row.
//
// EntryRuns keeps entries (key bytes + big-endian row pointer) in a buffer; when the buffer
// passes its bound it is sorted and written as a run to the scratch file beside the
// database (WritablePages::AppendScratch, ".~NAME.runs.tmp"), so memory stays bounded
// however many rows arrive. Sorted() hands out every entry in ascending byte order, merging
// the runs with the buffer. A store without scratch space keeps the runs in memory.
//
// IndexPageBuilder lays out an index bottom-up from entries given in ascending order: each
// leaf is filled until the next entry does not fit, then the nodes over the leaves are
// filled the same way (each node's last child is its tail, every other child has an entry
// holding the largest leaf entry under it); pages on one level are chained through their
// prev/next links, and the single page left at the top goes to the root page the table
// definition names. The page layout is index_page.h's.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/index_page.h"
#include "jet/tabledef.h"
#include "jet/writable_pages.h"

namespace px::jet {

// Entries in ascending byte order, one at a time.
class EntryStream {
 public:
  virtual ~EntryStream() = default;
  // The next entry into `entry` (valid until the next call); false at the end.
  virtual Result<bool> Next(Bytes& entry) = 0;
};

class EntryRuns {
 public:
  // Buffer bytes held before a run is written out.
  static constexpr size_t kDefaultBufferBytes = size_t{2} << 20;

  explicit EntryRuns(WritablePages& pages, size_t buffer_bytes = kDefaultBufferBytes)
      : pages_(&pages), buffer_bytes_(buffer_bytes) {}

  // The entry of `key` and `row`.
  Status Add(Bytes key, RowPointer row);
  // Entries added since the last Clear().
  uint64_t size() const { return count_; }
  bool empty() const { return count_ == 0; }
  // Forgets every entry (the scratch space they used is the store's to drop).
  void Clear();
  // Every entry in ascending order. The runs must not change while the stream is read.
  Result<std::unique_ptr<EntryStream>> Sorted();

 private:
  struct Slot {
    uint64_t prefix;  // the first eight bytes, big-endian, zeros past the end: sorts first
    uint32_t at;
    uint16_t length;
  };
  struct Run {
    uint64_t offset;  // in the scratch file, or into memory_runs_ when spilled to memory
    uint64_t bytes;
    bool in_memory;
  };
  void SortBuffer();
  Status WriteRun();

  WritablePages* pages_;
  size_t buffer_bytes_;
  std::vector<uint8_t> buffer_;
  std::vector<Slot> slots_;
  std::vector<Run> runs_;
  std::vector<std::vector<uint8_t>> memory_runs_;
  uint64_t count_ = 0;
};

// Merges two or more ascending streams into one.
std::unique_ptr<EntryStream> MergeStreams(std::vector<std::unique_ptr<EntryStream>> inputs);

class IndexPageBuilder {
 public:
  // `what` ("index Kod of table Cari") goes into messages.
  IndexPageBuilder(WritablePages& pages, const JetFormat& f, uint32_t table_page,
                   const RealIndex& index, std::string what);

  // The next entry; larger than every entry before it.
  Status Add(Bytes entry);
  // Writes the pages still open; the root page receives the top of the tree.
  Status Finish();

 private:
  struct Level {
    IndexPage page;
    size_t bytes = 0;       // of the entries
    uint32_t number = 0;    // page number, once known
    EntryBytes last;        // nodes: the newest child's entry, the tail-to-be
    bool has_last = false;  // nodes
    bool closed_one = false;
  };
  bool Fits(const Level& level, Bytes extra) const;
  // Closes the level's page, keeping `keep_from` and later entries for the next page.
  Status Close(size_t level, size_t keep_from);
  Status AddAt(size_t level, EntryBytes entry);
  Status Write(uint32_t number, const IndexPage& content);
  Result<uint32_t> NewPage();

  WritablePages& pages_;
  const JetFormat& f_;
  uint32_t table_page_;
  const RealIndex& index_;
  std::string what_;
  std::vector<Level> levels_;
  std::vector<EntryBytes> spare_;  // storage of entries on pages written, for the next ones
};

}  // namespace px::jet
