// The page store: changes seen by readers before commit, rollback and failed commits that
// leave the file byte-identical, spilling, locks and the global usage map.
#include "jet/page_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "jet/database.h"
#include "jet/usage_map.h"
#include "support/dying_files.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

using px::testing::DyingFiles;
using px::testing::ReadAll;
using px::testing::TempFolder;

std::filesystem::path Sample(const std::string& name) {
  return std::filesystem::path(PX_SHARED_DIR) / "samples" / "mdb" / name;
}

#define COPY_OR_SKIP(var, folder, name)                                                     \
  if (!std::filesystem::exists(Sample(name))) GTEST_SKIP() << "no sample " << Sample(name); \
  const std::string var = (folder).str() + "/" + name;                                      \
  std::filesystem::copy_file(Sample(name), var)

// Pages (of 4096 bytes) where two files differ, the extra pages of the longer included.
std::vector<size_t> DifferentPages(const std::string& a, const std::string& b) {
  std::vector<size_t> out;
  for (size_t off = 0; off < std::max(a.size(), b.size()); off += 4096) {
    if (a.substr(std::min(off, a.size()), 4096) != b.substr(std::min(off, b.size()), 4096)) {
      out.push_back(off / 4096);
    }
  }
  return out;
}

// Is page `n` marked free in the global usage map (page 1 row 0, inline)?
bool GlobalFree(PageStore& store, uint32_t n) {
  auto page = store.Get(kGlobalMapPage);
  EXPECT_TRUE(page.ok());
  Bytes p = page->bytes();
  const JetFormat& f = store.format();
  uint16_t start = LoadLe16(&p[f.data_row_table]) & kRowOffsetMask;
  EXPECT_EQ(p[start], kUsageMapInline);
  uint32_t first = LoadLe32(&p[start + 1]);
  size_t bits = (p.size() - start - 5) * 8;
  if (n < first || n >= first + bits) return true;
  return (p[start + 5 + (n - first) / 8] >> ((n - first) % 8)) & 1;
}

TEST(PageStore, ChangesAreSeenBeforeCommitAndRollbackRestoresTheFile) {
  TempFolder dir;
  COPY_OR_SKIP(path, dir, "testV2000.mdb");
  const std::string before = ReadAll(path);
  auto store = PageStore::Open(platform::SystemFiles(), path);
  ASSERT_TRUE(store.ok()) << store.status().ToString();
  PageStore& s = **store;
  const uint32_t pages = s.page_count();
  {
    auto p = s.Modify(3);
    ASSERT_TRUE(p.ok());
    p->bytes()[100] ^= 0xFF;
  }
  auto seen = s.Get(3);
  ASSERT_TRUE(seen.ok());
  EXPECT_EQ(uint8_t(seen->bytes()[100]), uint8_t(uint8_t(before[3 * 4096 + 100]) ^ 0xFF));
  auto added = s.Allocate(page_type::kData, 2);
  ASSERT_TRUE(added.ok());
  EXPECT_EQ(added->number(), pages);
  EXPECT_EQ(s.page_count(), pages + 1);
  EXPECT_FALSE(GlobalFree(s, pages));
  EXPECT_TRUE(ReadAll(path) == before) << "nothing reaches the file before Commit";
  s.Rollback();
  EXPECT_EQ(s.page_count(), pages);
  EXPECT_TRUE(GlobalFree(s, pages));
  auto again = s.Get(3);
  ASSERT_TRUE(again.ok());
  EXPECT_EQ(uint8_t(again->bytes()[100]), uint8_t(before[3 * 4096 + 100]));
  EXPECT_TRUE(ReadAll(path) == before);
}

