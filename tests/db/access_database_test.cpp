// The Access backend's mapping onto the engine's writer, over a writer that records its
// calls and reads a sample file: values reach InsertRow in field order under the
// catalog's table name, UPDATE rewrites rows through the writer's callback, ADOX calls
// arrive as column specs, and the schema answers come from the file. And the pool: one
// open database per file, whatever the spelling of its path.
#include <gtest/gtest.h>

#include <filesystem>

#include "db/access_database.h"
#include "db/database_pool.h"
#include "db/memory_database.h"
#include "db/text_of.h"
#include "jet/database.h"
#include "platform/utf8_path.h"
#include "support/samples.h"

namespace px::db {
namespace {

std::string Sample(const char* name) {
  return (std::filesystem::path(PX_SHARED_DIR) / "samples" / "mdb" / name).string();
}

std::string RowText(std::span<const Value> row) {
  std::string out;
  for (size_t i = 0; i < row.size(); ++i) {
    out += i ? "|" : "";
    out += IsNull(row[i]) ? "Null" : TextOf(row[i]);
  }
  return out;
}

// A writer that reads a sample and records what it is asked to change.
class RecordingWriter : public jet::Writer {
 public:
  explicit RecordingWriter(std::unique_ptr<jet::Database> db, std::vector<std::string>& log)
      : db_(std::move(db)), log_(log) {}

  jet::Database& db() override { return *db_; }
  Status Begin() override { return Log("Begin"); }
  Status Commit() override { return Log("Commit"); }
  Status Rollback() override { return Log("Rollback"); }
  Status CreateTable(std::string_view table) override {
    return Log("CreateTable " + std::string(table));
  }
  Status AddColumn(std::string_view table, const jet::ColumnSpec& c) override {
    return Log("AddColumn " + std::string(table) + " " + c.name + " type " +
               (c.ado_type ? std::to_string(*c.ado_type) : "default") + " size " +
               std::to_string(c.defined_size) + " precision " + std::to_string(c.precision) +
               (c.allow_zero_length ? " zero-length" : "") +
               (c.autoincrement ? " autoincrement" : ""));
  }
  Status AddPrimaryKey(std::string_view table, std::string_view key,
                       std::string_view column) override {
    return Log("AddPrimaryKey " + std::string(table) + " " + std::string(key) + " " +
               std::string(column));
  }
  Status AddIndex(std::string_view table, const jet::IndexSpec& index) override {
    return Log("AddIndex " + std::string(table) + " " + index.name);
  }
  Status InsertRow(std::string_view table, std::span<const Value> values) override {
    return Log("InsertRow " + std::string(table) + " " + RowText(values));
  }
  Result<uint64_t> DeleteAll(std::string_view table) override {
    log_.push_back("DeleteAll " + std::string(table));
    return uint64_t{2};
  }
  Result<uint64_t> UpdateRows(std::string_view table,
                              const std::function<Result<bool>(Row& row)>& change) override {
    PX_ASSIGN_OR_RETURN(auto reader, db_->OpenTable(table));
    uint64_t n = 0;
    Row row;
    while (reader->Next(row)) {
      PX_ASSIGN_OR_RETURN(bool changed, change(row));
      if (changed) {
        log_.push_back("Rewrite " + std::string(table) + " " + RowText(row));
        ++n;
      }
    }
    PX_RETURN_IF_ERROR(reader->status());
    return n;
  }

 private:
  Status Log(std::string line) {
    log_.push_back(std::move(line));
    return Status::Ok();
  }
  std::unique_ptr<jet::Database> db_;
  std::vector<std::string>& log_;
};

class AccessDatabaseTest : public ::testing::Test {
 protected:
  void SetUp() override {
    PX_SAMPLE_OR_SKIP(sample, "mdb/testV2000.mdb");
    auto file = jet::Database::Open(Sample("testV2000.mdb"));
    ASSERT_TRUE(file.ok()) << file.status().ToString();
    db_ = AccessDatabaseOver(std::make_unique<RecordingWriter>(std::move(*file), log_));
  }

