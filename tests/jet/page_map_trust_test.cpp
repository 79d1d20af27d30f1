// A page map that calls a page free while a table still claims it: `mdb kontrol` reports the
// page, and the writer never hands it out again, so the table's rows survive later inserts.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/free_pages.h"
#include "jet/integrity.h"
#include "jet/page_store.h"
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

}  // namespace
}  // namespace px::jet
