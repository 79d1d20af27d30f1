// The xbf and pbf commands, driven through the program itself.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "platform/utf8_path.h"
#include "support/process.h"
#include "support/temp_folder.h"

#include "support/samples.h"
#include "xbf_test_util.h"

namespace px::xbf {
namespace {

namespace fs = std::filesystem;

// Words of a command line; '...' keeps blanks inside one argument.
std::vector<std::string> Words(const std::string& line) {
  std::vector<std::string> words;
  std::string word;
  bool quoted = false, any = false;
  for (char c : line) {
    if (c == '\'') {
      quoted = !quoted;
      any = true;
    } else if (c == ' ' && !quoted) {
      if (any) words.push_back(word);
      word.clear();
      any = false;
    } else {
      word += c;
      any = true;
    }
  }
  if (any) words.push_back(word);
  return words;
}

class XbfCommands : public ::testing::Test {
 protected:
  void SetUp() override {
    PX_SAMPLE_OR_SKIP(samples, "adoxml");
    // Turkish letters in the folder: every command must reach its files through them.
    dir_ = tmp_.path() / PathFromUtf8("İşğ çıktı");
    fs::create_directories(dir_);
  }

  std::string Path(const std::string& name) const { return Utf8FromPath(dir_ / name); }
  fs::path File(const std::string& name) const { return dir_ / name; }
  std::string Quoted(const std::string& name) const { return "'" + Path(name) + "'"; }
  // Runs the program; returns its exit status. Standard output goes to `out_file`, standard
  // error to stderr.txt.
  int Run(const std::string& args, const std::string& out_file = "") const {
    const ::px::testing::RunResult r = ::px::testing::RunProgram(Words(args));
    if (!out_file.empty()) {
      std::ofstream(PathFromUtf8(out_file), std::ios::binary) << r.out;
    }
    std::ofstream(dir_ / "stderr.txt", std::ios::binary) << r.err;
    return r.started && !r.timed_out ? r.exit_code : -1;
  }