TEST(PageStore, CommitWritesChangedAndAppendedPages) {
  TempFolder dir;
  COPY_OR_SKIP(path, dir, "testV2000.mdb");
  std::string expected = ReadAll(path);
  {
    auto store = PageStore::Open(platform::SystemFiles(), path);
    ASSERT_TRUE(store.ok()) << store.status().ToString();
    auto p = (*store)->Modify(5);
    ASSERT_TRUE(p.ok());
    p->bytes()[4000] = 0x5A;
    expected[5 * 4096 + 4000] = 0x5A;
    auto added = (*store)->Allocate(page_type::kData, 7);
    ASSERT_TRUE(added.ok());
    const uint32_t n = added->number();
    added = MutablePage();
    ASSERT_TRUE((*store)->Commit().ok());
    EXPECT_FALSE((*store)->changed());
    EXPECT_FALSE(GlobalFree(**store, n));
    // Still usable after the commit: the reader sees the new file.
    auto page = (*store)->Get(n);
    ASSERT_TRUE(page.ok()) << page.status().ToString();
    EXPECT_EQ(page->bytes()[0], page_type::kData);
    EXPECT_EQ(LoadLe32(&page->bytes()[4]), 7u);
    EXPECT_EQ(LoadLe16(&page->bytes()[2]), 4096 - 14);
  }
  const std::string after = ReadAll(path);
  const size_t appended = expected.size() / 4096;
  EXPECT_EQ(DifferentPages(after, expected), (std::vector<size_t>{kGlobalMapPage, appended}));
  EXPECT_FALSE(std::filesystem::exists(platform::TempNameBeside(path)));
  auto db = Database::Open(path);
  ASSERT_TRUE(db.ok()) << db.status().ToString();
}

TEST(PageStore, SpillsBeyondTheMemoryBoundAndCommitsSpilledPages) {
  TempFolder dir;
  COPY_OR_SKIP(path, dir, "testV2000.mdb");
  auto store = PageStore::Open(platform::SystemFiles(), path, {}, {.memory_bytes = 8 * 4096});
  ASSERT_TRUE(store.ok()) << store.status().ToString();
  PageStore& s = **store;
  std::vector<uint32_t> numbers;
  for (int i = 0; i < 100; ++i) {
    auto p = s.Allocate(page_type::kData, 1000 + i);
    ASSERT_TRUE(p.ok()) << p.status().ToString();
    numbers.push_back(p->number());
  }
  EXPECT_LE(s.resident_pages(), 8u);
  EXPECT_GT(s.spilled_pages(), 80u);
  // Each spilled page sits where the database will have it: the spill file becomes the new
  // file at the commit, and pages spilled in order are written once.
  const std::string spill = ReadAll(SpillFileBeside(path));
  for (int i = 0; i < 80; ++i) {
    ASSERT_GE(spill.size(), (size_t(numbers[i]) + 1) * 4096);
    EXPECT_EQ(LoadLe32(reinterpret_cast<const uint8_t*>(&spill[size_t(numbers[i]) * 4096 + 4])),
              uint32_t(1000 + i));
  }
  for (int i = 0; i < 100; ++i) {
    auto p = s.Get(numbers[i]);
    ASSERT_TRUE(p.ok());
    EXPECT_EQ(LoadLe32(&p->bytes()[4]), uint32_t(1000 + i));
  }
  ASSERT_TRUE(s.Commit().ok());
  EXPECT_FALSE(std::filesystem::exists(SpillFileBeside(path)));
  const std::string after = ReadAll(path);
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(LoadLe32(reinterpret_cast<const uint8_t*>(&after[size_t(numbers[i]) * 4096 + 4])),
              uint32_t(1000 + i));
  }
}

TEST(PageStore, FreedPagesAreReusedAndMarkedInTheGlobalMap) {
  TempFolder dir;
  COPY_OR_SKIP(path, dir, "testV2000.mdb");
  auto store = PageStore::Open(platform::SystemFiles(), path);
  ASSERT_TRUE(store.ok());
  PageStore& s = **store;
  auto a = s.Allocate(page_type::kData, 2);
  ASSERT_TRUE(a.ok());
  const uint32_t n = a->number();
  ASSERT_TRUE(s.Free(n).ok());
  EXPECT_TRUE(GlobalFree(s, n));
  auto b = s.Allocate(page_type::kIndexLeaf, 2);
  ASSERT_TRUE(b.ok());
  EXPECT_EQ(b->number(), n);
  EXPECT_FALSE(GlobalFree(s, n));
  EXPECT_EQ(b->bytes()[0], page_type::kIndexLeaf);
  EXPECT_FALSE(s.Free(0).ok());
  EXPECT_FALSE(s.Free(1).ok());
}

