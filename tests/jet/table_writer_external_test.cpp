// Rows inserted, deleted and updated by our writer in files Jackcess built, judged by
// independent readers: `jet-oracle check` (every index finds every row by its own key, row
// counts and AutoNumber counters right), `jet-oracle rows` and mdb-export reading the
// values back. Skips when Java, the oracle or mdbtools are missing.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "jet/data_page_writer.h"
#include "jet/database.h"
#include "jet/table_writer.h"
#include "jet/usage_map_writer.h"
#include "memory_pages.h"
#include "platform/utf8_path.h"
#include "support/jet_oracle.h"
#include "support/process.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

using testing::MemoryPages;

using px::testing::RunJetOracle;
using px::testing::RunProcess;

// Skips the test when jet-oracle or mdbtools cannot run here.
#define PX_READERS_OR_SKIP() \
  PX_JET_ORACLE_OR_SKIP();   \
  if (px::testing::FindOnPath("mdb-export").empty()) GTEST_SKIP() << "mdbtools is not installed"

// The rows mdb-export prints of table T, binary columns in hex, after a header line.
std::string Exported(const std::filesystem::path& file) {
  auto r = RunProcess({"mdb-export", "-b", "hex", Utf8FromPath(file), "T"});
  EXPECT_TRUE(r.ExitedWith(0)) << r.Describe();
  return r.out;
}

std::string OracleRows(const std::filesystem::path& file, const std::string& table) {
  auto r = RunJetOracle({"rows", Utf8FromPath(file), table});
  EXPECT_TRUE(r.ExitedWith(0)) << r.Describe();
  return r.out;
}

size_t Lines(const std::string& s) {
  size_t n = 0;
  for (char c : s) n += c == '\n';
  return n;
}

// A file with table T (AutoNumber primary key, a plain and a unique Long index, text,
// money, memo, OLE) and `rows` rows, written by Jackcess.
std::filesystem::path BuildFile(const px::testing::TempFolder& dir, int rows) {
  std::ostringstream json;
  json << R"({"tables":[{"name":"T","columns":[)"
       << R"({"name":"id","type":"LONG","autonumber":true},)"
       << R"({"name":"n","type":"LONG"},{"name":"u","type":"LONG"},)"
       << R"({"name":"ad","type":"TEXT","length":50},{"name":"tutar","type":"MONEY"},)"
       << R"({"name":"notlar","type":"MEMO"},{"name":"ek","type":"OLE"},)"
       << R"({"name":"aktif","type":"BOOLEAN"}],)"
       << R"("primary_key":["id"],"indexes":[{"name":"n_idx","columns":["n"]},)"
       << R"({"name":"u_idx","columns":["u"],"unique":true}],"rows":[)";
  for (int i = 1; i <= rows; ++i) {
    json << (i > 1 ? "," : "") << "[null," << i % 7 << "," << i * 10 << ",\"satır " << i << "\",\""
         << i << ".25\",\"not " << i << "\",null," << (i % 2 ? "true" : "false") << "]";
  }
  json << "]}]}";
  dir.Write("t.json", json.str());
  auto file = dir.path() / "t.mdb";
  auto r = RunJetOracle({"build", Utf8FromPath(file), Utf8FromPath(dir.path() / "t.json")});
  EXPECT_TRUE(r.ExitedWith(0)) << r.Describe();
  return file;
}

struct Opened {
  std::unique_ptr<MemoryPages> pages;
  std::unique_ptr<TableWriter> writer;
};

Opened OpenWriter(const std::filesystem::path& file, const std::string& table = "T") {
  Opened o;
  auto bytes = px::testing::ReadBytes(file);
  auto db = Database::OpenMemory(bytes, file.string());
  EXPECT_TRUE(db.ok()) << db.status().ToString();
  const CatalogEntry* t = (*db)->FindTable(table);
  EXPECT_NE(t, nullptr);
  auto def = (*db)->ReadDefinition(*t);
  EXPECT_TRUE(def.ok());
  o.pages = std::make_unique<MemoryPages>(kJet4Format, std::move(bytes), file.string());
  auto w = TableWriter::Open(*o.pages, kJet4Format, *def, table,
                             {1252, AccessIndexKeys(kJet4Format, table)});
  EXPECT_TRUE(w.ok()) << w.status().ToString();
  o.writer = std::move(*w);
  return o;
}

// Values in definition order for a row of T.
std::vector<Value> RowOf(const TableDef& def, Value id, int64_t n, int64_t u, std::string ad,
                         Value memo, Value ole) {
  std::vector<Value> v(def.columns.size(), Null{});
  for (size_t i = 0; i < def.columns.size(); ++i) {
    const std::string& c = def.columns[i].name;
    if (c == "id") v[i] = id;
    if (c == "n") v[i] = n;
    if (c == "u") v[i] = u;
    if (c == "ad") v[i] = ad;
    if (c == "tutar") v[i] = Currency{u * 10000 + 2500};
    if (c == "notlar") v[i] = memo;
    if (c == "ek") v[i] = ole;
    if (c == "aktif") v[i] = u % 3 == 0;
  }
  return v;
}

