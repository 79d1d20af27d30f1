#include "jet/page_source.h"

#include <cstring>

#include "jet/rc4.h"
#include "platform/files.h"
#include "platform/utf8_path.h"

namespace px::jet {

namespace {

class FileSource final : public PageSource {
 public:
  FileSource(std::unique_ptr<platform::File> file, uint64_t size, std::string name)
      : file_(std::move(file)), size_(size), name_(std::move(name)) {}

  const std::string& name() const override { return name_; }
  uint64_t size() const override { return size_; }

  Status Read(uint64_t offset, MutableBytes out) override {
    auto got = file_->ReadAt(offset, {out.data(), out.size()});
    if (!got.ok()) {
      return Status::IOError(name_ + ": read failed at offset " + std::to_string(offset) + ": " +
                             got.status().message());
    }
    if (*got < out.size()) {
      return Status::Corruption(name_ + ": file ends at offset " + std::to_string(offset + *got) +
                                " inside a page");
    }
    return Status::Ok();
  }

 private:
  std::unique_ptr<platform::File> file_;
  uint64_t size_;
  std::string name_;
};

class MemorySourceImpl final : public PageSource {
 public:
  MemorySourceImpl(std::vector<uint8_t> bytes, std::string name)
      : bytes_(std::move(bytes)), name_(std::move(name)) {}
  const std::string& name() const override { return name_; }
  uint64_t size() const override { return bytes_.size(); }
  Status Read(uint64_t offset, MutableBytes out) override {
    if (offset > bytes_.size() || out.size() > bytes_.size() - offset) {
      return Status::Corruption(name_ + ": data ends before offset " +
                                std::to_string(offset + out.size()));
    }
    if (!out.empty()) std::memcpy(out.data(), bytes_.data() + offset, out.size());
    return Status::Ok();
  }

 private:
  std::vector<uint8_t> bytes_;
  std::string name_;
};

}  // namespace

Result<std::unique_ptr<PageSource>> OpenFileSource(const std::filesystem::path& path,
                                                   std::string display_name) {
  const std::string host = Utf8FromPath(path);
  auto file = platform::SystemFiles().Open(host, platform::OpenMode::kRead);
  if (!file.ok()) {
    // The layer names the host path; the reader's messages name the file as the user gave it.
    const Status& s = file.status();
    std::string_view why = s.message();
    if (why.starts_with(host + ": ")) why.remove_prefix(host.size() + 2);
    std::string msg = display_name + ": " + std::string(why);
    return s.IsNotFound() ? Status::NotFound(std::move(msg)) : Status::IOError(std::move(msg));
  }
  PX_ASSIGN_OR_RETURN(uint64_t size, (*file)->Size());
  return std::unique_ptr<PageSource>(
      std::make_unique<FileSource>(std::move(*file), size, std::move(display_name)));
}

std::unique_ptr<PageSource> MemorySource(std::vector<uint8_t> bytes, std::string display_name) {
  return std::make_unique<MemorySourceImpl>(std::move(bytes), std::move(display_name));
}

Pager::Pager(std::unique_ptr<PageSource> source, uint32_t page_size, uint32_t db_key,
             size_t cache_pages)
    : source_(std::move(source)),
      page_size_(page_size),
      db_key_(db_key),
      page_count_(uint32_t(std::min<uint64_t>(source_->size() / page_size, 0xFFFFFFu + 1))),
      capacity_(cache_pages == 0 ? 1 : cache_pages) {}

void Pager::Refresh() {
  lru_.clear();
  spare_.reset();
  index_.clear();
  page_count_ = uint32_t(std::min<uint64_t>(source_->size() / page_size_, 0xFFFFFFu + 1));
}

Result<Page> Pager::Get(uint32_t number) {
  if (overlay_ != nullptr) {
    PX_ASSIGN_OR_RETURN(PageData changed, overlay_->Lookup(number));
    if (changed) return Page{number, std::move(changed)};
  }
  auto it = index_.find(number);
  if (it != index_.end()) {
    lru_.splice(lru_.begin(), lru_, it->second);
    return Page{number, it->second->second};
  }
  if (lru_.size() >= capacity_) {
    // The page that leaves the cache lends its buffer to the one read next, unless a
    // reader still holds it.
    index_.erase(lru_.back().first);
    if (lru_.back().second.use_count() == 1) {
      spare_ = std::const_pointer_cast<std::vector<uint8_t>>(std::move(lru_.back().second));
    }
    lru_.pop_back();
  }
  PX_ASSIGN_OR_RETURN(PageData data, Load(number));
  lru_.emplace_front(number, data);
  index_[number] = lru_.begin();
  return Page{number, std::move(data)};
}

Result<PageData> Pager::Load(uint32_t number) {
  if (number >= page_count_) {
    return Status::Corruption(file_name() + ": page " + std::to_string(number) +
                              " is beyond the end of the file (" + std::to_string(page_count_) +
                              " pages)");
  }
  auto buf = std::move(spare_);
  if (!buf) buf = std::make_shared<std::vector<uint8_t>>(page_size_);
  PX_RETURN_IF_ERROR(source_->Read(uint64_t(number) * page_size_, *buf));
  if (db_key_ != 0 && number != 0) {
    uint8_t key[4];
    StoreLe32(key, db_key_ ^ number);
    Rc4Xor(Bytes(key, 4), *buf);
  }
  return PageData(std::move(buf));
}

}  // namespace px::jet
