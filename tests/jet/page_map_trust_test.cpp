// A page map that calls a page free while a table still claims it: `mdb kontrol` reports the
// page, and the writer never hands it out again, so the table's rows survive later inserts.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "jet/data_page.h"
#include "jet/database.h"
#include "jet/free_pages.h"
#include "jet/integrity.h"
#include "jet/page_store.h"
#include "jet/row_codec.h"
#include "jet/usage_map.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "platform/utf8_path.h"
#include "support/column_spec.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

using px::testing::Col;

// The pages table `name` claims for its rows.
std::vector<uint32_t> RowPages(const std::string& path, const std::string& name) {
  std::vector<uint32_t> out;
  auto db = Database::Open(PathFromUtf8(path));
  EXPECT_TRUE(db.ok()) << db.status().ToString();
  auto def = (*db)->ReadDefinition(*(*db)->FindTable(name));
  EXPECT_TRUE(def.ok());
  auto cursor = UsageMapCursor::Open((*db)->pager(), (*db)->format(), def->owned_map, name);
  EXPECT_TRUE(cursor.ok());
  for (;;) {
    auto n = cursor->Next();
    if (!n.ok() || !*n) break;
    out.push_back(**n);
  }
  return out;
}

std::vector<std::string> Texts(const std::string& path, const std::string& table) {
  std::vector<std::string> out;
  auto db = Database::Open(PathFromUtf8(path));
  EXPECT_TRUE(db.ok());
  auto reader = (*db)->OpenTable(table);
  EXPECT_TRUE(reader.ok()) << reader.status().ToString();
  Row r;
  while ((*reader)->Next(r)) out.push_back(std::get<std::string>(r[0]));
  EXPECT_TRUE((*reader)->status().ok()) << (*reader)->status().ToString();
  return out;
}

Status Fill(Writer& w, const std::string& table, int rows) {
  PX_RETURN_IF_ERROR(w.Begin());
  for (int i = 0; i < rows; ++i) {
    const Value row[] = {table + " " + std::string(200, 'x') + std::to_string(i)};
    PX_RETURN_IF_ERROR(w.InsertRow(table, row));
  }
  return w.Commit();
}

TEST(PageMapTrust, APageTheMapCallsFreeButATableClaimsIsReportedAndNeverReused) {
  px::testing::TempFolder dir;
  const std::string path = dir.str() + "/vt.mdb";
  {
    auto w = Writer::Create(platform::SystemFiles(), path);
    ASSERT_TRUE(w.ok()) << w.status().ToString();
    for (const char* t : {"Eski", "Yeni"}) {
      ASSERT_TRUE((*w)->CreateTable(t).ok());
      ASSERT_TRUE((*w)->AddColumn(t, Col("Ad", 202, 255)).ok());
    }
    ASSERT_TRUE(Fill(**w, "Eski", 60).ok());
  }
  const std::vector<std::string> eski = Texts(path, "Eski");
  const std::vector<uint32_t> sayfalar = RowPages(path, "Eski");
  ASSERT_GE(sayfalar.size(), 2u);
  // The map is made wrong about the table's first page.
  {
    auto store = PageStore::Open(platform::SystemFiles(), path);
    ASSERT_TRUE(store.ok()) << store.status().ToString();
    ASSERT_TRUE((*store)->Free(sayfalar[0]).ok());
    ASSERT_TRUE((*store)->Commit().ok());
  }
  const std::string bulgu = path + ": page " + std::to_string(sayfalar[0]) +
                            " is in use but the database page map (page 1) marks it free";
  auto bulgular = [&] {
    auto db = Database::Open(PathFromUtf8(path));
    EXPECT_TRUE(db.ok());
    return CheckDatabase(**db).findings;
  };
  EXPECT_EQ(bulgular(), std::vector<std::string>{bulgu});
  {
    // It is the first page a reuse would take.
    auto db = Database::Open(PathFromUtf8(path));
    ASSERT_TRUE(db.ok());
    const uint32_t sayfa_sayisi =
        uint32_t(std::filesystem::file_size(PathFromUtf8(path)) / (*db)->format().page_size);
    auto bos = ReadFreePages((*db)->pager(), (*db)->format(), sayfa_sayisi);
    ASSERT_TRUE(bos.ok());
    EXPECT_EQ(bos->TakeLowest(), sayfalar[0]);
  }
  // Inserts in a later session take other pages: the table keeps its rows.
  for (int oturum = 0; oturum < 2; ++oturum) {
    auto w = Writer::Open(platform::SystemFiles(), path);
    ASSERT_TRUE(w.ok()) << w.status().ToString();
    ASSERT_TRUE(Fill(**w, "Yeni", 40).ok());
  }
  EXPECT_EQ(Texts(path, "Eski"), eski);
  EXPECT_EQ(Texts(path, "Yeni").size(), 80u);
  EXPECT_EQ(bulgular(), std::vector<std::string>{bulgu});
}

