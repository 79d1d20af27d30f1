// Index pages: every index page Access and Jackcess wrote in the samples decodes to whole
// entries, and re-encoding them gives a page that decodes to the same entries and links;
// page bytes laid out by hand for the prefix and bitmask.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "jet/index_page.h"
#include "support/samples.h"

namespace px::jet {
namespace {

std::vector<uint8_t> ReadFile(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

TEST(IndexPage, EveryPageOfTheSamplesReencodesToTheSameEntries) {
  PX_SAMPLE_OR_SKIP(dir, "mdb");
  size_t pages = 0, entries = 0, compressed = 0;
  for (const auto& file : std::filesystem::directory_iterator(dir)) {
    const auto bytes = ReadFile(file.path());
    const JetFormat& f = bytes.size() > 0x14 && bytes[0x14] == 0 ? kJet3Format : kJet4Format;
    for (size_t off = 0; off + f.page_size <= bytes.size(); off += f.page_size) {
      Bytes page(&bytes[off], f.page_size);
      if (page[0] != page_type::kIndexLeaf && page[0] != page_type::kIndexNode) continue;
      const std::string where =
          file.path().filename().string() + " page " + std::to_string(off / f.page_size);
      auto decoded = DecodeIndexPage(f, page, where);
      ASSERT_TRUE(decoded.ok()) << decoded.status().ToString();
      for (size_t i = 1; i < decoded->entries.size(); ++i) {
        ASSERT_LT(decoded->entries[i - 1], decoded->entries[i]) << where << " entry " << i;
      }
      std::vector<uint8_t> again(f.page_size);
      ASSERT_TRUE(EncodeIndexPage(f, *decoded, LoadLe32(&page[4]), again).ok()) << where;
      auto back = DecodeIndexPage(f, again, where);
      ASSERT_TRUE(back.ok());
      EXPECT_EQ(back->entries, decoded->entries) << where;
      EXPECT_EQ(back->leaf, decoded->leaf);
      EXPECT_EQ(back->prev, decoded->prev);
      EXPECT_EQ(back->next, decoded->next);
      if (!decoded->leaf) {
        EXPECT_EQ(back->tail, decoded->tail);
      }
      EXPECT_EQ(LoadLe32(&again[4]), LoadLe32(&page[4]));
      // Same prefix as the writer chose: then the page is the same bytes up to the entries.
      const size_t used = f.page_size - f.index_first_entry - LoadLe16(&page[2]);
      if (again[f.index_prefix_len] == page[f.index_prefix_len] && f.version == JetVersion::kJet4) {
        EXPECT_TRUE(std::equal(again.begin() + f.index_bitmask,
                               again.begin() + f.index_first_entry + used,
                               page.begin() + f.index_bitmask))
            << where;
      }
      compressed += page[f.index_prefix_len] != 0;
      ++pages;
      entries += decoded->entries.size();
    }
  }
  EXPECT_GT(pages, 50u);
  EXPECT_GT(entries, 1000u);
  EXPECT_GT(compressed, 0u);  // prefix compression was exercised
}

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
