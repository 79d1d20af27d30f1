#include "jet/page_store.h"

#include <algorithm>
#include <cstring>
#include <tuple>

#include "jet/header.h"
#include "jet/tabledef.h"
#include "jet/usage_map.h"
#include "platform/files.h"
#include "platform/utf8_path.h"

namespace px::jet {

namespace {

// Pages copied per write when the new file is assembled.
constexpr size_t kCopyChunkPages = 64;
// Offset of the free-space field on data pages.
constexpr size_t kDataFreeSpace = 2;

std::string FileNameOf(const std::string& path) {
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// A prepared file beside a database is a shared commit that a killed program left undecided
// or unfinished: until its commit record has been dealt with, the database is not opened.
Status RefusePrepared(platform::FileLayer& files, const std::string& host_path,
                      const std::string& display_name) {
  const std::string prepared = PreparedFileBeside(host_path);
  if (!files.Exists(prepared)) return Status::Ok();
  return Status::Busy(display_name +
                      ": an interrupted restore has not finished with the database (" + prepared +
                      " lies beside it); run the restore again to finish it or put it back");
}

}  // namespace

std::string SpillFileBeside(const std::string& host_path) {
  std::string temp = platform::TempNameBeside(host_path);  // ".~NAME.tmp"
  return temp.substr(0, temp.size() - 4) + ".pages.tmp";
}

std::string ScratchFileBeside(const std::string& host_path) {
  std::string temp = platform::TempNameBeside(host_path);
  return temp.substr(0, temp.size() - 4) + ".runs.tmp";
}

std::string PreparedFileBeside(const std::string& host_path) {
  std::string temp = platform::TempNameBeside(host_path);
  return temp.substr(0, temp.size() - 4) + ".commit.tmp";
}

std::optional<std::string> DatabaseOfTemporary(const std::string& path) {
  const std::filesystem::path p = PathFromUtf8(path);
  const std::string name = Utf8FromPath(p.filename());
  if (!name.starts_with(".~")) return std::nullopt;
  for (std::string_view tail : {".pages.tmp", ".runs.tmp", ".commit.tmp"}) {
    if (name.size() > 2 + tail.size() && name.ends_with(tail)) {
      const std::string database = name.substr(2, name.size() - 2 - tail.size());
      return Utf8FromPath(p.parent_path() / PathFromUtf8(database));
    }
  }
  return std::nullopt;
}

std::string LdbPathOf(const std::string& host_path) {
  const std::string name = FileNameOf(host_path);
  const size_t dot = name.find_last_of('.');
  const std::string stem = dot == std::string::npos || dot == 0
                               ? host_path
                               : host_path.substr(0, host_path.size() - (name.size() - dot));
  return stem + ".ldb";
}

// The Pager's view of the file under the overlay: the base file as last committed.
class PageStore::StoreSource final : public PageSource {
 public:
  explicit StoreSource(PageStore& store) : store_(store) {}
  const std::string& name() const override { return store_.display_name_; }
  uint64_t size() const override {
    return uint64_t(store_.committed_page_count_) * store_.page_size();
  }
  Status Read(uint64_t offset, MutableBytes out) override {
    if (store_.base_ == nullptr || offset + out.size() > size()) {
      return Status::Corruption(name() + ": data ends before offset " +
                                std::to_string(offset + out.size()));
    }
    PX_ASSIGN_OR_RETURN(size_t n, store_.base_->ReadAt(offset, out));
    if (n != out.size()) {
      return Status::Corruption(name() + ": file ends at offset " + std::to_string(offset + n) +
                                " inside a page");
    }
    return Status::Ok();
  }

