#include "jet/index_reader.h"

#include <unordered_set>

namespace px::jet {

namespace {

constexpr size_t kChildPointerSize = 4;

std::string Where(const Pager& pager, uint32_t page, const std::string& what) {
  return pager.file_name() + ": page " + std::to_string(page) + ": " + what;
}

Result<Page> LoadIndexPage(Pager& pager, const JetFormat& f, uint32_t number, uint32_t table_page,
                           const std::string& what) {
  PX_ASSIGN_OR_RETURN(Page p, pager.Get(number));
  if (p.type() != page_type::kIndexNode && p.type() != page_type::kIndexLeaf) {
    return Status::Corruption(Where(pager, number, what) + ": expected an index page, found type " +
                              std::to_string(p.type()));
  }
  if (LoadLe32(p.bytes().data() + f.data_owner) != table_page) {
    return Status::Corruption(Where(pager, number, what) + ": index page belongs to page " +
                              std::to_string(LoadLe32(p.bytes().data() + f.data_owner)));
  }
  return p;
}

// Ends of the entries on a page, as offsets past first_entry.
std::vector<size_t> EntryEnds(const JetFormat& f, const Page& p) {
  std::vector<size_t> ends;
  Bytes b = p.bytes();
  const size_t span = b.size() - f.index_first_entry;
  const size_t mask_bytes = f.index_first_entry - f.index_bitmask;
  for (size_t k = 0; k < mask_bytes * 8 && k <= span; ++k) {
    if (b[f.index_bitmask + k / 8] & (1u << (k % 8))) ends.push_back(k);
  }
  return ends;
}

// Leftmost child of a node page: the child pointer closing its first entry, or the tail.
Result<uint32_t> FirstChild(Pager& pager, const JetFormat& f, const Page& node,
                            const std::string& what) {
  auto ends = EntryEnds(f, node);
  if (ends.empty()) return LoadLe32(node.bytes().data() + f.index_tail_page);
  if (ends[0] < kChildPointerSize) {
    return Status::Corruption(Where(pager, node.number, what) + ": node entry of " +
                              std::to_string(ends[0]) + " bytes has no child pointer");
  }
  return LoadBe32(node.bytes().data() + f.index_first_entry + ends[0] - kChildPointerSize);
}

// Descends from the root to the leftmost leaf.
Result<uint32_t> LeftmostLeaf(Pager& pager, const JetFormat& f, uint32_t table_page,
                              const RealIndex& index, const std::string& what) {
  uint32_t number = index.root_page;
  PX_ASSIGN_OR_RETURN(Page page, LoadIndexPage(pager, f, number, table_page, what));
  for (size_t depth = 0; page.type() == page_type::kIndexNode; ++depth) {
    if (depth >= kMaxIndexDepth) {
      return Status::Corruption(Where(pager, number, what) + ": index deeper than " +
                                std::to_string(kMaxIndexDepth) + " levels");
    }
    PX_ASSIGN_OR_RETURN(number, FirstChild(pager, f, page, what));
    PX_ASSIGN_OR_RETURN(page, LoadIndexPage(pager, f, number, table_page, what));
  }
  return number;
}

constexpr size_t kRowPointerSize = 4;

}  // namespace

Result<IndexEntryCursor> IndexEntryCursor::Open(Pager& pager, const JetFormat& f,
                                                uint32_t table_page, const RealIndex& index,
                                                std::string what) {
  IndexEntryCursor c(pager, f, table_page, std::move(what));
  PX_ASSIGN_OR_RETURN(uint32_t leaf, LeftmostLeaf(pager, f, table_page, index, c.what_));
  PX_RETURN_IF_ERROR(c.EnterLeaf(leaf));
  return c;
}

Status IndexEntryCursor::EnterLeaf(uint32_t number) {
  const JetFormat& f = *f_;
  if (!seen_.insert(number).second || seen_.size() > pager_->page_count()) {
    return Status::Corruption(Where(*pager_, number, what_) + ": leaf chain loops");
  }
  PX_ASSIGN_OR_RETURN(page_, LoadIndexPage(*pager_, f, number, table_page_, what_));
  if (page_.type() != page_type::kIndexLeaf) {
    return Status::Corruption(Where(*pager_, number, what_) + ": leaf chain reaches a node page");
  }
  ends_ = EntryEnds(f, page_);
  const uint8_t* b = page_.bytes().data();
  prefix_ = f.index_prefix_len_size == 1 ? b[f.index_prefix_len] : LoadLe16(b + f.index_prefix_len);
  if (!ends_.empty() && prefix_ > ends_[0]) {
    return Status::Corruption(Where(*pager_, number, what_) + ": shared prefix of " +
                              std::to_string(prefix_) + " bytes is longer than the first entry (" +
                              std::to_string(ends_[0]) + " bytes)");
  }
  next_entry_ = 0;
  return Status::Ok();
}

Result<bool> IndexEntryCursor::Next(IndexLeafEntry& entry) {
  const JetFormat& f = *f_;
  while (!done_ && next_entry_ >= ends_.size()) {
    const uint32_t next = LoadLe32(page_.bytes().data() + f.index_next_page);
    if (next == 0) {
      done_ = true;
      break;
    }
    PX_RETURN_IF_ERROR(EnterLeaf(next));
  }
  if (done_) return false;
  const size_t k = next_entry_++;
  const uint8_t* data = page_.bytes().data() + f.index_first_entry;
  const size_t begin = k == 0 ? 0 : ends_[k - 1];
  const size_t end = ends_[k];
  std::vector<uint8_t>& full = entry.key;
  full.clear();
  if (k > 0) full.assign(data, data + prefix_);
  full.insert(full.end(), data + begin, data + end);
  if (full.size() < kRowPointerSize) {
    return Status::Corruption(Where(*pager_, page_.number, what_) + ": entry " + std::to_string(k) +
                              " of " + std::to_string(full.size()) + " bytes has no row pointer");
  }
  const uint8_t* ptr = full.data() + full.size() - kRowPointerSize;
  entry.row = RowPointer{LoadBe24(ptr), ptr[3]};
  entry.page = page_.number;
  full.resize(full.size() - kRowPointerSize);
  return true;
}

Result<uint64_t> CountIndexEntries(Pager& pager, const JetFormat& f, uint32_t table_page,
                                   const RealIndex& index, const std::string& what) {
  PX_ASSIGN_OR_RETURN(uint32_t number, LeftmostLeaf(pager, f, table_page, index, what));
  PX_ASSIGN_OR_RETURN(Page page, LoadIndexPage(pager, f, number, table_page, what));
  uint64_t count = 0;
  std::unordered_set<uint32_t> seen;
  while (true) {
    if (page.type() != page_type::kIndexLeaf) {
      return Status::Corruption(Where(pager, number, what) + ": leaf chain reaches a node page");
    }
    if (!seen.insert(number).second) {
      return Status::Corruption(Where(pager, number, what) + ": leaf chain loops");
    }
    count += EntryEnds(f, page).size();
    const uint32_t next = LoadLe32(page.bytes().data() + f.index_next_page);
    if (next == 0) return count;
    number = next;
    PX_ASSIGN_OR_RETURN(page, LoadIndexPage(pager, f, number, table_page, what));
  }
}

}  // namespace px::jet