void ExpectCheckPasses(const std::filesystem::path& file, const std::string& when) {
  auto r = RunJetOracle({"check", Utf8FromPath(file)});
  EXPECT_TRUE(r.ExitedWith(0)) << when << ": " << r.Describe() << "\n" << r.out.substr(0, 3000);
}

TEST(TableWriterExternal, InsertsDeletesAndUpdatesPassTheOracle) {
  PX_READERS_OR_SKIP();
  px::testing::TempFolder dir;
  auto file = BuildFile(dir, 40);
  ExpectCheckPasses(file, "as Jackcess built it");

  // 1. Inserts: AutoNumber issued and given, long values of every storage kind, enough rows
  // to split every index several times.
  auto o = OpenWriter(file);
  const TableDef def = o.writer->definition();  // a copy: the writer is replaced below
  const std::string big(9000, 'x');             // a chain of LVAL rows
  const std::string single(3000, 'y');
  for (int i = 0; i < 3000; ++i) {
    Value id = i == 10 ? Value(int64_t(5000)) : Value(Null{});
    Value memo = i % 200 == 0  ? Value(big)
                 : i % 50 == 7 ? Value(single)
                               : Value("kısa " + std::to_string(i));
    Value ole = i % 11 == 0 ? Value(Binary{std::vector<uint8_t>(200 + i % 100, uint8_t(i))})
                            : Value(Null{});
    Status st =
        o.writer->Insert(RowOf(def, id, i % 13, 1000 + i, "yeni " + std::to_string(i), memo, ole));
    ASSERT_TRUE(st.ok()) << i << ": " << st.ToString();
  }
  // A duplicate in the unique index and in the primary key: refused, nothing written.
  const auto before = o.pages->bytes();
  Status dup = o.writer->Insert(RowOf(def, Null{}, 1, 1000, "dup", Null{}, Null{}));
  EXPECT_EQ(dup.message(), "table T: index u_idx already holds the value 1000");
  dup = o.writer->Insert(RowOf(def, int64_t(5000), 1, 77777, "dup", Null{}, Null{}));
  EXPECT_EQ(dup.message(), "table T: index PrimaryKey already holds the value 5000");
  EXPECT_EQ(o.pages->bytes(), before);
  // Every LVAL page we added is listed in the owned-pages map of its column.
  std::set<uint32_t> listed;
  for (size_t i = 0; i < def.columns.size(); ++i) {
    if (!def.columns[i].long_value()) continue;
    ASSERT_NE(o.writer->LongValuePagesMap(i).page, 0u) << "Jackcess lists column maps";
    ASSERT_TRUE(ForEachMappedPage(*o.pages, kJet4Format, o.writer->LongValuePagesMap(i), "lv",
                                  [&](uint32_t p) {
                                    listed.insert(p);
                                    return Status::Ok();
                                  })
                    .ok());
  }
  size_t lval_pages = 0;
  for (uint32_t p : o.pages->allocated) {
    if (LoadLe32(&(*o.pages->Read(p))[4]) != kLongValuePageOwner) continue;
    ++lval_pages;
    EXPECT_EQ(listed.count(p), 1u) << "LVAL page " << p;
  }
  EXPECT_GT(lval_pages, 20u);
  o.pages->WriteFile(file);
  ExpectCheckPasses(file, "after 3000 inserts");
  const std::string rows = OracleRows(file, "T");
  EXPECT_EQ(Lines(rows), 3040u);
  EXPECT_NE(rows.find("\"id\":5000,"), std::string::npos);
  EXPECT_NE(rows.find("\"id\":5001,"), std::string::npos);  // the counter moved past 5000
  EXPECT_NE(rows.find(big), std::string::npos);
  EXPECT_NE(rows.find("\"ad\":\"yeni 2999\""), std::string::npos);
  std::string exported = Exported(file);
  EXPECT_EQ(Lines(exported), 3041u);  // header line + rows
  EXPECT_NE(exported.find(single), std::string::npos);

  // 2. Updates: grown rows move behind an overflow pointer, index keys change.
  o = OpenWriter(file);
  auto updated = o.writer->Update([&](std::vector<Value>& v) -> Result<bool> {
    for (size_t i = 0; i < def.columns.size(); ++i) {
      if (def.columns[i].name == "u" && std::get<int64_t>(v[i]) % 4 == 0) {
        for (size_t k = 0; k < def.columns.size(); ++k) {
          if (def.columns[k].name == "ad") v[k] = std::string(40, 'G');  // longer
          if (def.columns[k].name == "n") v[k] = int64_t(99);
          if (def.columns[k].name == "notlar") v[k] = Null{};
        }
        v[i] = std::get<int64_t>(v[i]) + 1000000;
        return true;
      }
    }
    return false;
  });
  ASSERT_TRUE(updated.ok()) << updated.status().ToString();
  EXPECT_EQ(*updated, 20u + 750u);  // u = 10 * i (i even) of the built rows, 1000..3999 of ours
  o.pages->WriteFile(file);
  ExpectCheckPasses(file, "after updates");
  exported = Exported(file);
  EXPECT_EQ(Lines(exported), 3041u);
  EXPECT_NE(exported.find(std::string(40, 'G')), std::string::npos);

  // 3. DELETE FROM: every row and long value goes, the pages stay for the next inserts.
  o = OpenWriter(file);
  const uint32_t pages_before = o.pages->page_count();
  auto deleted = o.writer->DeleteAll();
  ASSERT_TRUE(deleted.ok()) << deleted.status().ToString();
  EXPECT_EQ(*deleted, 3040u);
  EXPECT_FALSE(o.pages->freed.empty());  // LVAL and index pages
  o.pages->WriteFile(file);
  ExpectCheckPasses(file, "after delete all");
  EXPECT_EQ(Lines(OracleRows(file, "T")), 0u);
  for (int i = 0; i < 500; ++i) {
    ASSERT_TRUE(o.writer
                    ->Insert(RowOf(def, Null{}, i % 5, i, "tekrar",
                                   i % 100 == 0 ? Value(big) : Value(Null{}), Null{}))
                    .ok());
  }
  // The emptied data pages took the new rows: only LVAL pages (and index splits) were added.
  EXPECT_LT(o.pages->page_count() - pages_before, 500u * 3 + 20);
  o.pages->WriteFile(file);
  ExpectCheckPasses(file, "after delete all and 500 inserts");
  EXPECT_EQ(Lines(OracleRows(file, "T")), 500u);
}

