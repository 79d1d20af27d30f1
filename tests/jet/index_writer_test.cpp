// B-tree maintenance: random inserts and removals checked against a plain sorted set, with
// every structural rule of the tree checked after each batch: entries ascending along the
// leaf chain, prev/next links mirrored, each node entry equal to the largest entry below
// its child, all leaves at one depth, the used-pages map listing exactly the tree's pages.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "jet/data_page_writer.h"
#include "jet/index_reader.h"
#include "jet/index_writer.h"
#include "jet/usage_map_writer.h"
#include "memory_pages.h"

namespace px::jet {
namespace {

using testing::MemoryPages;

constexpr uint32_t kOwner = 2;  // the table definition page that owns the index
constexpr uint32_t kRoot = 3;

// Page 0 header, page 1 maps (row 0 global: pages 0..3 used; row 1 the index's used pages),
// page 2 (stands for the table definition), page 3 an empty root leaf.
std::vector<uint8_t> SmallFile(const JetFormat& f) {
  std::vector<uint8_t> file(4 * f.page_size, 0);
  MutableBytes maps(&file[f.page_size], f.page_size);
  InitDataPage(f, maps, 0);
  const size_t map_bytes = f.version == JetVersion::kJet3 ? 128 : 64;
  std::vector<uint8_t> global(5 + map_bytes, 0xFF), used(5 + map_bytes, 0);
  global[0] = 0;
  StoreLe32(&global[1], 0);
  global[5] = 0xF0;  // pages 0..3 in use
  used[0] = 0;
  StoreLe32(&used[1], 0);
  used[5] = 1 << kRoot;
  EXPECT_TRUE(AppendDataRow(f, maps, global, "maps").ok());
  EXPECT_TRUE(AppendDataRow(f, maps, used, "maps").ok());
  file[2 * f.page_size] = page_type::kTableDef;
  MutableBytes root(&file[kRoot * f.page_size], f.page_size);
  EXPECT_TRUE(EncodeIndexPage(f, IndexPage{}, kOwner, root).ok());
  return file;
}

RealIndex TestIndex() {
  RealIndex r;
  r.root_page = kRoot;
  r.used_map = RowPointer{1, 1};
  return r;
}

// Walks the subtree at `page`; returns its largest entry. `depth` of every leaf must match.
EntryBytes CheckSubtree(MemoryPages& pages, const JetFormat& f, uint32_t page, int depth,
                        int& leaf_depth, std::set<uint32_t>& seen) {
  EXPECT_TRUE(seen.insert(page).second) << "page " << page << " reached twice";
  auto bytes = pages.Read(page);
  auto content = DecodeIndexPage(f, *bytes, "p");
  EXPECT_TRUE(content.ok());
  EXPECT_EQ(LoadLe32(&(*bytes)[4]), kOwner);
  if (content->leaf) {
    if (leaf_depth < 0) leaf_depth = depth;
    EXPECT_EQ(depth, leaf_depth) << "leaf " << page << " at another depth";
    return content->entries.empty() ? EntryBytes{} : content->entries.back();
  }
  for (const auto& e : content->entries) {
    EntryBytes max = CheckSubtree(pages, f, EntryChild(e), depth + 1, leaf_depth, seen);
    // The entry routes searches: never below what its child holds, equal when exact.
    EXPECT_FALSE(EntryWithoutChild(e) < max) << "node " << page;
  }
  EXPECT_NE(content->tail, 0u) << "node " << page << " without tail";
  return CheckSubtree(pages, f, content->tail, depth + 1, leaf_depth, seen);
}

// Every rule of the tree, and its entries along the leaf chain equal to `want`.
void CheckTree(MemoryPages& pages, const JetFormat& f, const std::set<EntryBytes>& want) {
  std::set<uint32_t> seen;
  int leaf_depth = -1;
  CheckSubtree(pages, f, kRoot, 0, leaf_depth, seen);
  // First leaf: descend along first children.
  uint32_t page = kRoot;
  while (true) {
    auto content = DecodeIndexPage(f, *pages.Read(page), "p");
    if (content->leaf) break;
    page = content->entries.empty() ? content->tail : EntryChild(content->entries.front());
  }
  std::vector<EntryBytes> chain;
  uint32_t prev = 0;
  while (page != 0) {
    auto content = DecodeIndexPage(f, *pages.Read(page), "p");
    ASSERT_TRUE(content->leaf);
    EXPECT_EQ(content->prev, prev) << "leaf " << page;
    chain.insert(chain.end(), content->entries.begin(), content->entries.end());
    prev = page;
    page = content->next;
  }
  EXPECT_EQ(chain, std::vector<EntryBytes>(want.begin(), want.end()));
  // The used-pages map lists exactly the reachable pages; every other page allocated was freed.
  std::set<uint32_t> mapped;
  ASSERT_TRUE(ForEachMappedPage(pages, f, RowPointer{1, 1}, "index", [&](uint32_t p) {
                mapped.insert(p);
                return Status::Ok();
              }).ok());
  EXPECT_EQ(mapped, seen);
  for (uint32_t p : pages.allocated) {
    EXPECT_NE(seen.count(p) == 1, pages.freed.count(p) == 1) << "page " << p;
  }
  // The reader agrees on the count.
  Pager pager(MemorySource(pages.bytes(), "mem"), f.page_size, 0);
  RealIndex r = TestIndex();
  auto count = CountIndexEntries(pager, f, kOwner, r, "index");
  ASSERT_TRUE(count.ok()) << count.status().ToString();
  EXPECT_EQ(*count, want.size());
}

EntryBytes MakeEntry(uint32_t key, size_t pad, uint32_t row_page) {
  std::vector<uint8_t> k = {0x7F, uint8_t(key >> 24), uint8_t(key >> 16), uint8_t(key >> 8),
                            uint8_t(key)};
  k.insert(k.end(), pad, uint8_t(key % 7));
  return LeafEntry(k, RowPointer{row_page, uint8_t(key % 200)});
}

struct TreeCase {
  const char* name;
  const JetFormat* f;
  size_t pad;  // key bytes beyond the 5 of the number: fewer entries a page, deeper trees
  size_t inserts;
  bool ascending;  // keys in order (right-edge splits) or shuffled
};

TEST(IndexWriter, RandomInsertsAndRemovalsKeepTheTreeExact) {
  const TreeCase cases[] = {
      {"jet4_shuffled_deep", &kJet4Format, 180, 1500, false},
      {"jet4_ascending_deep", &kJet4Format, 180, 1500, true},
      {"jet4_shuffled_wide", &kJet4Format, 0, 3000, false},
      {"jet3_shuffled", &kJet3Format, 90, 1200, false},
      {"jet3_ascending", &kJet3Format, 90, 1200, true},
  };
  for (const auto& tc : cases) {
    SCOPED_TRACE(tc.name);
    const JetFormat& f = *tc.f;
    MemoryPages pages(f, SmallFile(f));
    IndexWriter w(pages, f, kOwner, TestIndex(), "index kod of table T");
    std::vector<uint32_t> keys(tc.inserts);
    for (size_t i = 0; i < keys.size(); ++i) keys[i] = uint32_t(i * 3 + 1);
    std::mt19937 rng(7);
    if (!tc.ascending) std::shuffle(keys.begin(), keys.end(), rng);
    std::set<EntryBytes> want;
    for (size_t i = 0; i < keys.size(); ++i) {
      EntryBytes e = MakeEntry(keys[i], tc.pad, 100 + keys[i] / 100);
      auto st = w.Insert(e);
      ASSERT_TRUE(st.ok()) << st.status().ToString();
      EXPECT_TRUE(*st);  // every key is new
      want.insert(e);
      if (i % 500 == 499) CheckTree(pages, f, want);
    }
    CheckTree(pages, f, want);
    if (tc.ascending) {  // in-order arrival fills pages instead of leaving them half empty
      EXPECT_LT(pages.allocated.size(), tc.inserts * (tc.pad + 9) / (f.page_size - 600) + 4);
    }
    // Lookups by key alone.
    std::vector<uint8_t> key5 = {0x7F, 0, 0, 0, 4};
    key5.insert(key5.end(), tc.pad, uint8_t(4 % 7));
    EXPECT_TRUE(*w.ContainsKey(key5));
    key5[4] = 5;
    EXPECT_FALSE(*w.ContainsKey(key5));
    // Remove three quarters in random order, then the rest.
    std::vector<EntryBytes> all(want.begin(), want.end());
    std::shuffle(all.begin(), all.end(), rng);
    for (size_t i = 0; i < all.size(); ++i) {
      Status st = w.Remove(all[i]);
      ASSERT_TRUE(st.ok()) << st.ToString();
      want.erase(all[i]);
      if (i % 400 == 399 || i == all.size() * 3 / 4) CheckTree(pages, f, want);
    }
    CheckTree(pages, f, want);
    EXPECT_EQ(w.Remove(all[0]).code(), StatusCode::kCorruption);
  }
}

TEST(IndexWriter, ClearLeavesAnEmptyRootAndFreesTheRest) {
  const JetFormat& f = kJet4Format;
  MemoryPages pages(f, SmallFile(f));
  IndexWriter w(pages, f, kOwner, TestIndex(), "index");
  for (uint32_t k = 0; k < 2000; ++k) {
    ASSERT_TRUE(w.Insert(MakeEntry(k * 7919 % 2003, 60, 9)).ok());
  }
  EXPECT_GT(pages.allocated.size(), 10u);
  ASSERT_TRUE(w.Clear().ok());
  CheckTree(pages, f, {});
  EXPECT_EQ(pages.freed, pages.allocated);
  // And it takes entries again.
  ASSERT_TRUE(w.Insert(MakeEntry(5, 0, 9)).ok());
  CheckTree(pages, f, {MakeEntry(5, 0, 9)});
}

// Runs of equal keys spread over several leaves: Insert reports a new key only for the
// first entry of each, whichever side of a leaf boundary the equal neighbour lies on.
TEST(IndexWriter, InsertTellsNewKeysFromRepeatedOnes) {
  const JetFormat& f = kJet3Format;
  MemoryPages pages(f, SmallFile(f));
  IndexWriter w(pages, f, kOwner, TestIndex(), "index");
  std::mt19937 rng(3);
  std::set<uint32_t> keys_seen;
  std::set<EntryBytes> want;
  size_t distinct = 0;
  for (uint32_t i = 0; i < 1500; ++i) {
    const uint32_t key = rng() % 40;
    std::vector<uint8_t> k = {0x7F, 0, 0, uint8_t(key)};
    k.insert(k.end(), 80, 1);
    EntryBytes e = LeafEntry(k, RowPointer{1000 + i / 200, uint8_t(i % 200)});
    auto fresh = w.Insert(e);
    ASSERT_TRUE(fresh.ok());
    EXPECT_EQ(*fresh, keys_seen.insert(key).second) << "entry " << i << " key " << key;
    distinct += *fresh;
    want.insert(e);
  }
  EXPECT_EQ(distinct, 40u);
  CheckTree(pages, f, want);
}

TEST(IndexWriter, DamageIsReportedWithFileAndPage) {
  const JetFormat& f = kJet4Format;
  auto file = SmallFile(f);
  StoreLe32(&file[kRoot * f.page_size + 4], 99);  // root owned by another table
  MemoryPages pages(f, file, "cari.mdb");
  IndexWriter w(pages, f, kOwner, TestIndex(), "index kod of table Cari");
  Status st = w.Insert(MakeEntry(1, 0, 9)).status();
  EXPECT_EQ(st.message(),
            "cari.mdb: page 3: index kod of table Cari: index page belongs to page 99");
}

}  // namespace
}  // namespace px::jet
