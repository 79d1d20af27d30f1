#include "jet/index_writer.h"

#include <algorithm>

#include "jet/index_reader.h"
#include "jet/usage_map_writer.h"

namespace px::jet {

namespace {

constexpr size_t kNoInsert = SIZE_MAX;
// Leaves visited past the first while looking for equal keys: a bound against loops.
constexpr size_t kMaxScanLeaves = 4096;
constexpr size_t kMaxIndexPages = 1u << 24;
// Decoded pages kept between calls: the upper levels and the leaves in use stay decoded.
constexpr size_t kCachedPages = 256;

Bytes LeafPart(const EntryBytes& e, bool leaf) {
  return Bytes(e.data(), e.size() - (leaf ? 0 : kIndexChildSize));
}

bool Less(Bytes a, Bytes b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end());
}

bool StartsWith(const EntryBytes& e, Bytes key) {
  return e.size() >= key.size() && std::equal(key.begin(), key.end(), e.begin());
}

size_t TotalBytes(const std::vector<EntryBytes>& entries, size_t from, size_t to) {
  size_t n = 0;
  for (size_t i = from; i < to; ++i) n += entries[i].size();
  return n;
}

}  // namespace

Status IndexWriter::Corrupt(uint32_t page, const std::string& what) const {
  return Status::Corruption(pages_.file_name() + ": page " + std::to_string(page) + ": " + what_ +
                            ": " + what);
}

Result<IndexPage*> IndexWriter::Load(uint32_t page) {
  if (auto it = cache_.find(page); it != cache_.end()) return &it->second;
  PX_ASSIGN_OR_RETURN(Bytes b, pages_.Read(page));
  if (b[0] != page_type::kIndexLeaf && b[0] != page_type::kIndexNode) {
    return Corrupt(page, "expected an index page, found type " + std::to_string(b[0]));
  }
  if (LoadLe32(&b[f_.data_owner]) != table_page_) {
    return Corrupt(page,
                   "index page belongs to page " + std::to_string(LoadLe32(&b[f_.data_owner])));
  }
  PX_ASSIGN_OR_RETURN(
      IndexPage content,
      DecodeIndexPage(f_, b, pages_.file_name() + ": page " + std::to_string(page) + ": " + what_));
  return &(cache_[page] = std::move(content));
}

void IndexWriter::BoundCache() {
  if (cache_.size() > kCachedPages) cache_.clear();
}

Status IndexWriter::Store(uint32_t page, const IndexPage& content) {
  PX_ASSIGN_OR_RETURN(MutableBytes out, pages_.Modify(page));
  Status st = EncodeIndexPage(f_, content, table_page_, out);  // leaves `out` alone on error
  if (!st.ok()) return Corrupt(page, st.message());
  auto it = cache_.find(page);
  if (it == cache_.end()) {
    cache_.emplace(page, content);
  } else if (&it->second != &content) {
    it->second = content;
  }
  return Status::Ok();
}

Result<std::vector<IndexWriter::Step>> IndexWriter::Descend(Bytes target) {
  std::vector<Step> path;
  uint32_t page = index_.root_page;
  while (true) {
    if (path.size() >= kMaxIndexDepth) return Corrupt(page, "index deeper than its bound");
    PX_ASSIGN_OR_RETURN(IndexPage * content, Load(page));
    if (content->leaf) {
      path.push_back({page, content, 0, kNoInsert});
      return path;
    }
    const auto& e = content->entries;
    const size_t slot = size_t(
        std::lower_bound(e.begin(), e.end(), target,
                         [](const EntryBytes& x, Bytes t) { return Less(LeafPart(x, false), t); }) -
        e.begin());
    const uint32_t child = slot < e.size() ? EntryChild(e[slot]) : content->tail;
    if (child == 0 || child == page) return Corrupt(page, "node names no child page");
    path.push_back({page, content, slot, kNoInsert});
    page = child;
  }
}

Result<bool> IndexWriter::ContainsKey(Bytes key) {
  BoundCache();
  PX_ASSIGN_OR_RETURN(std::vector<Step> path, Descend(key));
  const IndexPage* leaf = path.back().content;
  uint32_t page = path.back().page;
  auto it = std::lower_bound(leaf->entries.begin(), leaf->entries.end(), key,
                             [](const EntryBytes& e, Bytes k) { return Less(e, k); });
  for (size_t visited = 0; visited < kMaxScanLeaves; ++visited) {
    for (; it != leaf->entries.end(); ++it) {
      if (!StartsWith(*it, key)) return false;
      if (it->size() == key.size() + kIndexRowPointerSize) return true;
    }
    if (leaf->next == 0) return false;
    page = leaf->next;
    PX_ASSIGN_OR_RETURN(leaf, Load(page));
    it = leaf->entries.begin();
  }
  return Corrupt(page, "leaf chain too long while looking for a key");
}

