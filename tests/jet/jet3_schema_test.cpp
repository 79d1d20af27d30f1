// Schema changes in an Access 97 file: a table created with every column type the catalog
// maps, keys, properties and rows, and a column added to a table that holds rows. The file
// must pass our integrity check and read back what was written; a name the file's code page
// cannot hold is refused and leaves the file as it was.
#include <gtest/gtest.h>

#include <filesystem>

#include "jet/integrity.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "support/samples.h"
#include "support/temp_folder.h"
#include "table_rows.h"

namespace px::jet {
namespace {

using px::testing::ReadAll;
using px::testing::TempFolder;

ColumnSpec Column(const std::string& name, int ado_type, int size = 0) {
  ColumnSpec c;
  c.name = name;
  c.ado_type = ado_type;
  c.defined_size = size;
  c.allow_zero_length = true;  // as the restore sets it on every column
  return c;
}

class Jet3Schema : public ::testing::Test {
 protected:
  void SetUp() override {
    PX_SAMPLE_OR_SKIP(sample, "mdb/testV1997.mdb");
    path_ = temp_.path() / "jet3.mdb";
    std::filesystem::copy_file(sample, path_);
  }
  std::unique_ptr<Writer> Open() {
    auto w = Writer::Open(platform::SystemFiles(), path_.string());
    EXPECT_TRUE(w.ok()) << w.status().ToString();
    return w.ok() ? std::move(*w) : nullptr;
  }

  TempFolder temp_;
  std::filesystem::path path_;
};

TEST_F(Jet3Schema, NewTableWithEveryCatalogTypeKeysPropertiesAndRows) {
  auto w = Open();
  ASSERT_NE(w, nullptr);
  ASSERT_TRUE(w->Begin().ok());
  ASSERT_TRUE(w->CreateTable("Cari").ok());
  ColumnSpec id = Column("Id", ado::kInteger);
  id.autoincrement = true;
  const std::vector<ColumnSpec> columns = {
      id,
      Column("Kod", ado::kVarWChar, 10),
      Column("Unvan", ado::kVarWChar, 50),
      Column("Oran", ado::kDouble),
      Column("Bayt", ado::kUnsignedTinyInt),
      Column("Adet", ado::kSmallInt),
      Column("Sayi", ado::kInteger),
      Column("Kesir", ado::kSingle),
      Column("Aktif", ado::kBoolean),
      Column("Tutar", ado::kCurrency),
      Column("Aciklama", ado::kLongVarWChar),
  };
  for (const ColumnSpec& c : columns) {
    Status st = w->AddColumn("Cari", c);
    ASSERT_TRUE(st.ok()) << st.ToString();
  }
  ASSERT_TRUE(w->AddPrimaryKey("Cari", "PrimaryKey", "Id").ok());
  ASSERT_TRUE(w->AddIndex("Cari", IndexSpec{"Kod", {{"Kod", true}}, false, true}).ok());
  const std::string long_text(3000, 'y');
  const std::vector<Row> rows = {
      {Null{}, std::string("001"), std::string("Müller & Söhne"), 1.25, int64_t(7), int64_t(-3),
       int64_t(100000), 0.5f, true, Currency{125000}, long_text},
      {int64_t(10), std::string("002"), std::string(""), Null{}, Null{}, Null{}, Null{}, Null{},
       false, Null{}, Null{}},
      {Null{}, std::string("003"), std::string("Café"), -2.0, int64_t(255), int64_t(32767),
       int64_t(-1), 1e10f, true, Currency{-1}, std::string("Ça va, très bien")},
  };
  for (const Row& r : rows) {
    Status st = w->InsertRow("Cari", r);
    ASSERT_TRUE(st.ok()) << st.ToString();
  }
  ASSERT_TRUE(w->Commit().ok());
  // A repeated unique key is refused (at the insert or, at the latest, at the commit),
  // naming the index, and the file stays as it was.
  const std::string committed = ReadAll(path_);
  ASSERT_TRUE(w->Begin().ok());
  Status dup = w->InsertRow("Cari", rows[0]);
  if (dup.ok()) dup = w->Commit();
  EXPECT_NE(dup.message().find("Kod"), std::string::npos) << dup.ToString();
  w.reset();
  EXPECT_EQ(ReadAll(path_), committed);

  auto db = Database::Open(path_);
  ASSERT_TRUE(db.ok()) << db.status().ToString();
  auto schema = (*db)->ReadSchema("Cari");
  ASSERT_TRUE(schema.ok()) << schema.status().ToString();
  ASSERT_EQ(schema->fields.size(), columns.size());
  for (size_t i = 0; i < columns.size(); ++i) {
    EXPECT_EQ(schema->fields[i].name, columns[i].name);
    EXPECT_TRUE(schema->fields[i].allow_zero_length) << columns[i].name;
  }
  EXPECT_EQ(schema->fields[1].size, 10);
  EXPECT_TRUE(schema->fields[0].autonumber);
  const std::vector<Row> back = testing::TableRows(**db, "Cari");
  ASSERT_EQ(back.size(), 3u);
  EXPECT_EQ(back[0][0], Value(int64_t(1)));
  EXPECT_EQ(back[2][0], Value(int64_t(11)));  // the counter moved past the given 10
  for (size_t r = 0; r < 3; ++r) {
    for (size_t c = 1; c < columns.size(); ++c) {
      EXPECT_EQ(back[r][c], rows[r][c]) << "row " << r << " column " << columns[c].name;
    }
  }
  const IntegrityReport report = CheckDatabase(**db);
  EXPECT_TRUE(report.ok()) << report.findings.front();
}

TEST_F(Jet3Schema, ColumnAddedToATableWithRowsReadsNull) {
  auto before = Database::Open(path_);
  ASSERT_TRUE(before.ok());
  auto old_schema = (*before)->ReadSchema("Table1");
  ASSERT_TRUE(old_schema.ok());
  const size_t old_fields = old_schema->fields.size();
  before->reset();

  auto w = Open();
  ASSERT_NE(w, nullptr);
  ASSERT_TRUE(w->AddColumn("Table1", Column("Eklenen", ado::kVarWChar, 20)).ok());
  w.reset();
  auto db = Database::Open(path_);
  ASSERT_TRUE(db.ok());
  const std::vector<Row> rows = testing::TableRows(**db, "Table1");
  ASSERT_FALSE(rows.empty());
  for (const Row& row : rows) {
    ASSERT_EQ(row.size(), old_fields + 1);
    EXPECT_EQ(row.back(), Value(Null{}));
  }
  EXPECT_TRUE(CheckDatabase(**db).ok());
}

TEST_F(Jet3Schema, NameOutsideTheCodePageIsRefusedAndTheFileIsUntouched) {
  const std::string original = ReadAll(path_);
  auto w = Open();
  ASSERT_NE(w, nullptr);
  ASSERT_TRUE(w->Begin().ok());
  ASSERT_TRUE(w->CreateTable("Yeni").ok());
  Status st = w->AddColumn("Yeni", Column("Şube", ado::kVarWChar, 5));
  EXPECT_FALSE(st.ok());
  EXPECT_NE(st.message().find("Şube"), std::string::npos) << st.ToString();
  ASSERT_TRUE(w->Rollback().ok());
  w.reset();
  EXPECT_EQ(ReadAll(path_), original);
}

}  // namespace
}  // namespace px::jet
