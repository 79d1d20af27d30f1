#pragma once
// A page store over a whole file held in memory, for tests of the row and index writers:
// pages change in place, new pages are appended and taken off the global page map (page 1,
// row 0, inline: bit set = free), freed pages are put back on it. Counts what it was asked
// to do so that tests can check that nothing leaks.

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "jet/data_page_writer.h"
#include "jet/format.h"
#include "jet/writable_pages.h"

namespace px::jet::testing {

class MemoryPages final : public WritablePages {
 public:
  MemoryPages(const JetFormat& f, std::vector<uint8_t> bytes, std::string name = "mem.mdb")
      : f_(f), bytes_(std::move(bytes)), name_(std::move(name)) {}

  void WriteFile(const std::filesystem::path& p) const {
    std::ofstream(p, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes_.data()), std::streamsize(bytes_.size()));
  }

  const std::string& file_name() const override { return name_; }
  uint32_t page_count() const override { return uint32_t(bytes_.size() / f_.page_size); }
  const std::vector<uint8_t>& bytes() const { return bytes_; }
  // Back to these bytes (a rolled-back change).
  void Reset(std::vector<uint8_t> bytes) { bytes_ = std::move(bytes); }
  std::set<uint32_t> freed;
  std::set<uint32_t> allocated;
  // Off for timing runs whose files outgrow the small page maps this store keeps.
  bool track = true;

  Result<Bytes> Read(uint32_t page) override {
    if (page >= page_count())
      return Status::Corruption(name_ + ": no page " + std::to_string(page));
    return Bytes(&bytes_[size_t(page) * f_.page_size], f_.page_size);
  }
  Result<MutableBytes> Modify(uint32_t page) override {
    if (page >= page_count())
      return Status::Corruption(name_ + ": no page " + std::to_string(page));
    return MutableBytes(&bytes_[size_t(page) * f_.page_size], f_.page_size);
  }
  Result<uint32_t> Allocate() override {
    const uint32_t page = page_count();
    bytes_.resize(bytes_.size() + f_.page_size, 0);
    if (!track) return page;
    PX_RETURN_IF_ERROR(MarkGlobal(page, false));
    allocated.insert(page);
    freed.erase(page);
    return page;
  }
  Status Free(uint32_t page) override {
    if (!track) return Status::Ok();
    PX_RETURN_IF_ERROR(MarkGlobal(page, true));
    freed.insert(page);
    return Status::Ok();
  }

 private:
  Status MarkGlobal(uint32_t page, bool free) {
    MutableBytes p(&bytes_[f_.page_size], f_.page_size);
    auto at = DataRowBounds(f_, p, 0, name_ + ": global page map");
    if (!at.ok()) return at.status();
    uint8_t* row = &p[at->first];
    const uint32_t start = LoadLe32(row + 1);
    const size_t bit = page - start;
    if (row[0] != 0 || page < start || bit >= (at->second - at->first - 5) * 8) {
      return Status::NotSupported(name_ + ": test store handles small inline page maps only");
    }
    if (free) {
      row[5 + bit / 8] |= uint8_t(1u << (bit % 8));
    } else {
      row[5 + bit / 8] &= uint8_t(~(1u << (bit % 8)));
    }
    return Status::Ok();
  }

  const JetFormat& f_;
  std::vector<uint8_t> bytes_;
  std::string name_;
};

}  // namespace px::jet::testing