// A page of a long value's chain that no map names any more and the page map calls free:
// the chain the row names still holds it.
TEST(PageMapTrust, APageOfALongValueChainMarkedFreeIsAFinding) {
  px::testing::TempFolder dir;
  const std::string path = dir.str() + "/not.mdb";
  {
    auto w = Writer::Create(platform::SystemFiles(), path);
    ASSERT_TRUE(w.ok()) << w.status().ToString();
    ASSERT_TRUE((*w)->CreateTable("Not").ok());
    ASSERT_TRUE((*w)->AddColumn("Not", Col("Metin", 203)).ok());
    std::string uzun;
    for (int i = 0; uzun.size() < 30000; ++i) uzun += "satır " + std::to_string(i) + " ";
    const Value row[] = {uzun};
    ASSERT_TRUE((*w)->InsertRow("Not", row).ok());
  }
  // The chain's pages, from the row's descriptor.
  std::vector<uint32_t> zincir;
  RowPointer lv_map;
  {
    auto db = Database::Open(PathFromUtf8(path));
    ASSERT_TRUE(db.ok());
    const JetFormat& f = (*db)->format();
    auto def = (*db)->ReadDefinition(*(*db)->FindTable("Not"));
    ASSERT_TRUE(def.ok());
    if (!def->long_value_maps.empty()) lv_map = def->long_value_maps[0].owned;
    auto reader = (*db)->OpenTable("Not");
    ASSERT_TRUE(reader.ok());
    Row r;
    ASSERT_TRUE((*reader)->Next(r));
    Page holder;
    auto row = ReadRowAt((*db)->pager(), f, (*reader)->last_row_pointer(), holder);
    ASSERT_TRUE(row.ok());
    std::vector<ColumnData> columns;
    ASSERT_TRUE(CrackRow(f, *def, *row, columns, "").ok());
    const Bytes lv = columns[0].bytes;
    ASSERT_EQ(LoadLe32(lv.data()) & (kLongValueInline | kLongValueSingle), 0u);
    for (RowPointer p = DecodeRowPointer(LoadLe32(lv.data() + 4)); p.page != 0;) {
      zincir.push_back(p.page);
      Page link_holder;
      auto link = ReadRowAt((*db)->pager(), f, p, link_holder);
      ASSERT_TRUE(link.ok());
      p = DecodeRowPointer(LoadLe32(link->data()));
    }
  }
  ASSERT_GE(zincir.size(), 2u);
  const uint32_t gizli = zincir.back();
  {
    auto store = PageStore::Open(platform::SystemFiles(), path);
    ASSERT_TRUE(store.ok());
    if (lv_map.page != 0) {
      // Out of the long values' map (inline: type, first page, bits).
      auto page = (*store)->Modify(lv_map.page);
      ASSERT_TRUE(page.ok());
      const JetFormat& f = (*store)->format();
      uint8_t* b = page->data();
      const size_t at = LoadLe16(b + f.data_row_table + 2 * lv_map.row) & kRowOffsetMask;
      ASSERT_EQ(b[at], kUsageMapInline);
      const uint32_t bit = gizli - LoadLe32(b + at + 1);
      b[at + 5 + bit / 8] &= uint8_t(~(1u << (bit % 8)));
    }
    ASSERT_TRUE((*store)->Free(gizli).ok());
    ASSERT_TRUE((*store)->Commit().ok());
  }
  auto db = Database::Open(PathFromUtf8(path));
  ASSERT_TRUE(db.ok());
  EXPECT_EQ(CheckDatabase(**db).findings,
            std::vector<std::string>{path + ": page " + std::to_string(gizli) +
                                     " is in use but the database page map (page 1) marks it "
                                     "free"});
}

}  // namespace
}  // namespace px::jet
