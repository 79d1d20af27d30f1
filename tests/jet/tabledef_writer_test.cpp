// Every table definition of every sample, Jet 3 and Jet 4, system tables included, read
// and encoded again gives the bytes Access wrote.
#include "jet/tabledef_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "core/bytes.h"
#include "jet/database.h"
#include "support/samples.h"

namespace px::jet {
namespace {

// The logical definition as stored: the first page, then each continuation from byte 8.
std::vector<uint8_t> StoredDefinition(Database& db, const TableDef& def) {
  std::vector<uint8_t> out;
  for (size_t i = 0; i < def.pages.size(); ++i) {
    Result<Page> page = db.pager().Get(def.pages[i]);
    if (!page.ok()) return {};
    const size_t start = i == 0 ? 0 : kTdefContinuationStart;
    out.insert(out.end(), page->bytes().begin() + long(start), page->bytes().end());
  }
  if (out.size() >= kTdefLength + 4)
    out.resize(std::min<size_t>(out.size(), LoadLe32(&out[kTdefLength])));
  return out;
}

TEST(TableDefWriter, EverySampleDefinitionEncodesToItsStoredBytes) {
  PX_SAMPLE_OR_SKIP(folder, "mdb");
  int tables = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".mdb") continue;
    auto db = Database::Open(entry.path());
    ASSERT_TRUE(db.ok()) << db.status().ToString();
    for (const CatalogEntry& e : (*db)->tables()) {
      if (!e.has_tdef()) continue;
      auto def = (*db)->ReadDefinition(e);
      ASSERT_TRUE(def.ok()) << def.status().ToString();
      const std::vector<uint8_t> stored = StoredDefinition(**db, *def);
      auto encoded = EncodeTableDef((*db)->format(), *def, (*db)->text_code_page());
      ASSERT_TRUE(encoded.ok()) << encoded.status().ToString();
      const std::string where = entry.path().filename().string() + " " + e.name;
      ASSERT_EQ(encoded->size(), stored.size()) << where;
      for (size_t i = kTdefLength; i < stored.size(); ++i) {
        ASSERT_EQ((*encoded)[i], stored[i]) << where << " at byte " << i;
      }
      ++tables;
    }
  }
  EXPECT_GT(tables, 100);
}

}  // namespace
}  // namespace px::jet