Status IndexWriter::SetLink(uint32_t page, bool next, uint32_t value) {
  PX_ASSIGN_OR_RETURN(MutableBytes p, pages_.Modify(page));
  if (p[0] != page_type::kIndexLeaf && p[0] != page_type::kIndexNode) {
    return Corrupt(page, "linked page is not an index page");
  }
  StoreLe32(&p[next ? f_.index_next_page : f_.index_prev_page], value);
  if (auto it = cache_.find(page); it != cache_.end()) {
    (next ? it->second.next : it->second.prev) = value;
  }
  return Status::Ok();
}

Result<uint32_t> IndexWriter::NewPage() {
  PX_ASSIGN_OR_RETURN(uint32_t page, pages_.Allocate());
  if (index_.used_map.page != 0) {
    PX_RETURN_IF_ERROR(UsageMapSet(pages_, f_, index_.used_map, page, true, what_));
  }
  return page;
}

Status IndexWriter::DropPage(uint32_t page) {
  cache_.erase(page);
  PX_RETURN_IF_ERROR(pages_.Free(page));
  if (index_.used_map.page != 0) {
    PX_RETURN_IF_ERROR(UsageMapSet(pages_, f_, index_.used_map, page, false, what_));
  }
  return Status::Ok();
}

Status IndexWriter::Place(std::vector<Step>& path, size_t level) {
  Step& s = path[level];
  std::vector<EntryBytes>& e = s.content->entries;
  if (IndexPageFits(f_, e)) return Store(s.page, *s.content);
  const bool leaf = s.content->leaf;
  const size_t n = e.size();
  if (n < (leaf ? 2u : 3u)) return Corrupt(s.page, "index entries too large to split");
  // Where the lower part ends: everything but a new last entry on the rightmost page (rows
  // arriving in key order fill pages), else half the bytes.
  size_t k = 0;
  if (s.content->next == 0 && s.inserted == n - 1) {
    k = n - 1;
  } else {
    const size_t half = TotalBytes(e, 0, n) / 2;
    size_t acc = 0;
    while (k < n && acc + e[k].size() <= half) acc += e[k++].size();
    k = std::clamp<size_t>(k, 1, n - (leaf ? 1 : 2));
  }
  IndexPage lower, upper;
  lower.leaf = upper.leaf = leaf;
  EntryBytes separator;
  if (leaf) {
    lower.entries.assign(e.begin(), e.begin() + k);
    upper.entries.assign(e.begin() + k, e.end());
    separator = lower.entries.back();
  } else {
    // The entry at k closes the lower node: its child becomes the lower node's tail.
    if (k >= n) k = n - 1;
    lower.entries.assign(e.begin(), e.begin() + k);
    lower.tail = EntryChild(e[k]);
    separator = EntryWithoutChild(e[k]);
    upper.entries.assign(e.begin() + k + 1, e.end());
    upper.tail = s.content->tail;
  }
  if (!IndexPageFits(f_, lower.entries) || !IndexPageFits(f_, upper.entries)) {
    return Corrupt(s.page, "index entries too large to split");
  }
  if (level == 0) {
    // The root stays where the table definition says: both parts move to new pages.
    PX_ASSIGN_OR_RETURN(uint32_t left, NewPage());
    PX_ASSIGN_OR_RETURN(uint32_t right, NewPage());
    lower.next = right;
    upper.prev = left;
    PX_RETURN_IF_ERROR(Store(left, lower));
    PX_RETURN_IF_ERROR(Store(right, upper));
    IndexPage root;
    root.leaf = false;
    root.entries.push_back(NodeEntry(separator, left));
    root.tail = right;
    *s.content = std::move(root);
    return Store(s.page, *s.content);
  }
  PX_ASSIGN_OR_RETURN(uint32_t fresh, NewPage());
  lower.prev = s.content->prev;
  lower.next = s.page;
  upper.prev = fresh;
  upper.next = s.content->next;
  if (lower.prev != 0) PX_RETURN_IF_ERROR(SetLink(lower.prev, true, fresh));
  PX_RETURN_IF_ERROR(Store(fresh, lower));
  *s.content = std::move(upper);
  PX_RETURN_IF_ERROR(Store(s.page, *s.content));
  Step& parent = path[level - 1];
  parent.content->entries.insert(parent.content->entries.begin() + parent.child_slot,
                                 NodeEntry(separator, fresh));
  parent.inserted = parent.child_slot;
  return Place(path, level - 1);
}