TEST(PageStore, RefusesFilesInUse) {
  TempFolder dir;
  COPY_OR_SKIP(path, dir, "testV2000.mdb");
  {
    auto first = PageStore::Open(platform::SystemFiles(), path);
    ASSERT_TRUE(first.ok());
    auto second = PageStore::Open(platform::SystemFiles(), path);
    ASSERT_FALSE(second.ok());
    EXPECT_NE(second.status().message().find(path), std::string::npos) << second.status().message();
  }
  dir.Write("testV2000.ldb", "");
  auto locked = PageStore::Open(platform::SystemFiles(), path, "C:\\Muhasebe\\testV2000.mdb");
  ASSERT_FALSE(locked.ok());
  EXPECT_NE(locked.status().message().find("C:\\Muhasebe\\testV2000.mdb"), std::string::npos);
  EXPECT_NE(locked.status().message().find("testV2000.ldb"), std::string::npos);
  EXPECT_NE(locked.status().message().find("close"), std::string::npos);
}

// The row and index writers' view: reads see changes, new pages are blank and used.
TEST(PageStore, WritablePagesViewSeesTheOverlay) {
  TempFolder dir;
  COPY_OR_SKIP(path, dir, "testV2000.mdb");
  const std::string before = ReadAll(path);
  auto store = PageStore::Open(platform::SystemFiles(), path);
  ASSERT_TRUE(store.ok());
  PageStorePages pages(**store);
  const uint32_t count = pages.page_count();
  auto n = pages.Allocate();
  ASSERT_TRUE(n.ok());
  EXPECT_EQ(*n, count);
  EXPECT_EQ(pages.page_count(), count + 1);
  EXPECT_FALSE(GlobalFree(**store, *n));
  auto fresh = pages.Read(*n);
  ASSERT_TRUE(fresh.ok());
  EXPECT_TRUE(std::all_of(fresh->begin(), fresh->end(), [](uint8_t b) { return b == 0; }));
  ASSERT_TRUE(pages.Write(*n, Bytes(reinterpret_cast<const uint8_t*>(before.data()), 4096)).ok());
  auto back = pages.Read(*n);
  ASSERT_TRUE(back.ok());
  EXPECT_EQ(back->front(), uint8_t(before[0]));
  ASSERT_TRUE(pages.Free(*n).ok());
  EXPECT_TRUE(GlobalFree(**store, *n));
  EXPECT_FALSE(pages.Write(*n, Bytes(reinterpret_cast<const uint8_t*>(before.data()), 10)).ok());
  (*store)->Rollback();
  EXPECT_TRUE(ReadAll(path) == before);
}

TEST(PageStore, LdbNameReplacesTheExtension) {
  EXPECT_EQ(LdbPathOf("/a/b/sirket.mdb"), "/a/b/sirket.ldb");
  EXPECT_EQ(LdbPathOf("/a.b/sirket"), "/a.b/sirket.ldb");
  EXPECT_EQ(LdbPathOf("x.y.mdb"), "x.y.ldb");
}

// A failed commit at every possible point leaves the file as it was and no stray files.
TEST(PageStore, FailedCommitAtAnyWriteLeavesTheFileIdentical) {
  TempFolder dir;
  COPY_OR_SKIP(path, dir, "testV2000.mdb");
  const std::string before = ReadAll(path);
  uint64_t total = 0;
  for (uint64_t n = 1;; ++n) {
    DyingFiles files(n, DyingFiles::Fault::kDiskFull);
    bool committed;
    {
      auto store = PageStore::Open(files, path, {}, {.memory_bytes = 8 * 4096});
      ASSERT_TRUE(store.ok()) << store.status().ToString();
      Status st;
      for (int i = 0; i < 40 && st.ok(); ++i) {
        auto p = (*store)->Allocate(page_type::kData, 2);
        st = p.status();
        if (p.ok()) p->bytes()[100] = uint8_t(i);
      }
      if (st.ok()) st = (*store)->Commit();
      committed = st.ok();
      if (!committed) {
        EXPECT_NE(st.message().find(path), std::string::npos) << st.message();
      }
    }
    if (committed) {
      EXPECT_FALSE(files.dead());
      total = n;
      break;
    }
    EXPECT_TRUE(ReadAll(path) == before) << "failure at change " << n;
    EXPECT_FALSE(std::filesystem::exists(platform::TempNameBeside(path))) << n;
    EXPECT_FALSE(std::filesystem::exists(SpillFileBeside(path))) << n;
  }
  EXPECT_GT(total, 5u) << "the scenario should spill, write and rename";
  // One more: the inline page map of this file names 768 pages; it becomes a reference map
  // with a bitmap page of its own.
  EXPECT_EQ(ReadAll(path).size(), before.size() + 41 * 4096);
}

}  // namespace
}  // namespace px::jet