 private:
  PageStore& store_;
};

PageStore::PageStore(platform::FileLayer& files, std::string path, std::string display_name,
                     const JetFormat& format, PageStoreOptions options)
    : files_(files),
      path_(std::move(path)),
      display_name_(display_name.empty() ? path_ : std::move(display_name)),
      format_(&format),
      options_(options) {
  pager_ = std::make_unique<Pager>(std::make_unique<StoreSource>(*this), format.page_size, 0);
  pager_->SetOverlay(this);
}

PageStore::~PageStore() {
  pager_->SetOverlay(nullptr);
  DropTemporaries();
}

void PageStore::DropTemporaries() {
  claimed_.clear();
  resident_.clear();
  resident_order_.clear();
  spilled_.clear();
  spilled_count_ = 0;
  if (spill_made_) {
    spill_.reset();
    spill_made_ = false;
    (void)files_.Remove(SpillFileBeside(path_));
  }
  if (scratch_ != nullptr) {
    scratch_.reset();
    (void)files_.Remove(ScratchFileBeside(path_));
  }
  scratch_end_ = 0;
}

Result<uint64_t> PageStore::AppendScratch(Bytes bytes) {
  if (scratch_ == nullptr) {
    auto file = files_.Open(ScratchFileBeside(path_), platform::OpenMode::kCreateAlways);
    if (!file.ok()) {
      return file.status().WithContext(display_name_ + ": cannot set index entries aside");
    }
    scratch_ = std::move(*file);
    scratch_end_ = 0;
  }
  Status st = scratch_->WriteAt(scratch_end_, bytes);
  if (!st.ok()) return st.WithContext(display_name_ + ": cannot set index entries aside");
  const uint64_t at = scratch_end_;
  scratch_end_ += bytes.size();
  return at;
}

Status PageStore::ReadScratch(uint64_t offset, MutableBytes out) {
  if (scratch_ == nullptr || offset + out.size() > scratch_end_) {
    return Status::Corruption(display_name_ + ": index entries set aside end before offset " +
                              std::to_string(offset + out.size()));
  }
  PX_ASSIGN_OR_RETURN(size_t n, scratch_->ReadAt(offset, out));
  if (n != out.size()) {
    return Status::IOError(scratch_->path() + ": ends at offset " + std::to_string(offset + n));
  }
  return Status::Ok();
}

Status PageStore::LockAndOpenBase() {
  const std::string ldb = LdbPathOf(path_);
  if (files_.Exists(ldb)) {
    return Status::IOError(display_name_ + ": the database is in use (lock file " + ldb +
                           " exists); close the accounting programs, or delete the lock file "
                           "if a crash left it behind");
  }
  auto lock = files_.LockExclusive(path_);
  if (!lock.ok()) {
    return lock.status().WithContext(display_name_ + ": cannot lock the database for change");
  }
  lock_ = std::move(*lock);
  PX_ASSIGN_OR_RETURN(base_, files_.Open(path_, platform::OpenMode::kRead));
  PX_ASSIGN_OR_RETURN(uint64_t size, base_->Size());
  committed_page_count_ = uint32_t(std::min<uint64_t>(size / page_size(), 0xFFFFFFu));
  page_count_ = committed_page_count_;
  pager_->Refresh();
  return Status::Ok();
}

Result<std::unique_ptr<PageStore>> PageStore::Open(platform::FileLayer& files,
                                                   const std::string& host_path,
                                                   std::string display_name,
                                                   PageStoreOptions options) {
  if (display_name.empty()) display_name = host_path;
  // The header decides the format; read it before taking the lock.
  std::vector<uint8_t> first(kHeaderMinimumBytes);
  {
    PX_ASSIGN_OR_RETURN(auto file, files.Open(host_path, platform::OpenMode::kRead));
    PX_ASSIGN_OR_RETURN(size_t n, file->ReadAt(0, first));
    first.resize(n);
  }
  PX_ASSIGN_OR_RETURN(DatabaseHeader header, DecodeHeader(first, display_name));
  if (header.db_key != 0) {
    return Status::NotSupported(display_name +
                                ": page 0: the database is encrypted; "
                                "decrypt it in Access before changing it");
  }
  PX_RETURN_IF_ERROR(RefusePrepared(files, host_path, display_name));
  std::unique_ptr<PageStore> store(
      new PageStore(files, host_path, std::move(display_name), *header.format, options));
  PX_RETURN_IF_ERROR(store->LockAndOpenBase());
  // With the lock held, a spill or scratch file beside the database is a killed program's.
  PX_RETURN_IF_ERROR(files.Remove(SpillFileBeside(host_path)));
  PX_RETURN_IF_ERROR(files.Remove(ScratchFileBeside(host_path)));
  if (store->page_count_ <= kGlobalMapPage) {
    return Status::Corruption(store->display_name_ +
                              ": page 1 (global usage map) is beyond "
                              "the end of the file");
  }
  auto free = ReadFreePages(*store->pager_, *header.format, store->page_count_);
  if (!free.ok()) return free.status();
  store->free_ = std::move(*free);
  store->committed_free_ = store->free_;
  store->unverified_.assign(store->page_count_, false);
  for (uint32_t p = 0; p < store->page_count_; ++p) {
    if (store->free_.Contains(p)) store->unverified_[p] = true;
  }
  store->committed_checks_ = {store->unverified_, store->refused_};
  return store;
}

Result<std::unique_ptr<PageStore>> PageStore::Create(platform::FileLayer& files,
                                                     const std::string& host_path,
                                                     const JetFormat& format,
                                                     std::string display_name,
                                                     PageStoreOptions options) {
  if (display_name.empty()) display_name = host_path;
  if (files.Exists(host_path)) {
    return Status::InvalidArgument(display_name + ": the file already exists");
  }
  PX_RETURN_IF_ERROR(RefusePrepared(files, host_path, display_name));
  // A killed program's scratch for the same new database.
  PX_RETURN_IF_ERROR(files.Remove(SpillFileBeside(host_path)));
  PX_RETURN_IF_ERROR(files.Remove(ScratchFileBeside(host_path)));
  return std::unique_ptr<PageStore>(
      new PageStore(files, host_path, std::move(display_name), format, options));
}

std::string PageStore::Where(uint32_t number) const {
  return display_name_ + ": page " + std::to_string(number);
}

size_t PageStore::spilled_pages() const {
  size_t n = 0;
  for (uint32_t p = 0; p < spilled_.size(); ++p) n += spilled_[p] && !resident_.count(p) ? 1 : 0;
  return n;
}

Status PageStore::ReadBase(uint32_t number, MutableBytes out) {
  if (number >= committed_page_count_ || base_ == nullptr) {
    std::fill(out.begin(), out.end(), uint8_t{0});
    return Status::Ok();
  }
  PX_ASSIGN_OR_RETURN(size_t n, base_->ReadAt(uint64_t(number) * page_size(), out));
  if (n != out.size()) {
    return Status::Corruption(Where(number) + ": the file ends inside the page");
  }
  return Status::Ok();
}

Status PageStore::OpenSpill() {
  if (spill_ != nullptr) return Status::Ok();
  if (prepared_) {
    return Status::InvalidArgument(display_name_ + ": the changes are being committed");
  }
  auto spill = files_.Open(SpillFileBeside(path_), platform::OpenMode::kCreateAlways);
  if (!spill.ok()) {
    return spill.status().WithContext(display_name_ + ": cannot set changed pages aside");
  }
  spill_ = std::move(*spill);
  spill_made_ = true;
  return Status::Ok();
}

Result<PageStore::Slot*> PageStore::Resident(uint32_t number) {
  if (auto it = resident_.find(number); it != resident_.end()) return &it->second;
  if (!Spilled(number)) return nullptr;
  if (spill_ == nullptr) {
    return Status::InvalidArgument(Where(number) + ": the changes are being committed");
  }
  auto buf = std::make_shared<std::vector<uint8_t>>(page_size());
  PX_ASSIGN_OR_RETURN(size_t n, spill_->ReadAt(uint64_t(number) * page_size(), *buf));
  if (n != buf->size()) {
    return Status::IOError(Where(number) + ": the spill file " + spill_->path() +
                           " ends inside the page");
  }
  Slot& slot = resident_[number];
  slot.mem = std::move(buf);
  resident_order_.push_back(number);
  const std::shared_ptr<std::vector<uint8_t>> held = slot.mem;  // not spilled right away
  PX_RETURN_IF_ERROR(SpillSome());
  return &resident_.at(number);
}

Status PageStore::SpillSome() {
  const size_t limit = std::max<size_t>(options_.memory_bytes / page_size(), 8);
  // Each listed page is looked at once per call: held pages go to the back.
  size_t budget = resident_order_.size();
  while (resident_.size() > limit && budget-- > 0) {
    const uint32_t number = resident_order_.front();
    resident_order_.pop_front();
    auto it = resident_.find(number);
    if (it == resident_.end()) continue;
    Slot& slot = it->second;
    if (slot.mem.use_count() > 1) {
      resident_order_.push_back(number);
      continue;
    }
    if (slot.dirty || !Spilled(number)) {
      PX_RETURN_IF_ERROR(OpenSpill());
      Status written = spill_->WriteAt(uint64_t(number) * page_size(), *slot.mem);
      if (!written.ok()) {
        return written.WithContext(display_name_ + ": cannot set changed pages aside");
      }
      if (spilled_.size() <= number) spilled_.resize(size_t(number) + 1, false);
      if (!spilled_[number]) ++spilled_count_;
      spilled_[number] = true;
    }
    resident_.erase(it);
  }
  return Status::Ok();
}

Result<PageData> PageStore::Lookup(uint32_t number) {
  PX_ASSIGN_OR_RETURN(Slot * slot, Resident(number));
  if (slot == nullptr) return PageData();
  return PageData(slot->mem);
}

Result<MutablePage> PageStore::Modify(uint32_t number) {
  if (prepared_) {
    return Status::InvalidArgument(Where(number) + ": the changes are being committed");
  }
  if (number >= page_count_) {
    return Status::Corruption(Where(number) + " is beyond the end of the file (" +
                              std::to_string(page_count_) + " pages)");
  }
  PX_ASSIGN_OR_RETURN(Slot * slot, Resident(number));
  if (slot == nullptr) {
    auto buf = std::make_shared<std::vector<uint8_t>>(page_size());
    PX_RETURN_IF_ERROR(ReadBase(number, *buf));
    Slot& added = resident_[number];
    added.mem = std::move(buf);
    added.dirty = true;
    resident_order_.push_back(number);
    MutablePage page(number, added.mem);  // held: not spilled by the call below
    PX_RETURN_IF_ERROR(SpillSome());
    return page;
  }
  slot->dirty = true;
  return MutablePage(number, slot->mem);
}

Status PageStore::MarkGlobal(uint32_t number, bool free) {
  if (number <= kGlobalMapPage) return Status::Ok();  // the header and the map itself
  PX_ASSIGN_OR_RETURN(MutablePage map_page, Modify(kGlobalMapPage));
  const JetFormat& f = format();
  MutableBytes p = map_page.bytes();
  if (p[0] != page_type::kData || LoadLe16(&p[f.data_row_count]) == 0) {
    return Status::Corruption(Where(kGlobalMapPage) + ": no global usage map");
  }
  const uint16_t start = LoadLe16(&p[f.data_row_table]) & kRowOffsetMask;
  const size_t end = page_size();
  if (size_t{start} + 5 > end) {
    return Status::Corruption(Where(kGlobalMapPage) + ": bad global usage map");
  }
  uint8_t* row = &p[start];
  const size_t row_len = end - start;
  if (row[0] == kUsageMapInline) {
    const uint32_t first = LoadLe32(row + 1);
    const size_t bits = (row_len - 5) * 8;
    if (number >= first && number - first < bits) {
      const uint32_t bit = number - first;
      if (free) {
        row[5 + bit / 8] |= uint8_t(1u << (bit % 8));
      } else {
        row[5 + bit / 8] &= uint8_t(~(1u << (bit % 8)));
      }
      return Status::Ok();
    }
    // Moving the window would leave pages in use below it, which Jet counts as free.
    PX_RETURN_IF_ERROR(PromoteGlobalMap(row, row_len));
  }
  if (row[0] == kUsageMapReference) {
    const size_t per_page = (page_size() - kUsageMapPageHeader) * 8;
    const size_t slot = number / per_page;
    if (1 + 4 * (slot + 1) > row_len) {
      return Status::NotSupported(Where(number) + ": beyond the reach of the global usage map");
    }
    uint32_t bitmap_page = LoadLe32(row + 1 + 4 * slot);
    if (bitmap_page == 0) {
      PX_ASSIGN_OR_RETURN(bitmap_page, AppendGlobalMapPage(slot));
      StoreLe32(row + 1 + 4 * slot, bitmap_page);
    }
    map_page = MutablePage();
    PX_ASSIGN_OR_RETURN(MutablePage bm, Modify(bitmap_page));
    if (bm.bytes()[0] != page_type::kUsageMap) {
      return Status::Corruption(Where(bitmap_page) + ": not a usage map page");
    }
    const size_t bit = number - slot * per_page;
    uint8_t& byte = bm.bytes()[kUsageMapPageHeader + bit / 8];
    byte = free ? uint8_t(byte | (1u << (bit % 8))) : uint8_t(byte & ~(1u << (bit % 8)));
    return Status::Ok();
  }
  return Status::Corruption(Where(kGlobalMapPage) + ": unknown global usage map type " +
                            std::to_string(row[0]));
}

Result<uint32_t> PageStore::AppendGlobalMapPage(size_t slot) {
  if (page_count_ >= 0xFFFFFFu) {
    return Status::NotSupported(display_name_ + ": the database has reached its largest size");
  }
  const uint32_t number = page_count_++;
  PX_ASSIGN_OR_RETURN(MutablePage bm, Modify(number));
  FillGlobalMapPage(bm.bytes(), slot, page_count_, free_);
  // The bitmap page itself is used; it may lie in the range of another slot.
  const size_t per_page = (page_size() - kUsageMapPageHeader) * 8;
  if (number / per_page == slot) {
    const size_t bit = number - slot * per_page;
    bm.bytes()[kUsageMapPageHeader + bit / 8] &= uint8_t(~(1u << (bit % 8)));
    return number;
  }
  bm = MutablePage();
  PX_RETURN_IF_ERROR(MarkGlobal(number, false));
  return number;
}

Status PageStore::PromoteGlobalMap(uint8_t* row, size_t row_len) {
  const size_t per_page = (page_size() - kUsageMapPageHeader) * 8;
  const size_t slots = (row_len - 1) / 4;
  // The bitmap pages come from the end of the file, so they count themselves.
  std::vector<uint32_t> bitmaps;
  while (bitmaps.size() * per_page < size_t{page_count_} + 1) {
    if (bitmaps.size() >= slots || page_count_ >= 0xFFFFFFu) {
      return Status::NotSupported(Where(kGlobalMapPage) +
                                  ": the global usage map cannot name every page of the file");
    }
    bitmaps.push_back(page_count_++);
  }
  for (size_t slot = 0; slot < bitmaps.size(); ++slot) {
    PX_ASSIGN_OR_RETURN(MutablePage bm, Modify(bitmaps[slot]));
    FillGlobalMapPage(bm.bytes(), slot, page_count_, free_);
  }
  std::fill(row, row + row_len, uint8_t{0});
  row[0] = kUsageMapReference;
  for (size_t slot = 0; slot < bitmaps.size(); ++slot) StoreLe32(row + 1 + 4 * slot, bitmaps[slot]);
  return Status::Ok();
}

Result<std::vector<bool>> PageStore::ClaimsOf(uint32_t owner) {
  const JetFormat& f = format();
  // Names are not read here, so any code page does.
  PX_ASSIGN_OR_RETURN(TableDef def, ReadTableDef(*pager_, f, owner, 1252, Where(owner)));
  std::vector<bool> claims(page_count_, false);
  std::vector<RowPointer> maps = {def.owned_map};
  for (const LongValueMaps& lv : def.long_value_maps) maps.push_back(lv.owned);
  for (const RealIndex& r : def.real_indexes) maps.push_back(r.used_map);
  for (const RowPointer& m : maps) {
    if (m.page == 0) continue;
    PX_ASSIGN_OR_RETURN(UsageMapCursor cursor, UsageMapCursor::Open(*pager_, f, m, Where(owner)));
    for (;;) {
      PX_ASSIGN_OR_RETURN(std::optional<uint32_t> n, cursor.Next());
      if (!n) break;
      if (*n < claims.size()) claims[*n] = true;
    }
  }
  return claims;
}

Result<bool> PageStore::ClaimedByOwner(uint32_t number) {
  PX_ASSIGN_OR_RETURN(Page page, Get(number));
  Bytes p = page.bytes();
  if (p[0] != page_type::kData && p[0] != page_type::kIndexNode && p[0] != page_type::kIndexLeaf) {
    return false;
  }
  // An owner that is no table any more (its definition page free, or something else now)
  // claims nothing.
  const uint32_t owner = LoadLe32(&p[format().data_owner]);
  if (owner <= kGlobalMapPage || owner >= page_count_ || free_.Contains(owner) ||
      (owner < unverified_.size() && unverified_[owner])) {
    return false;
  }
  PX_ASSIGN_OR_RETURN(Page tdef, Get(owner));
  if (tdef.bytes()[0] != page_type::kTableDef) return false;
  auto known = claimed_.find(owner);
  if (known == claimed_.end()) {
    // A definition or map that cannot be read leaves the question open: the page is not
    // taken (mdb kontrol names the damage).
    auto claims = ClaimsOf(owner);
    known = claimed_.emplace(owner, claims.ok() ? std::move(*claims) : std::vector<bool>()).first;
    if (!claims.ok()) return true;
  }
  return known->second.empty() || (number < known->second.size() && known->second[number]);
}

Result<uint32_t> PageStore::ReusablePage() {
  while (std::optional<uint32_t> reused = free_.TakeLowest()) {
    const uint32_t n = *reused;
    if (n < refused_.size() && refused_[n]) continue;
    if (n < unverified_.size() && unverified_[n]) {
      PX_ASSIGN_OR_RETURN(bool claimed, ClaimedByOwner(n));
      if (claimed) {
        if (refused_.size() <= n) refused_.resize(size_t(n) + 1, false);
        refused_[n] = true;
        continue;
      }
      unverified_[n] = false;
    }
    return n;
  }
  if (page_count_ >= 0xFFFFFFu) {
    return Status::NotSupported(display_name_ + ": the database has reached its largest size");
  }
  return page_count_++;
}

Result<MutablePage> PageStore::Allocate(uint8_t page_type, uint32_t owner) {
  PX_ASSIGN_OR_RETURN(const uint32_t number, ReusablePage());
  PX_ASSIGN_OR_RETURN(MutablePage page, Modify(number));
  MutableBytes b = page.bytes();
  std::fill(b.begin(), b.end(), uint8_t{0});
  b[0] = page_type;
  b[1] = 0x01;
  if (page_type == page_type::kData || page_type == page_type::kIndexNode ||
      page_type == page_type::kIndexLeaf) {
    StoreLe32(&b[format().data_owner], owner);
  }
  if (page_type == page_type::kData) {
    StoreLe16(&b[kDataFreeSpace], uint16_t(page_size() - format().data_row_table));
  }
  PX_RETURN_IF_ERROR(MarkGlobal(number, false));
  return page;
}

Status PageStore::Free(uint32_t number) {
  if (number <= kGlobalMapPage || number >= page_count_) {
    return Status::InvalidArgument(Where(number) + " cannot be freed");
  }
  if (number < unverified_.size()) unverified_[number] = false;  // freed by its owner
  if (number < refused_.size()) refused_[number] = false;
  if (free_.Contains(number)) return Status::Ok();
  free_.Add(number);
  PX_RETURN_IF_ERROR(MarkGlobal(number, true));
  return Status::Ok();
}

Status PageStore::CompleteSpill() {
  PX_RETURN_IF_ERROR(OpenSpill());
  // Runs of pages not in the spill file yet go out together.
  std::vector<uint8_t> chunk;
  chunk.reserve(kCopyChunkPages * page_size());
  uint64_t chunk_start = 0;
  auto flush = [&]() -> Status {
    if (!chunk.empty()) PX_RETURN_IF_ERROR(spill_->WriteAt(chunk_start, chunk));
    chunk.clear();
    return Status::Ok();
  };
  std::vector<uint8_t> page(page_size());
  for (uint32_t n = 0; n < page_count_; ++n) {
    auto it = resident_.find(n);
    if (it == resident_.end() && Spilled(n)) {
      PX_RETURN_IF_ERROR(flush());
      continue;
    }
    if (it == resident_.end()) {
      PX_RETURN_IF_ERROR(ReadBase(n, page));
    } else {
      std::memcpy(page.data(), it->second.mem->data(), page_size());
    }
    if (chunk.empty()) chunk_start = uint64_t(n) * page_size();
    chunk.insert(chunk.end(), page.begin(), page.end());
    if (chunk.size() >= kCopyChunkPages * page_size()) PX_RETURN_IF_ERROR(flush());
  }
  PX_RETURN_IF_ERROR(flush());
  PX_ASSIGN_OR_RETURN(uint64_t size, spill_->Size());
  if (size > uint64_t(page_count_) * page_size()) {
    PX_RETURN_IF_ERROR(spill_->Truncate(uint64_t(page_count_) * page_size()));
  }
  return spill_->Sync();
}

Status PageStore::WriteNewFile() {
  Status st = CompleteSpill();
  if (st.ok() && base_ == nullptr && files_.Exists(path_)) {
    st = Status::InvalidArgument(display_name_ + ": the file already exists");
  }
  if (!st.ok()) return st.WithContext(display_name_ + ": the changes were not saved");
  return Status::Ok();
}

Status PageStore::Install(const std::string& from) {
  // The old file goes: let go of it (Windows cannot rename over an open file), and of the
  // spill file, which may be what becomes the database.
  base_.reset();
  lock_.reset();
  spill_.reset();
  Status st = files_.Rename(from, path_);
  if (!st.ok()) {
    // The original is still in place: take it back.
    if (committed_page_count_ > 0) {
      if (Status back = LockAndOpenBase(); !back.ok()) return st.WithContext(back.message());
    }
    return st.WithContext(display_name_ + ": the changes were not saved");
  }
  DropTemporaries();
  committed_free_ = free_;
  committed_checks_ = {unverified_, refused_};
  // The committed file is the new base; taking its lock can race only with a program that
  // opens it in the instant after the rename.
  return LockAndOpenBase();
}

Status PageStore::Commit() {
  if (prepared_) return Finish();
  if (!changed()) return Status::Ok();
  PX_RETURN_IF_ERROR(WriteNewFile());
  const std::string spill_path = SpillFileBeside(path_);
  Status st = Install(spill_path);
  if (!st.ok() && spill_ == nullptr) {
    // The transaction stays open: its spilled pages are read from the spill file again.
    auto spill = files_.Open(spill_path, platform::OpenMode::kReadWrite);
    if (!spill.ok()) return st.WithContext(spill.status().message());
    spill_ = std::move(*spill);
  }
  return st;
}

Result<bool> PageStore::Prepare() {
  if (prepared_) return true;
  if (!changed()) return false;
  PX_RETURN_IF_ERROR(WriteNewFile());
  spill_.reset();  // closed before the rename, as Windows needs
  const std::string spill_path = SpillFileBeside(path_);
  Status st = files_.Rename(spill_path, PreparedFileBeside(path_));
  if (!st.ok()) {
    auto spill = files_.Open(spill_path, platform::OpenMode::kReadWrite);
    if (spill.ok()) spill_ = std::move(*spill);
    return st.WithContext(display_name_ + ": the changes were not saved");
  }
  spill_made_ = false;  // it is the prepared file now
  prepared_ = true;
  return true;
}

Status PageStore::Finish() {
  if (!prepared_) return Status::Ok();
  prepared_ = false;
  Status st = Install(PreparedFileBeside(path_));
  if (!st.ok()) {
    // The prepared file now belongs to the commit record that decided it.
    DropTemporaries();
    page_count_ = committed_page_count_;
    free_ = committed_free_;
    std::tie(unverified_, refused_) = committed_checks_;
    pager_->Refresh();
  }
  return st;
}

void PageStore::Rollback() {
  if (prepared_) {
    prepared_ = false;
    (void)files_.Remove(PreparedFileBeside(path_));
  }
  DropTemporaries();
  page_count_ = committed_page_count_;
  free_ = committed_free_;
  std::tie(unverified_, refused_) = committed_checks_;
  pager_->Refresh();
}

Result<Bytes> PageStorePages::Read(uint32_t page) {
  PX_ASSIGN_OR_RETURN(read_, store_.Get(page));
  return read_.bytes();
}

Result<MutableBytes> PageStorePages::Modify(uint32_t page) {
  PX_ASSIGN_OR_RETURN(modified_, store_.Modify(page));
  return modified_.bytes();
}

Result<uint32_t> PageStorePages::Allocate() {
  PX_ASSIGN_OR_RETURN(MutablePage page, store_.Allocate(page_type::kData, 0));
  MutableBytes b = page.bytes();
  std::fill(b.begin(), b.end(), uint8_t{0});
  return page.number();
}

}  // namespace px::jet