Result<bool> IndexWriter::Insert(const EntryBytes& entry) {
  BoundCache();
  PX_ASSIGN_OR_RETURN(std::vector<Step> path, Descend(entry));
  Step& leaf = path.back();
  auto& e = leaf.content->entries;
  auto it = std::lower_bound(e.begin(), e.end(), entry);
  if (it != e.end() && *it == entry) return Corrupt(leaf.page, "entry is in the index already");
  // Equal keys sit side by side: a neighbour (perhaps on the next or previous leaf) tells
  // whether the key is new.
  const Bytes key(entry.data(), entry.size() - kIndexRowPointerSize);
  auto same_key = [&key](const EntryBytes& x) {
    return x.size() == key.size() + kIndexRowPointerSize && StartsWith(x, key);
  };
  bool seen = false;
  if (it != e.end()) {
    seen = same_key(*it);
  } else if (leaf.content->next != 0) {
    const uint32_t next = leaf.content->next;
    PX_ASSIGN_OR_RETURN(const IndexPage* n, Load(next));
    seen = !n->entries.empty() && same_key(n->entries.front());
  }
  if (!seen && it != e.begin()) {
    seen = same_key(*(it - 1));
  } else if (!seen && leaf.content->prev != 0) {
    const uint32_t prev = leaf.content->prev;
    PX_ASSIGN_OR_RETURN(const IndexPage* p, Load(prev));
    seen = !p->entries.empty() && same_key(p->entries.back());
  }
  leaf.inserted = size_t(it - e.begin());
  e.insert(it, entry);
  PX_RETURN_IF_ERROR(Place(path, path.size() - 1));
  return !seen;
}

Status IndexWriter::RemoveChild(std::vector<Step>& path, size_t level) {
  Step& s = path[level];
  if (s.content->prev != 0) PX_RETURN_IF_ERROR(SetLink(s.content->prev, true, s.content->next));
  if (s.content->next != 0) PX_RETURN_IF_ERROR(SetLink(s.content->next, false, s.content->prev));
  PX_RETURN_IF_ERROR(DropPage(s.page));
  Step& parent = path[level - 1];
  auto& pe = parent.content->entries;
  if (parent.child_slot < pe.size()) {
    pe.erase(pe.begin() + parent.child_slot);
  } else if (!pe.empty()) {
    parent.content->tail = EntryChild(pe.back());
    pe.pop_back();
  } else {
    parent.content->tail = 0;
  }
  if (!pe.empty() || parent.content->tail != 0) return Store(parent.page, *parent.content);
  if (level - 1 == 0) {
    *parent.content = IndexPage{};
    return Store(parent.page, *parent.content);
  }
  return RemoveChild(path, level - 1);
}

Status IndexWriter::Remove(const EntryBytes& entry) {
  BoundCache();
  PX_ASSIGN_OR_RETURN(std::vector<Step> path, Descend(entry));
  Step& leaf = path.back();
  auto& e = leaf.content->entries;
  auto it = std::lower_bound(e.begin(), e.end(), entry);
  if (it == e.end() || *it != entry)
    return Corrupt(leaf.page, "entry to remove is not in the index");
  const bool was_last = it + 1 == e.end();
  e.erase(it);
  const size_t level = path.size() - 1;
  if (e.empty() && level > 0) return RemoveChild(path, level);
  PX_RETURN_IF_ERROR(Store(leaf.page, *leaf.content));
  if (was_last && level > 0) {
    Step& parent = path[level - 1];
    if (parent.child_slot < parent.content->entries.size()) {
      EntryBytes lowered = NodeEntry(e.back(), leaf.page);
      std::swap(parent.content->entries[parent.child_slot], lowered);
      if (IndexPageFits(f_, parent.content->entries)) return Store(parent.page, *parent.content);
      // A longer separator than before would not fit: the old, larger one still routes
      // every search correctly.
      std::swap(parent.content->entries[parent.child_slot], lowered);
    }
  }
  return Status::Ok();
}

Result<std::vector<uint32_t>> IndexWriter::PagesBelowRoot() {
  std::vector<uint32_t> out;
  std::vector<uint32_t> level = {index_.root_page};
  std::vector<uint32_t> below;
  for (size_t depth = 0; !level.empty(); ++depth) {
    if (depth > kMaxIndexDepth) return Corrupt(index_.root_page, "index deeper than its bound");
    below.clear();
    for (uint32_t page : level) {
      if (page != index_.root_page) out.push_back(page);
      if (out.size() > kMaxIndexPages) return Corrupt(page, "index has too many pages");
      PX_ASSIGN_OR_RETURN(Bytes b, pages_.Read(page));
      if (b[0] == page_type::kIndexLeaf) continue;
      PX_ASSIGN_OR_RETURN(IndexPage * content, Load(page));
      for (const auto& e : content->entries) below.push_back(EntryChild(e));
      if (content->tail != 0) below.push_back(content->tail);
    }
    std::swap(level, below);
  }
  return out;
}

