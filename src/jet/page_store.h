#pragma once
// The pages of a database opened for change, with a transaction that a crash cannot tear.
//
// Unchanged pages are read from the file; a page changed in the open transaction lives in
// the overlay: in memory up to a bound, beyond it in a spill file beside the database
// (".~NAME.pages.tmp", removed when the store closes). A spilled page goes to the place it
// has in the database, so the spill file grows into the new file: pages appended in order
// and spilled are written once. The overlay costs one bit per page of the database beside
// the pages in memory. Readers see the overlay: the store's Pager reads through it, so a
// Database built on pager() sees every uncommitted change.
//
// Commit() completes the spill file (unchanged pages copied from the original, pages in
// memory written), flushes it, renames it over the original and flushes the folder. Until
// the rename the original is untouched; the rename is atomic. A failure leaves the original
// as it was and the transaction open (Rollback() drops it).
//
// Databases that commit together (db/group_commit.h) split Commit() in two: Prepare() leaves
// the new file complete and flushed as ".~NAME.commit.tmp" beside the original, and Finish()
// renames it over the original. A spill file ".~NAME.pages.tmp" (and a scratch file
// ".~NAME.runs.tmp") is never anything but a transaction's scratch, so a store that opens a
// database removes one a killed program left, under the database's lock; a store that creates
// one removes them before it starts (a database is not locked before its file exists: two
// programs creating the same database at once are not supported). A prepared file is the
// business of the group's commit record, and while one lies beside a database the store
// refuses to open it.
//
// The file is locked for the store's lifetime (platform::FileLayer::LockExclusive), and a
// file with Jet's ".ldb" lock file beside it is refused.
//
// Pages are allocated by reusing the lowest page the global usage map (page 1, row 0: bit
// set = page free) marks free, or one this store freed (free_pages.h), and otherwise by
// appending to the file; the map is kept consistent with both. An inline map that cannot
// name a page is promoted to a reference map, as Access does for larger files. The map is
// not trusted blindly: a data or index page it calls free that its owner's table still
// claims (in the map of its rows, of its long values or of an index) is never reused, as
// `mdb kontrol` reports such a page.

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/free_pages.h"
#include "jet/page_source.h"
#include "jet/writable_pages.h"

namespace px::platform {
class File;
class FileLayer;
class FileLock;
}  // namespace px::platform

namespace px::jet {

// A page being changed. Its bytes stay valid (and are never spilled) while the handle is
// held; changes are visible to readers at once.
class MutablePage {
 public:
  MutablePage() = default;
  MutablePage(uint32_t number, std::shared_ptr<std::vector<uint8_t>> data)
      : number_(number), data_(std::move(data)) {}
  uint32_t number() const { return number_; }
  MutableBytes bytes() const { return MutableBytes(data_->data(), data_->size()); }
  uint8_t* data() const { return data_->data(); }

 private:
  uint32_t number_ = 0;
  std::shared_ptr<std::vector<uint8_t>> data_;
};

struct PageStoreOptions {
  // Changed pages kept in memory before the overlay spills to its file.
  size_t memory_bytes = size_t{16} << 20;
};

// Page 1 holds the database-wide usage map in its row 0.
inline constexpr uint32_t kGlobalMapPage = 1;

class PageStore final : public PageOverlay {
 public:
  // An existing database, locked for change. `display_name` (default: the path) names it
  // in messages. Refuses encrypted files and files in use.
  static Result<std::unique_ptr<PageStore>> Open(platform::FileLayer& files,
                                                 const std::string& host_path,
                                                 std::string display_name = {},
                                                 PageStoreOptions options = {});
  // A database that does not exist yet: every page is allocated in the overlay and the file
  // appears at the first Commit(), which refuses to replace an existing file.
  static Result<std::unique_ptr<PageStore>> Create(platform::FileLayer& files,
                                                   const std::string& host_path,
                                                   const JetFormat& format,
                                                   std::string display_name = {},
                                                   PageStoreOptions options = {});
  ~PageStore() override;
  PageStore(const PageStore&) = delete;
  PageStore& operator=(const PageStore&) = delete;

