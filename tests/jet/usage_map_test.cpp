// Usage maps laid out by hand: inline and reference forms, and hostile map rows.
#include <gtest/gtest.h>

#include "jet/usage_map.h"
#include "page_builder.h"

namespace px::jet {
namespace {

using testing::DataPage;
using testing::Join;

std::vector<uint32_t> Drain(UsageMapCursor& c) {
  std::vector<uint32_t> pages;
  while (true) {
    auto next = c.Next();
    EXPECT_TRUE(next.ok()) << next.status().ToString();
    if (!next.ok() || !*next) return pages;
    pages.push_back(**next);
  }
}

TEST(UsageMap, InlineMapFromItsStartPage) {
  const JetFormat& f = kJet3Format;
  std::vector<uint8_t> map = {kUsageMapInline, 8, 0, 0, 0, 0x05, 0x80};  // bits 0, 2, 15
  auto pages = Join({std::vector<uint8_t>(f.page_size), DataPage(f, 0, {map})});
  pages.resize(size_t(f.page_size) * 24);
  Pager pager(MemorySource(pages, "m.mdb"), f.page_size, 0);
  auto c = UsageMapCursor::Open(pager, f, RowPointer{1, 0}, "table T");
  ASSERT_TRUE(c.ok()) << c.status().ToString();
  EXPECT_EQ(Drain(*c), (std::vector<uint32_t>{8, 10, 23}));
}

TEST(UsageMap, ReferenceMapSkipsEmptySlots) {
  const JetFormat& f = kJet4Format;
  // Slot 0 has no bitmap page; slot 1 is page 2 and covers pages from 32736 on.
  std::vector<uint8_t> map = {kUsageMapReference, 0, 0, 0, 0, 2, 0, 0, 0};
  std::vector<uint8_t> bitmap(f.page_size, 0);
  bitmap[0] = page_type::kUsageMap;
  bitmap[1] = 0x01;
  bitmap[kUsageMapPageHeader] = 0x03;  // pages 32736 and 32737
  Pager pager(MemorySource(Join({std::vector<uint8_t>(f.page_size), DataPage(f, 0, {map}), bitmap}),
                           "ref.mdb"),
              f.page_size, 0);
  auto c = UsageMapCursor::Open(pager, f, RowPointer{1, 0}, "table T");
  ASSERT_TRUE(c.ok()) << c.status().ToString();
  EXPECT_EQ(Drain(*c), (std::vector<uint32_t>{32736, 32737}));
}

TEST(UsageMap, HostileMaps) {
  const JetFormat& f = kJet4Format;
  std::vector<uint8_t> unknown = {7, 0, 0, 0, 0};
  std::vector<uint8_t> ref_to_data = {kUsageMapReference, 1, 0, 0, 0};  // page 1 is a data page
  std::vector<uint8_t> truncated = {kUsageMapInline, 0};
  Pager pager(MemorySource(Join({std::vector<uint8_t>(f.page_size),
                                 DataPage(f, 0, {unknown, ref_to_data, truncated})}),
                           "bad.mdb"),
              f.page_size, 0);
  auto c = UsageMapCursor::Open(pager, f, RowPointer{1, 0}, "table T");
  ASSERT_FALSE(c.ok());
  EXPECT_NE(c.status().message().find("bad.mdb: page 1: usage map of table T has unknown type 7"),
            std::string::npos)
      << c.status().message();
  c = UsageMapCursor::Open(pager, f, RowPointer{1, 1}, "table T");
  ASSERT_TRUE(c.ok());
  auto next = c->Next();
  ASSERT_FALSE(next.ok());
  EXPECT_NE(next.status().message().find("expected a usage map page for table T"),
            std::string::npos);
  EXPECT_TRUE(UsageMapCursor::Open(pager, f, RowPointer{1, 2}, "t").status().IsCorruption());
  EXPECT_TRUE(UsageMapCursor::Open(pager, f, RowPointer{1, 9}, "t").status().IsCorruption());
}

}  // namespace
}  // namespace px::jet
