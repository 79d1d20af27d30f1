#pragma once
// Where pages come from: a file opened read-only or a buffer in memory, behind one
// interface, and the Pager that cuts it into pages through a small bounded cache.

#include <cstdint>
#include <filesystem>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/bytes.h"
#include "core/result.h"

namespace px::jet {

// A read-only byte store. Read fails (never zero-fills) when the range passes the end.
class PageSource {
 public:
  virtual ~PageSource() = default;
  // The name used in messages (the file path as the user gave it).
  virtual const std::string& name() const = 0;
  virtual uint64_t size() const = 0;
  virtual Status Read(uint64_t offset, MutableBytes out) = 0;
};

Result<std::unique_ptr<PageSource>> OpenFileSource(const std::filesystem::path& path,
                                                   std::string display_name);
std::unique_ptr<PageSource> MemorySource(std::vector<uint8_t> bytes, std::string display_name);

using PageData = std::shared_ptr<const std::vector<uint8_t>>;

// One page: its number and its bytes (exactly page_size of them). Holding a Page keeps its
// bytes alive after the cache has dropped them.
struct Page {
  uint32_t number = 0;
  PageData data;
  Bytes bytes() const { return Bytes(data->data(), data->size()); }
  uint8_t type() const { return (*data)[0]; }
};

// Pages that stand in for the source's: the changed and appended pages of an open write
// transaction (page_store.h). Pages it returns are never cached by the Pager.
class PageOverlay {
 public:
  virtual ~PageOverlay() = default;
  // The overlay's page `number`, or a null PageData when the source's page stands.
  virtual Result<PageData> Lookup(uint32_t number) = 0;
  // Pages in the database as it stands with the overlay (the source's and the appended).
  virtual uint32_t page_count() const = 0;
};

// Cuts a source into pages, undoes page encoding when the database key is set, and keeps
// the most recently used pages (at most `cache_pages`) in memory.
class Pager {
 public:
  static constexpr size_t kDefaultCachePages = 256;

  Pager(std::unique_ptr<PageSource> source, uint32_t page_size, uint32_t db_key,
        size_t cache_pages = kDefaultCachePages);

  // Page `number`, or Corruption naming the file when it lies beyond the end of the file.
  Result<Page> Get(uint32_t number);

  uint32_t page_size() const { return page_size_; }
  uint32_t page_count() const { return overlay_ ? overlay_->page_count() : page_count_; }

  // Reads through `overlay` first from now on (nullptr: the source alone). REQUIRES: the
  // overlay outlives the Pager or is reset before it goes.
  void SetOverlay(PageOverlay* overlay) { overlay_ = overlay; }
  // Forgets cached pages and re-reads the source's size: after the file under the source
  // has been replaced.
  void Refresh();
  const std::string& file_name() const { return source_->name(); }

 private:
  Result<PageData> Load(uint32_t number);

  std::unique_ptr<PageSource> source_;
  uint32_t page_size_;
  uint32_t db_key_;
  uint32_t page_count_;
  size_t capacity_;
  PageOverlay* overlay_ = nullptr;
  std::list<std::pair<uint32_t, PageData>> lru_;  // front = most recent
  std::unordered_map<uint32_t, decltype(lru_)::iterator> index_;
  std::shared_ptr<std::vector<uint8_t>> spare_;  // a dropped page's buffer, for the next read
};

}  // namespace px::jet