Status IndexWriter::Clear() {
  PX_ASSIGN_OR_RETURN(std::vector<uint32_t> pages, PagesBelowRoot());
  for (uint32_t page : pages) PX_RETURN_IF_ERROR(DropPage(page));
  cache_.clear();
  return Store(index_.root_page, IndexPage{});
}

namespace {

// The entries of an index's leaves, first to last, a page at a time.
class LeafStream final : public EntryStream {
 public:
  LeafStream(WritablePages& pages, const JetFormat& f, uint32_t first_leaf, std::string where)
      : pages_(pages), f_(f), next_page_(first_leaf), where_(std::move(where)) {}
  Result<bool> Next(Bytes& entry) override {
    while (at_ >= page_.entries.size()) {
      if (next_page_ == 0) return false;
      if (++visited_ > pages_.page_count()) {
        return Status::Corruption(pages_.file_name() + ": " + where_ + ": leaf chain loops");
      }
      const uint32_t number = next_page_;
      PX_ASSIGN_OR_RETURN(Bytes b, pages_.Read(number));
      const std::string where =
          pages_.file_name() + ": page " + std::to_string(number) + ": " + where_;
      if (b[0] != page_type::kIndexLeaf) return Status::Corruption(where + ": not a leaf page");
      PX_ASSIGN_OR_RETURN(page_, DecodeIndexPage(f_, b, where));
      next_page_ = page_.next;
      at_ = 0;
    }
    entry = page_.entries[at_++];
    return true;
  }

 private:
  WritablePages& pages_;
  const JetFormat& f_;
  uint32_t next_page_;
  std::string where_;
  IndexPage page_;
  size_t at_ = 0;
  size_t visited_ = 0;
};

Bytes KeyOf(Bytes leaf_entry) {
  return leaf_entry.first(leaf_entry.size() - kIndexRowPointerSize);
}

}  // namespace

Result<IndexWriter::Merged> IndexWriter::Rebuild(EntryStream& news,
                                                 const std::function<bool(Bytes key)>& held_once) {
  PX_ASSIGN_OR_RETURN(std::vector<uint32_t> old_pages, PagesBelowRoot());
  // The leftmost leaf: first children down from the root.
  uint32_t first_leaf = index_.root_page;
  for (size_t depth = 0;; ++depth) {
    if (depth > kMaxIndexDepth) return Corrupt(first_leaf, "index deeper than its bound");
    PX_ASSIGN_OR_RETURN(IndexPage * content, Load(first_leaf));
    if (content->leaf) break;
    const uint32_t child =
        content->entries.empty() ? content->tail : EntryChild(content->entries.front());
    if (child == 0 || child == first_leaf) return Corrupt(first_leaf, "node names no child page");
    first_leaf = child;
  }
  cache_.clear();
  std::vector<std::unique_ptr<EntryStream>> inputs;
  inputs.push_back(std::make_unique<LeafStream>(pages_, f_, first_leaf, what_));
  struct Borrowed final : EntryStream {
    explicit Borrowed(EntryStream& s) : s(s) {}
    Result<bool> Next(Bytes& entry) override { return s.Next(entry); }
    EntryStream& s;
  };
  inputs.push_back(std::make_unique<Borrowed>(news));
  auto merged = MergeStreams(std::move(inputs));
  IndexPageBuilder builder(pages_, f_, table_page_, index_, what_);
  Merged out;
  EntryBytes previous;
  bool first = true;
  Bytes entry;
  while (true) {
    PX_ASSIGN_OR_RETURN(bool more, merged->Next(entry));
    if (!more) break;
    const Bytes key = KeyOf(entry);
    const bool same_key = !first && previous.size() == entry.size() &&
                          std::equal(key.begin(), key.end(), previous.begin());
    if (same_key && std::equal(entry.begin(), entry.end(), previous.begin())) {
      return Corrupt(index_.root_page, "entry is in the index already");
    }
    // The leaves of a damaged index may be out of order: the new pages would hide it.
    if (!first && !same_key &&
        !std::lexicographical_compare(previous.begin(), previous.end(), entry.begin(),
                                      entry.end())) {
      return Corrupt(index_.root_page, "index entries out of key order");
    }
    if (same_key && held_once(key)) {
      out.duplicate = EntryBytes(entry.begin(), entry.end());
      return out;
    }
    if (!same_key) ++out.distinct_keys;
    PX_RETURN_IF_ERROR(builder.Add(entry));
    previous.assign(entry.begin(), entry.end());
    first = false;
  }
  PX_RETURN_IF_ERROR(builder.Finish());
  for (uint32_t page : old_pages) PX_RETURN_IF_ERROR(DropPage(page));
  cache_.clear();
  return out;
}

}  // namespace px::jet
