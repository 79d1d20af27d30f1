// Key oracle: every index of every Access-written sample holds, for each row, exactly the
// key bytes our encoder makes of that row. Access wrote these keys, so equality proves the
// encoder for each type, direction and sort order the samples contain.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#include "jet/database.h"
#include "jet/index_verify.h"

namespace px::jet {
namespace {

std::filesystem::path SampleDir() {
  return std::filesystem::path(PX_SHARED_DIR) / "samples" / "mdb";
}

struct Coverage {
  uint64_t entries = 0;
  uint64_t text_entries = 0;
  std::map<TextOrder, uint64_t> orders;
};

void CheckFile(const std::filesystem::path& path, Coverage& cov) {
  SCOPED_TRACE(path.filename().string());
  auto db = Database::Open(path);
  ASSERT_TRUE(db.ok()) << db.status().ToString();
  for (const CatalogEntry& e : (*db)->tables()) {
    if (!e.has_tdef()) continue;
    auto def = (*db)->ReadDefinition(e);
    ASSERT_TRUE(def.ok()) << def.status().ToString();
    for (size_t i = 0; i < def->real_indexes.size(); ++i) {
      IndexWalk walk;
      Status st = WalkIndex(**db, e.name, *def, i, 5, nullptr, walk);
      ASSERT_TRUE(st.ok()) << st.ToString();
      for (const std::string& f : walk.findings) ADD_FAILURE() << f;
      cov.entries += walk.entries;
      for (const IndexColumn& ic : def->real_indexes[i].columns) {
        const ColumnDef& c = def->columns[size_t(def->ColumnByNumber(ic.column_number))];
        if (c.type != coltype::kText && c.type != coltype::kMemo) continue;
        auto order = TextOrderOf((*db)->format(), c);
        if (order.ok()) cov.orders[*order] += walk.entries;
        cov.text_entries += walk.entries;
        break;
      }
    }
  }
}

TEST(IndexKeyOracle, EveryStoredKeyOfEverySampleIsWhatTheEncoderMakes) {
  if (!std::filesystem::exists(SampleDir())) {
    GTEST_SKIP() << "samples not found under " << SampleDir();
  }
  Coverage cov;
  for (const auto& f : std::filesystem::directory_iterator(SampleDir())) {
    if (f.path().extension() == ".mdb") CheckFile(f.path(), cov);
  }
  // The samples hold thousands of keys, text keys in both Jet 3 and Jet 4 General orders.
  EXPECT_GT(cov.entries, 1000u);
  EXPECT_GT(cov.orders[TextOrder::kGeneral97], 50u);
  EXPECT_GT(cov.orders[TextOrder::kGeneralLegacy], 50u);
  std::cout << "[ oracle ] " << cov.entries << " keys compared, " << cov.text_entries
            << " of them text (General 97 " << cov.orders[TextOrder::kGeneral97]
            << ", General legacy " << cov.orders[TextOrder::kGeneralLegacy] << ")\n";
}

}  // namespace
}  // namespace px::jet
