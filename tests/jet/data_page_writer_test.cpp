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

// A page takes rows to its last byte and at most 255 of them; then AppendDataRow refuses
// with a message and TryAppendDataRow leaves the page as it was.
TEST(DataPageWriter, TakesRowsToTheLastByteOr255AndRefusesMore) {
  for (const JetFormat* f : {&kJet3Format, &kJet4Format}) {
    const size_t free0 = f->page_size - f->data_row_table;
    const std::pair<std::vector<size_t>, size_t> fills[] = {
        // row sizes, free space left
        {{free0 - 2 - 100, 98}, 0},
        {std::vector<size_t>(255, 4), free0 - 255 * 6}};
    for (const auto& [sizes, left] : fills) {
      std::vector<uint8_t> page(f->page_size);
      InitDataPage(*f, page, 9);
      for (size_t n : sizes) ASSERT_TRUE(TryAppendDataRow(*f, page, std::vector<uint8_t>(n, 1)));
      EXPECT_EQ(*DataPageFreeSpace(*f, page, "p"), left);
      EXPECT_EQ(LoadLe16(&page[2]), left);
      EXPECT_FALSE(DataPageFits(*f, page, 1));
      const std::vector<uint8_t> before = page;
      EXPECT_FALSE(TryAppendDataRow(*f, page, std::vector<uint8_t>(1)));
      EXPECT_EQ(page, before);
      auto st = AppendDataRow(*f, page, std::vector<uint8_t>(1), "file: page 9");
      ASSERT_FALSE(st.ok());
      EXPECT_EQ(st.status().message(), "file: page 9: a row of 1 bytes does not fit");
    }
  }
}

TEST(DataPageWriter, DeleteAndOverwriteKeepTheNeighbours) {
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
  // A row is overwritten by as many bytes only.
  EXPECT_TRUE(OverwriteDataRow(f, page, 2, std::vector<uint8_t>(30, 9), "p").ok());
  EXPECT_EQ(page[f.page_size - 31], 9);
  EXPECT_FALSE(OverwriteDataRow(f, page, 2, std::vector<uint8_t>(29, 9), "p").ok());
  auto again = MarkDataRowDeleted(f, page, 1, "file: page 3");
  EXPECT_EQ(again.message(), "file: page 3: row 1 is deleted already");
  EXPECT_EQ(MarkDataRowDeleted(f, page, 3, "file: page 3").message(),
            "file: page 3: row 3 does not exist (page has 3 rows)");
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