  std::vector<std::string> log_;
  std::unique_ptr<Database> db_;
};

// Table1: A Text(50), B Text(100), C Byte, D Integer, E Long, F Double, G Date,
// H Currency, I Yes/No; rows ("abcdefg", "hijklmnop", 2, ...) and ("a", "b", 0, ...).
TEST_F(AccessDatabaseTest, StatementsReachTheWriterInFieldOrder) {
  struct Case {
    const char* sql;
    int64_t affected;
    std::vector<std::string> log;
  } cases[] = {
      {"INSERT INTO table1 (i, h, G, f, e, d, c, b, a) Values (1,CAST('1,234.5' AS "
       "MONEY),'2024-02-29 08:30:00','-2.5E-1','70000','-3','255','Ç','ş')",
       1,
       {"InsertRow Table1 ş|Ç|255|-3|70000|-0.25|2024-02-29 08:30:00|1234.5|True"}},
      {"INSERT INTO Table1 (A) Values ('x')",
       1,
       {"InsertRow Table1 x|Null|Null|Null|Null|Null|Null|Null|False"}},
      {"DELETE FROM TABLE1", 2, {"DeleteAll Table1"}},
      {"UPDATE Table1 SET B = MID(A, 2, 3) + '-' + B, C = '9' WHERE c = '002'",
       1,
       {"Rewrite Table1 abcdefg|bcd-hijklmnop|9|222|333333333|444.555|1974-09-21|3.5|True"}},
      {"UPDATE Table1 SET A = 'z' WHERE SUBSTRING(a, 1, 1) = 'A'",
       2,
       {"Rewrite Table1 z|hijklmnop|2|222|333333333|444.555|1974-09-21|3.5|True",
        "Rewrite Table1 z|b|0|0|0|0|1981-12-12|0|False"}},
  };
  for (const Case& c : cases) {
    log_.clear();
    auto n = db_->Execute(c.sql);
    ASSERT_TRUE(n.ok()) << c.sql << ": " << n.status().ToString();
    EXPECT_EQ(*n, c.affected) << c.sql;
    EXPECT_EQ(log_, c.log) << c.sql;
  }
  // Required is enforced before the writer sees the row; the sample's columns are not.
  ASSERT_TRUE(db_->Execute("INSERT INTO Table1 (A, B) Values ('x', '')").ok());
  EXPECT_EQ(log_.back(), "InsertRow Table1 x||Null|Null|Null|Null|Null|Null|False");
  auto missing = db_->Execute("DELETE FROM Tablo9");
  ASSERT_FALSE(missing.ok());
  EXPECT_NE(missing.status().message().find("table Tablo9 not found in"), std::string::npos);
}

TEST_F(AccessDatabaseTest, RecordsetRowsAndAdoxCalls) {
  FieldInfo a, h;
  a.name = "a";
  a.ado_type = ado::kVarWChar;
  h.name = "H";
  h.ado_type = ado::kCurrency;
  ASSERT_TRUE(db_->AddRow("TABLE1", {h, a}, {Currency{15000}, std::string("k")}).ok());
  NewColumn text{"strAd", 202, 40, 0, true, false};
  NewColumn money{"curTutar", 6, 0, 2, true, false};
  NewColumn id{"Id", 3, 0, 0, true, true};
  NewColumn plain{"Saha", std::nullopt, 0, 0, false, false};
  ASSERT_TRUE(db_->CreateTable("tablo_yeni").ok());
  for (const NewColumn& c : {text, money, id, plain}) {
    ASSERT_TRUE(db_->AppendColumn("tablo_yeni", c).ok());
  }
  ASSERT_TRUE(db_->AppendPrimaryKey("tablo_yeni", "PrimaryKey", "Id").ok());
  ASSERT_TRUE(db_->Begin().ok());
  ASSERT_TRUE(db_->Rollback().ok());
  EXPECT_EQ(log_, (std::vector<std::string>{
                      "InsertRow Table1 k|Null|Null|Null|Null|Null|Null|1.5|False",
                      "CreateTable tablo_yeni",
                      "AddColumn tablo_yeni strAd type 202 size 40 precision 0 zero-length",
                      "AddColumn tablo_yeni curTutar type 6 size 0 precision 2 zero-length",
                      "AddColumn tablo_yeni Id type 3 size 0 precision 0 zero-length autoincrement",
                      "AddColumn tablo_yeni Saha type default size 0 precision 0",
                      "AddPrimaryKey tablo_yeni PrimaryKey Id",
                      "Begin",
                      "Rollback",
                  }));
}

TEST_F(AccessDatabaseTest, SchemaAnswersComeFromTheFile) {
  auto none = db_->SchemaColumns("yok");
  ASSERT_TRUE(none.ok());
  EXPECT_TRUE(none->empty());

  auto table1 = db_->SchemaColumns("Table1");
  ASSERT_TRUE(table1.ok());
  std::string names;
  for (const SchemaColumn& c : *table1) names += c.name + std::to_string(c.ordinal);
  EXPECT_EQ(names, "A1B2C3D4E5F6G7H8I9");

  EXPECT_EQ(*db_->KeyCount("Table1"), 1);
  EXPECT_EQ(*db_->HasAutoNumber("Table1"), false);
  EXPECT_EQ(*db_->HasAutoNumber("Table3"), true);
  EXPECT_FALSE(db_->KeyCount("yok").ok());

  auto tables = db_->Tables();
  ASSERT_TRUE(tables.ok());
  int user_tables = 0;
  for (const TableEntry& t : *tables) user_tables += t.type == "TABLE";
  EXPECT_EQ(user_tables, 4);
  auto rows = db_->Query("SELECT B FROM table1 WHERE C = 2");
  ASSERT_TRUE(rows.ok()) << rows.status().ToString();
  Row row;
  ASSERT_TRUE((*rows)->Next(row));
  EXPECT_EQ(TextOf(row[0]), "hijklmnop");
  EXPECT_FALSE((*rows)->Next(row));
}

TEST(DatabasePool, OneDatabasePerFileUntilClosed) {
  std::vector<std::string> opened;
  auto pool = NewDatabasePool([&opened](const std::string& host, const std::string& display,
                                        bool create) -> Result<std::unique_ptr<Database>> {
    if (display.find("kilitli") != std::string::npos) {
      return Status::IOError(display + " is open in another program");
    }
    opened.push_back((create ? "create " : "open ") + host);
    return std::unique_ptr<Database>(std::make_unique<MemoryDatabase>());
  });
  auto a = pool->Open("/veri/Personel/personel.mdb");
  ASSERT_TRUE(a.ok()) << a.status().ToString();
  auto b = pool->Open("/veri/PERSONEL/Personel.MDB");  // as Windows compares names
  ASSERT_TRUE(b.ok());
  EXPECT_EQ(*a, *b);
  auto c = pool->Open("/veri/personel/./../personel/personel.mdb");
  ASSERT_TRUE(c.ok());
  EXPECT_EQ(*a, *c);
  auto other = pool->Create("/veri/stok.mdb");
  ASSERT_TRUE(other.ok());
  EXPECT_NE(*a, *other);
  auto again = pool->Create("/VERI/STOK.mdb");
  ASSERT_FALSE(again.ok());
  EXPECT_NE(again.status().message().find("/VERI/STOK.mdb is open already"), std::string::npos);
  auto locked = pool->Open("/veri/kilitli.mdb");
  ASSERT_FALSE(locked.ok());
  EXPECT_EQ(locked.status().message(), "/veri/kilitli.mdb is open in another program");

  // A step's transaction is seen by every later step of the same file.
  ASSERT_TRUE((*a)->Begin().ok());
  EXPECT_TRUE(static_cast<MemoryDatabase*>(*b)->in_transaction());

  pool->Close("/Veri/Personel/PERSONEL.mdb");
  ASSERT_TRUE(pool->Open("/veri/Personel/personel.mdb").ok());
  pool->CloseAll();
  ASSERT_TRUE(pool->Open("/veri/stok.mdb").ok());
  // Host paths in the system's own separators.
  const std::string personel =
      Utf8FromPath(PathFromUtf8("/veri/Personel/personel.mdb").make_preferred());
  const std::string stok = Utf8FromPath(PathFromUtf8("/veri/stok.mdb").make_preferred());
  EXPECT_EQ(opened, (std::vector<std::string>{"open " + personel, "create " + stok,
                                              "open " + personel, "open " + stok}));
}

}  // namespace
}  // namespace px::db