  const JetFormat& format() const { return *format_; }
  uint32_t page_size() const { return format_->page_size; }
  uint32_t page_count() const override { return page_count_; }
  const std::string& name() const { return display_name_; }
  const std::string& path() const { return path_; }

  // The database as it stands, open changes included.
  Result<Page> Get(uint32_t number) { return pager_->Get(number); }
  // The page, copied into the overlay on first change.
  Result<MutablePage> Modify(uint32_t number);
  // A new page of `page_type` (0x01, 0x02, 0x03, 0x04, 0x05): zero-filled, its first byte
  // the type, byte 1 = 0x01, and for data and index pages `owner` at offset 4 and the free
  // space at offset 2 (data pages only). Marked used in the global usage map.
  Result<MutablePage> Allocate(uint8_t page_type, uint32_t owner);
  // Marks a page free in the global usage map; it may be handed out again by Allocate().
  Status Free(uint32_t number);

  // True when the open transaction has changed anything.
  bool changed() const {
    return !resident_.empty() || spilled_count_ != 0 || page_count_ != committed_page_count_;
  }
  Status Commit();
  // Rollback() after Prepare() removes the prepared file.
  void Rollback();

  // The first half of a commit shared with other databases: the new database complete and
  // flushed in PreparedFileBeside(path()), the original untouched. False when the
  // transaction changed nothing (there is no file, and Finish() does nothing). Afterwards
  // nothing changes the store but Finish() or Rollback(). A failure leaves the transaction
  // open and no prepared file.
  Result<bool> Prepare();
  // The second half: the prepared file renamed over the original. On failure the original
  // is in place, the store is back at it with the transaction dropped, and the prepared file
  // stays where it is for the commit record's owner to finish.
  Status Finish();
  bool prepared() const { return prepared_; }

  // The reader over the store (overlay included); the Database of a writer uses it.
  Pager& pager() { return *pager_; }

  // PageOverlay
  Result<PageData> Lookup(uint32_t number) override;

  // Scratch space for sorted index entries (writable_pages.h): ".~NAME.runs.tmp" beside
  // the database, made at the first append and removed when the transaction ends.
  Result<uint64_t> AppendScratch(Bytes bytes);
  Status ReadScratch(uint64_t offset, MutableBytes out);

  // Pages of the overlay in memory and spilled (tests and benchmarks).
  size_t resident_pages() const { return resident_.size(); }
  size_t spilled_pages() const;

 private:
  struct Slot {
    std::shared_ptr<std::vector<uint8_t>> mem;
    bool dirty = false;  // changed since it was last spilled (or never spilled)
  };
  class StoreSource;

  PageStore(platform::FileLayer& files, std::string path, std::string display_name,
            const JetFormat& format, PageStoreOptions options);
  Status LockAndOpenBase();
  // The page in memory when the overlay has it (read back from the spill file if need be),
  // else null.
  Result<Slot*> Resident(uint32_t number);
  bool Spilled(uint32_t number) const { return number < spilled_.size() && spilled_[number]; }
  Status OpenSpill();
  Status SpillSome();
  Status MarkGlobal(uint32_t number, bool free);
  // Rewrites the inline global map `row` as a reference map, on bitmap pages appended to
  // the file, stating the pages of free_ free and every other page of the file used.
  Status PromoteGlobalMap(uint8_t* row, size_t row_len);
  // A bitmap page appended for slot `slot` of the reference global map.
  Result<uint32_t> AppendGlobalMapPage(size_t slot);
  // Writes every page the spill file lacks into it: the new database, flushed.
  Status CompleteSpill();
  Status ReadBase(uint32_t number, MutableBytes out);
  // The spill file completed into the new file and flushed (an existing file refuses a
  // created database's).
  Status WriteNewFile();
  // Renames `from` (complete and flushed) over the database and opens the result; on failure
  // takes the original back.
  Status Install(const std::string& from);
  void DropTemporaries();
  // True when the page, marked free by the page map, is claimed by the table its header
  // names as owner: a map that is wrong about it. The owners' claims are kept per
  // transaction (claimed_).
  Result<bool> ClaimedByOwner(uint32_t number);
  // The pages the maps of the table defined at `owner` name, by number.
  Result<std::vector<bool>> ClaimsOf(uint32_t owner);
  Result<uint32_t> ReusablePage();
  std::string Where(uint32_t number) const;

