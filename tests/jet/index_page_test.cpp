// Index pages laid out by hand for the prefix and bitmask (every index page of the samples
// re-encodes in sample_sweep_test.cpp).
#include <gtest/gtest.h>

#include "jet/index_page.h"

namespace px::jet {
namespace {

TEST(IndexPage, PrefixAndBitmaskByHand) {
  const JetFormat& f = kJet4Format;
  IndexPage p;
  p.next = 0x1234;
  p.entries = {LeafEntry(std::vector<uint8_t>{0x7F, 0x80, 0, 0, 1}, {0x20, 0}),
               LeafEntry(std::vector<uint8_t>{0x7F, 0x80, 0, 0, 2}, {0x20, 1})};
  std::vector<uint8_t> page(f.page_size, 0xAA);
  ASSERT_TRUE(EncodeIndexPage(f, p, 24, page).ok());
  EXPECT_EQ(page[0], page_type::kIndexLeaf);
  EXPECT_EQ(LoadLe16(&page[2]), 3616 - 9 - 5);  // entries: 9 bytes whole, 9 - 4 shared
  EXPECT_EQ(LoadLe32(&page[4]), 24u);
  EXPECT_EQ(LoadLe32(&page[16]), 0x1234u);  // next leaf
  EXPECT_EQ(LoadLe16(&page[24]), 4);        // 7F 80 00 00 shared
  EXPECT_EQ(page[26], 0);                   // level byte of a leaf
  EXPECT_EQ(page[27], 0x00);                // bits 0..7: no entry ends there
  EXPECT_EQ(page[28], 0x02 | 0x40);         // ends at 9 and 14
  const std::vector<uint8_t> body = {0x7F, 0x80, 0,    0, 1, 0, 0, 0x20, 0, /* second: */ 2,
                                     0,    0,    0x20, 1};
  EXPECT_EQ(std::vector<uint8_t>(page.begin() + 480, page.begin() + 494), body);
  EXPECT_EQ(page[494], 0);
  auto back = DecodeIndexPage(f, page, "p");
  ASSERT_TRUE(back.ok());
  EXPECT_EQ(back->entries, p.entries);
  EXPECT_EQ(EntryRowPointer(back->entries[1], true), (RowPointer{0x20, 1}));
}

TEST(IndexPage, FullPagesAreRefusedAndNodesKeepTheirChildren) {
  for (const JetFormat* f : {&kJet3Format, &kJet4Format}) {
    IndexPage node;
    node.leaf = false;
    node.tail = 77;
    const size_t area = f->page_size - f->index_first_entry;
    for (uint32_t i = 0; i * 13 + 13 <= area; ++i) {
      // Keys that share nothing: no prefix to save space with.
      node.entries.push_back(NodeEntry(
          LeafEntry(std::vector<uint8_t>{uint8_t(i >> 8), uint8_t(i), 1, 2, 3}, {i + 1, 0}),
          1000 + i));
    }
    EXPECT_TRUE(IndexPageFits(*f, node.entries));
    std::vector<uint8_t> page(f->page_size);
    ASSERT_TRUE(EncodeIndexPage(*f, node, 5, page).ok());
    auto back = DecodeIndexPage(*f, page, "p");
    ASSERT_TRUE(back.ok());
    EXPECT_EQ(back->tail, 77u);
    EXPECT_EQ(EntryChild(back->entries.back()), 1000 + node.entries.size() - 1);
    node.entries.push_back(
        NodeEntry(LeafEntry(std::vector<uint8_t>{0xFF, 0xFF, 0, 0, 0}, {1, 1}), 9));
    EXPECT_FALSE(IndexPageFits(*f, node.entries));
    EXPECT_FALSE(EncodeIndexPage(*f, node, 5, page).ok());
  }
}

}  // namespace
}  // namespace px::jet
