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

}  // namespace

Result<uint64_t> CountIndexEntries(Pager& pager, const JetFormat& f, uint32_t table_page,
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