// Text keys (Jet 4 General) from the key encoder: Turkish letters in an indexed text column
// of the benchmark table, kept exact through inserts, an update of the key and a delete.
TEST(TableWriterExternal, TextIndexOfTheBenchmarkTable) {
  PX_READERS_OR_SKIP();
  px::testing::TempFolder dir;
  const auto file = dir.path() / "g.mdb";
  auto gen = RunJetOracle({"gen", Utf8FromPath(file), "1500"});
  ASSERT_TRUE(gen.ExitedWith(0)) << gen.Describe();
  auto o = OpenWriter(file, "Hareket");
  const TableDef def = o.writer->definition();
  auto col = [&def](const std::string& name) {
    for (size_t i = 0; i < def.columns.size(); ++i) {
      if (def.columns[i].name == name) return i;
    }
    ADD_FAILURE() << name;
    return size_t(0);
  };
  static const char* kWords[] = {"Iğdır", "ığdır", "İzmir",   "izmir", "Şükrü", "şube",
                                 "Çağrı", "ödeme", "Üsküdar", "co-op", "coop",  "  boşluk  "};
  for (int i = 0; i < 2500; ++i) {
    std::vector<Value> v(def.columns.size(), Null{});
    v[col("Kod")] = std::string(kWords[i % 12]) + " " + std::to_string(i % 97);
    v[col("Aciklama")] = "satır " + std::to_string(i);
    v[col("Tutar")] = Currency{int64_t(i) * 100};
    v[col("Aktif")] = i % 3 == 0;
    if (i % 10 == 0) {
      std::string memo;
      for (int k = 0; k < 300; ++k) memo += "ş";
      v[col("Notlar")] = memo;
    }
    Status st = o.writer->Insert(v);
    ASSERT_TRUE(st.ok()) << st.ToString();
  }
  o.pages->WriteFile(file);
  ExpectCheckPasses(file, "after text inserts");

  o = OpenWriter(file, "Hareket");
  auto updated = o.writer->Update([&](std::vector<Value>& v) -> Result<bool> {
    auto* kod = std::get_if<std::string>(&v[col("Kod")]);
    if (kod == nullptr || kod->rfind("İzmir", 0) != 0) return false;
    *kod = "005" + kod->substr(std::string("İzmir").size());
    return true;
  });
  ASSERT_TRUE(updated.ok()) << updated.status().ToString();
  EXPECT_GT(*updated, 200u);
  o.pages->WriteFile(file);
  ExpectCheckPasses(file, "after updating text keys");
  const std::string rows = OracleRows(file, "Hareket");
  EXPECT_EQ(Lines(rows), 4000u);
  EXPECT_EQ(rows.find("\"Kod\":\"İzmir"), std::string::npos);

  o = OpenWriter(file, "Hareket");
  auto deleted = o.writer->DeleteAll();
  ASSERT_TRUE(deleted.ok());
  EXPECT_EQ(*deleted, 4000u);
  o.pages->WriteFile(file);
  ExpectCheckPasses(file, "after delete all");
}

}  // namespace
}  // namespace px::jet
