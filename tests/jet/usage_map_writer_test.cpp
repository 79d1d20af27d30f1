// Usage maps changed by the writer and read back by the reader's cursor: bits set and
// cleared in an inline window, an empty inline map moved, an inline map promoted to a
// reference map when a page falls outside its window, reference maps gaining bitmap pages.
#include <gtest/gtest.h>

#include <set>

#include "jet/data_page_writer.h"
#include "jet/usage_map.h"
#include "jet/usage_map_writer.h"
#include "memory_pages.h"

namespace px::jet {
namespace {

using testing::MemoryPages;

// Page 0, page 1 with row 0 the global map (pages 0..1 used) and row 1 the map under test
// (inline, starting at `start`, with `members`).
MemoryPages MapFile(const JetFormat& f, uint32_t start, const std::set<uint32_t>& members) {
  std::vector<uint8_t> file(2 * f.page_size, 0);
  MutableBytes page(&file[f.page_size], f.page_size);
  InitDataPage(f, page, 0);
  const size_t bytes = f.version == JetVersion::kJet3 ? 128 : 64;
  std::vector<uint8_t> global(5 + bytes, 0xFF), map(5 + bytes, 0);
  global[0] = 0;
  StoreLe32(&global[1], 0);
  global[5] = 0xFC;
  map[0] = kUsageMapInline;
  StoreLe32(&map[1], start);
  for (uint32_t m : members) map[5 + (m - start) / 8] |= uint8_t(1u << ((m - start) % 8));
  EXPECT_TRUE(AppendDataRow(f, page, global, "p").ok());
  EXPECT_TRUE(AppendDataRow(f, page, map, "p").ok());
  return MemoryPages(f, file, "map.mdb");
}

std::set<uint32_t> ReadBack(MemoryPages& pages, const JetFormat& f) {
  std::set<uint32_t> out;
  Pager pager(MemorySource(pages.bytes(), "map.mdb"), f.page_size, 0);
  auto c = UsageMapCursor::Open(pager, f, RowPointer{1, 1}, "T");
  EXPECT_TRUE(c.ok()) << c.status().ToString();
  while (c.ok()) {
    auto next = c->Next();
    EXPECT_TRUE(next.ok()) << next.status().ToString();
    if (!next.ok() || !*next) break;
    out.insert(**next);
  }
  std::set<uint32_t> walked;
  EXPECT_TRUE(ForEachMappedPage(pages, f, RowPointer{1, 1}, "T", [&](uint32_t p) {
                walked.insert(p);
                return Status::Ok();
              }).ok());
  EXPECT_EQ(walked, out);
  return out;
}

struct Step {
  uint32_t page;
  bool in;
};

struct MapCase {
  const char* name;
  const JetFormat* f;
  uint32_t start;
  std::set<uint32_t> members;
  std::vector<Step> steps;
  uint8_t final_type;
};

TEST(UsageMapWriter, ChangesReadBackThroughTheReader) {
  const MapCase cases[] = {
      {"inline set and clear",
       &kJet4Format,
       8,
       {9, 12},
       {{10, true}, {12, false}, {519, true}},
       kUsageMapInline},
      {"clearing outside the window is nothing",
       &kJet4Format,
       8,
       {9},
       {{5000, false}},
       kUsageMapInline},
      {"empty map moves", &kJet4Format, 0, {}, {{70001, true}, {70100, true}}, kUsageMapInline},
      {"promoted past the window",
       &kJet4Format,
       16,
       {16, 17, 300},
       {{600, true}, {40000, true}},
       kUsageMapReference},
      {"promoted, Jet 3",
       &kJet3Format,
       0,
       {3, 1023},
       {{1024, true}, {20000, true}, {3, false}},
       kUsageMapReference},
      {"emptied map still takes pages",
       &kJet3Format,
       0,
       {5},
       {{5, false}, {90000, true}},
       kUsageMapInline},
  };
  for (const auto& tc : cases) {
    SCOPED_TRACE(tc.name);
    const JetFormat& f = *tc.f;
    MemoryPages pages = MapFile(f, tc.start, tc.members);
    std::set<uint32_t> want = tc.members;
    for (const Step& s : tc.steps) {
      Status st = UsageMapSet(pages, f, RowPointer{1, 1}, s.page, s.in, "T");
      ASSERT_TRUE(st.ok()) << st.ToString();
      if (s.in) {
        want.insert(s.page);
      } else {
        want.erase(s.page);
      }
      EXPECT_EQ(ReadBack(pages, f), want);
    }
    auto row = DataRowBounds(f, *pages.Read(1), 1, "p");
    EXPECT_EQ((*pages.Read(1))[row->first], tc.final_type);
    // Bitmap pages of a reference map: type 05, 01, two zero bytes, then bits.
    for (uint32_t p : pages.allocated) {
      Bytes b = *pages.Read(p);
      EXPECT_EQ(b[0], page_type::kUsageMap);
      EXPECT_EQ(b[1], 0x01);
      EXPECT_EQ(LoadLe16(&b[2]), 0);
    }
  }
}

TEST(UsageMapWriter, PageBeyondAReferenceMapIsRefused) {
  const JetFormat& f = kJet4Format;
  MemoryPages pages = MapFile(f, 0, {1});
  ASSERT_TRUE(UsageMapSet(pages, f, RowPointer{1, 1}, 600, true, "T").ok());  // promoted
  // 17 bitmap pages of 32,736 pages each name pages below 556,512.
  Status st = UsageMapSet(pages, f, RowPointer{1, 1}, 17 * 32736, true, "owned pages of table T");
  EXPECT_EQ(st.code(), StatusCode::kNotSupported);
  EXPECT_EQ(st.message(),
            "map.mdb: page 1: usage map of owned pages of table T cannot name page 556512");
  EXPECT_TRUE(UsageMapSet(pages, f, RowPointer{1, 1}, 17 * 32736 - 1, true, "T").ok());
}

}  // namespace
}  // namespace px::jet
