// Data pages written by the writer read back through the reader (DataPageRow), and the
// page bytes themselves checked field by field.
#include <gtest/gtest.h>

#include "jet/data_page.h"
#include "jet/data_page_writer.h"

namespace px::jet {
namespace {

Page AsPage(const std::vector<uint8_t>& bytes, uint32_t number = 7) {
  return Page{number, std::make_shared<const std::vector<uint8_t>>(bytes)};
}

TEST(DataPageWriter, FreshPageThenRowsPackedDownwards) {
  const JetFormat& f = kJet4Format;
  std::vector<uint8_t> page(f.page_size, 0xEE);
  InitDataPage(f, page, 0x1234);
  // 01 01 | free 4082 (4096 - 14) | owner | 4 zero bytes | no rows
  EXPECT_EQ(std::vector<uint8_t>(page.begin(), page.begin() + 14),
            (std::vector<uint8_t>{1, 1, 0xF2, 0x0F, 0x34, 0x12, 0, 0, 0, 0, 0, 0, 0, 0}));
  std::vector<uint8_t> a(10, 'a'), b(3, 'b');
  auto ra = AppendDataRow(f, page, a, "p");
  auto rb = AppendDataRow(f, page, b, "p");
  ASSERT_TRUE(ra.ok() && rb.ok());
  EXPECT_EQ(*ra, 0);
  EXPECT_EQ(*rb, 1);
  EXPECT_EQ(LoadLe16(&page[12]), 2);             // two slots
  EXPECT_EQ(LoadLe16(&page[14]), 4096 - 10);     // row 0 ends at the page end
  EXPECT_EQ(LoadLe16(&page[16]), 4096 - 13);     // row 1 ends where row 0 starts
  EXPECT_EQ(LoadLe16(&page[2]), 4082 - 12 - 5);  // each row costs its bytes + 2
  Page p = AsPage(page);
  auto r1 = DataPageRow(f, p, 1, "f");
  ASSERT_TRUE(r1.ok());
  EXPECT_EQ(std::vector<uint8_t>(r1->data.begin(), r1->data.end()), b);
  EXPECT_EQ(DataPageOwner(f, p), 0x1234u);
}

TEST(DataPageWriter, FillsExactlyToTheLastByteAndRefusesMore) {
  for (const JetFormat* f : {&kJet3Format, &kJet4Format}) {
    std::vector<uint8_t> page(f->page_size);
    InitDataPage(*f, page, 9);
    const size_t free0 = f->page_size - f->data_row_table;
    std::vector<uint8_t> big(free0 - 2 - 100, 1), last(98, 2);
    ASSERT_TRUE(AppendDataRow(*f, page, big, "p").ok());
    EXPECT_TRUE(DataPageFits(*f, page, 98));
    EXPECT_FALSE(DataPageFits(*f, page, 99));
    ASSERT_TRUE(AppendDataRow(*f, page, last, "p").ok());
    EXPECT_EQ(*DataPageFreeSpace(*f, page, "p"), 0u);
    EXPECT_EQ(LoadLe16(&page[2]), 0);
    auto st = AppendDataRow(*f, page, std::vector<uint8_t>(1), "file: page 9");
    ASSERT_FALSE(st.ok());
    EXPECT_EQ(st.status().message(), "file: page 9: a row of 1 bytes does not fit");
  }
}

TEST(DataPageWriter, AtMost255RowsAPage) {
  const JetFormat& f = kJet4Format;
  std::vector<uint8_t> page(f.page_size);
  InitDataPage(f, page, 9);
  std::vector<uint8_t> row(4, 0);
  for (int i = 0; i < 255; ++i) ASSERT_TRUE(AppendDataRow(f, page, row, "p").ok()) << i;
  EXPECT_FALSE(DataPageFits(f, page, 4));
  EXPECT_FALSE(AppendDataRow(f, page, row, "p").ok());
}

TEST(DataPageWriter, DeleteFlagsTheRowAndKeepsItsNeighbours) {
  const JetFormat& f = kJet3Format;
  std::vector<uint8_t> page(f.page_size);
  InitDataPage(f, page, 3);
  for (uint8_t k = 1; k <= 3; ++k) {
    ASSERT_TRUE(AppendDataRow(f, page, std::vector<uint8_t>(k * 10, k), "p").ok());
  }
  const uint16_t free_before = LoadLe16(&page[2]);
  ASSERT_TRUE(MarkDataRowDeleted(f, page, 1, "p").ok());
  EXPECT_EQ(LoadLe16(&page[2]), free_before);  // space comes back only on compaction
  Page p = AsPage(page);
  auto r1 = DataPageRow(f, p, 1, "f");
  auto r2 = DataPageRow(f, p, 2, "f");
  ASSERT_TRUE(r1.ok() && r2.ok());
  EXPECT_TRUE(r1->deleted);
  EXPECT_EQ(r1->data.size(), 20u);
  EXPECT_FALSE(r2->deleted);
  EXPECT_EQ(r2->data.size(), 30u);
  auto again = MarkDataRowDeleted(f, page, 1, "file: page 3");
  EXPECT_EQ(again.message(), "file: page 3: row 1 is deleted already");
  EXPECT_EQ(MarkDataRowDeleted(f, page, 3, "file: page 3").message(),
            "file: page 3: row 3 does not exist (page has 3 rows)");
}

TEST(DataPageWriter, OverwriteKeepsTheLength) {
  const JetFormat& f = kJet4Format;
  std::vector<uint8_t> page(f.page_size);
  InitDataPage(f, page, 3);
  ASSERT_TRUE(AppendDataRow(f, page, std::vector<uint8_t>(8, 1), "p").ok());
  EXPECT_TRUE(OverwriteDataRow(f, page, 0, std::vector<uint8_t>(8, 2), "p").ok());
  EXPECT_EQ(page[f.page_size - 1], 2);
  EXPECT_FALSE(OverwriteDataRow(f, page, 0, std::vector<uint8_t>(7, 2), "p").ok());
}

TEST(DataPageWriter, DamagedPagesAreCorruption) {
  const JetFormat& f = kJet4Format;
  std::vector<uint8_t> page(f.page_size);
  InitDataPage(f, page, 3);
  StoreLe16(&page[f.data_row_count], 2);  // two slots, offsets 0: overlap the table
  EXPECT_TRUE(AppendDataRow(f, page, std::vector<uint8_t>(4), "p").status().IsCorruption());
  EXPECT_FALSE(DataPageFits(f, page, 1));
  page[0] = page_type::kIndexLeaf;
  EXPECT_TRUE(DataPageFreeSpace(f, page, "p").status().IsCorruption());
}

}  // namespace
}  // namespace px::jet