  ::px::testing::TempFolder tmp_;
  fs::path dir_;
};

TEST_F(XbfCommands, CompressedCopiesReadTheSameAndDecompressToTheFile) {
  const std::string sample = testing::SampleFile("14-");
  ASSERT_EQ(Run("xbf satirlar " + sample, Path("plain.jsonl")), 0);
  ASSERT_EQ(Run("pbf sikistir " + sample + " " + Quoted("t.pbf")), 0);
  ASSERT_EQ(Run("xbf satirlar " + Quoted("t.pbf"), Path("packed.jsonl")), 0);
  EXPECT_EQ(testing::ReadAll(File("packed.jsonl")), testing::ReadAll(File("plain.jsonl")));
  EXPECT_GT(testing::ReadAll(File("plain.jsonl")).size(), 1000u);
  ASSERT_EQ(Run("pbf ac " + Quoted("t.pbf") + " " + Quoted("back.xml")), 0);
  EXPECT_EQ(testing::ReadAll(File("back.xml")), testing::ReadAll(sample));

  std::string damaged = testing::ReadAll(File("t.pbf"));
  damaged.resize(damaged.size() - 10);
  std::ofstream(File("cut.pbf"), std::ios::binary) << damaged;
  EXPECT_NE(Run("xbf satirlar " + Quoted("cut.pbf"), Path("cut.jsonl")), 0);
  EXPECT_NE(Run("pbf ac " + Quoted("cut.pbf") + " " + Quoted("cut.xml")), 0);
  EXPECT_FALSE(fs::exists(File("cut.xml")));
  EXPECT_NE(testing::ReadAll(File("stderr.txt")).find("cut.pbf"), std::string::npos);
}

// Every command that writes a file replaces one that is there, longer or not, whole.
TEST_F(XbfCommands, OutputsReplaceExistingFiles) {
  const std::string sample = testing::SampleFile("22-");
  ASSERT_EQ(Run("pbf sikistir " + sample + " " + Quoted("seed.pbf")), 0);
  const struct {
    std::string command, output;
  } cases[] = {
      {"xbf kopyala " + sample, "Çıktı İş.xbf"},
      {"pbf sikistir " + sample, "ağ.pbf"},
      {"pbf ac " + Quoted("seed.pbf"), "açılmış.xml"},
  };
  for (const auto& c : cases) {
    std::ofstream(File(c.output), std::ios::binary) << std::string(1 << 20, 'x');
    ASSERT_EQ(Run(c.command + " " + Quoted(c.output)), 0) << c.command;
    const std::string written = testing::ReadAll(File(c.output));
    ASSERT_EQ(Run(c.command + " " + Quoted(c.output)), 0) << c.command << " again";
    EXPECT_EQ(testing::ReadAll(File(c.output)), written) << c.command;
    EXPECT_LT(written.size(), 1u << 20) << c.command;
    EXPECT_NE(written.find_first_not_of('x'), std::string::npos) << c.command;
  }
  EXPECT_EQ(testing::ReadAll(File("Çıktı İş.xbf")), testing::ReadAll(sample));
  EXPECT_EQ(testing::ReadAll(File("açılmış.xml")), testing::ReadAll(sample));
  size_t leftovers = 0;
  for (const auto& e : fs::directory_iterator(dir_)) {
    leftovers += Utf8FromPath(e.path().filename()).starts_with(".~");
  }
  EXPECT_EQ(leftovers, 0u);
}

TEST_F(XbfCommands, SemaListsTheFields) {
  ASSERT_EQ(Run("xbf sema " + testing::SampleFile("22-"), Path("sema.json")), 0);
  EXPECT_EQ(testing::ReadAll(File("sema.json")),
            "[\n {\"name\":\"ID\",\"ado_type\":3,\"size\":4,\"precision\":0,\"scale\":255,"
            "\"nullable\":false,\"autonumber\":false,\"long\":false,\"fixed\":true},\n"
            " {\"name\":\"VALUE_FIELD\",\"ado_type\":131,\"size\":19,\"precision\":18,\"scale\":4,"
            "\"nullable\":true,\"autonumber\":false,\"long\":false,\"fixed\":true}\n]\n");
  EXPECT_NE(Run("xbf sema " + Quoted("missing.xbf")), 0);
}

TEST_F(XbfCommands, AktarWritesAnAccessTableAsAdoWould) {
  PX_SAMPLE_OR_SKIP(mdb, "mdb/testV2000.mdb");
  ASSERT_EQ(Run("xbf aktar " + mdb + " Table1 " + Quoted("a-Table1.xbf")), 0);
  const std::string xml = testing::ReadAll(File("a-Table1.xbf"));
  // Jet's column flags as ADO persists them; Yes/No is not nullable yet may be null.
  EXPECT_NE(xml.find("<s:AttributeType name='A' rs:number='1' rs:nullable='true' "
                     "rs:maydefer='true' rs:writeunknown='true' rs:basetable='Table1'\r\n"
                     "\t\t\t rs:basecolumn='A' rs:keycolumn='true'>"),
            std::string::npos)
      << xml;
  EXPECT_NE(xml.find("<s:datatype dt:type='boolean' dt:maxLength='2' rs:fixedlength='true'/>"),
            std::string::npos);
  EXPECT_NE(xml.find("<s:datatype dt:type='dateTime' rs:dbtype='variantdate' "
                     "dt:maxLength='16' rs:fixedlength='true'/>"),
            std::string::npos);
  ASSERT_EQ(Run("xbf aktar " + mdb + " Table1 " + Quoted("a-Table1.pbf")), 0);
  ASSERT_EQ(Run("pbf ac " + Quoted("a-Table1.pbf") + " " + Quoted("unpacked.xbf")), 0);
  EXPECT_EQ(testing::ReadAll(File("unpacked.xbf")), xml);
  EXPECT_NE(Run("xbf aktar " + mdb + " NoSuchTable " + Quoted("x.xbf")), 0);
  EXPECT_FALSE(fs::exists(File("x.xbf")));
}

TEST_F(XbfCommands, AktarOfEveryAccessSampleTableReadsBackTheSameRows) {
  PX_SAMPLE_OR_SKIP(dir, "mdb");
  int tables = 0, empty = 0;
  for (const auto& e : fs::directory_iterator(dir)) {
    const std::string mdb = e.path().string();
    if (Run("mdb tablolar " + mdb, Path("tables.txt")) != 0) continue;
    std::istringstream names(testing::ReadAll(File("tables.txt")));
    for (std::string table; std::getline(names, table);) {
      fs::remove(File("t.xbf"));
      ASSERT_EQ(Run("xbf aktar " + mdb + " '" + table + "' " + Quoted("t.xbf")), 0) << mdb << table;
      ASSERT_EQ(Run("mdb satirlar " + mdb + " '" + table + "'", Path("mdb.jsonl")), 0);
      if (testing::ReadAll(File("mdb.jsonl")).empty()) {
        EXPECT_FALSE(fs::exists(File("t.xbf"))) << "empty table " << table << " wrote a file";
        ++empty;
        continue;
      }
      ASSERT_EQ(Run("xbf satirlar " + Quoted("t.xbf"), Path("xbf.jsonl")), 0) << mdb << table;
      EXPECT_EQ(testing::ReadAll(File("xbf.jsonl")), testing::ReadAll(File("mdb.jsonl")))
          << mdb << " " << table;
      ++tables;
    }
  }
  EXPECT_GT(tables, 10);
  EXPECT_GT(empty, 0);
}

}  // namespace
}  // namespace px::xbf