  platform::FileLayer& files_;
  std::string path_;
  std::string display_name_;
  const JetFormat* format_;
  PageStoreOptions options_;
  std::unique_ptr<platform::FileLock> lock_;
  std::unique_ptr<platform::File> base_;  // null for a database not yet written
  std::unique_ptr<Pager> pager_;
  uint32_t page_count_ = 0;
  uint32_t committed_page_count_ = 0;
  std::unordered_map<uint32_t, Slot> resident_;  // overlay pages in memory
  std::list<uint32_t> resident_order_;           // oldest first; may list pages no longer resident
  std::vector<bool> spilled_;                    // by page number: a copy sits in the spill file
  size_t spilled_count_ = 0;
  std::unique_ptr<platform::File> spill_;
  bool spill_made_ = false;  // this transaction made the spill file
  std::unique_ptr<platform::File> scratch_;
  uint64_t scratch_end_ = 0;
  FreePages free_;  // reusable: free in the page map, or freed since
  FreePages committed_free_;
  // By page number: marked free by the map as read, not yet looked at (ClaimedByOwner);
  // and found claimed, never to be handed out.
  std::vector<bool> unverified_;
  std::vector<bool> refused_;
  std::pair<std::vector<bool>, std::vector<bool>> committed_checks_;  // both, as committed
  // By owner: the pages it claims; empty when that could not be read (all of them).
  std::unordered_map<uint32_t, std::vector<bool>> claimed_;
  bool prepared_ = false;  // the new file waits in PreparedFileBeside(path_)
};

// The store as the row and index writers see it (writable_pages.h). A span it hands out
// keeps its page from being spilled until the next call.
class PageStorePages final : public WritablePages {
 public:
  explicit PageStorePages(PageStore& store) : store_(store) {}
  const std::string& file_name() const override { return store_.name(); }
  uint32_t page_count() const override { return store_.page_count(); }
  Result<Bytes> Read(uint32_t page) override;
  Result<MutableBytes> Modify(uint32_t page) override;
  Result<uint32_t> Allocate() override;
  Status Free(uint32_t page) override { return store_.Free(page); }
  bool has_scratch() const override { return true; }
  Result<uint64_t> AppendScratch(Bytes bytes) override { return store_.AppendScratch(bytes); }
  Status ReadScratch(uint64_t offset, MutableBytes out) override {
    return store_.ReadScratch(offset, out);
  }

 private:
  PageStore& store_;
  Page read_;
  MutablePage modified_;
};

// The spill file of a database at `host_path`: ".~NAME.pages.tmp" beside it.
std::string SpillFileBeside(const std::string& host_path);
// The scratch file of a database at `host_path`: ".~NAME.runs.tmp" beside it.
std::string ScratchFileBeside(const std::string& host_path);
// The prepared new file of a database at `host_path` between the two halves of a shared
// commit: ".~NAME.commit.tmp" beside it.
std::string PreparedFileBeside(const std::string& host_path);
// The database a spill, scratch or prepared file at `path` belongs to (the same folder);
// nullopt for any other name.
std::optional<std::string> DatabaseOfTemporary(const std::string& path);
// Jet's lock file of a database: the same name with ".ldb" for its extension.
std::string LdbPathOf(const std::string& host_path);

}  // namespace px::jet
