// The Access engine, through "pergonix-yedek mdb tablolar / satirlar", against two
// independent readers on every sample file. The rules that bring the references' output
// into our forms, and which reference decides where they part, are in reference_helpers.h.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "jetcheck/reference_helpers.h"
#include "jetcheck/sample_param.h"

namespace px::jetcheck {
namespace {

class MdbSampleTest : public SampleTest {};

std::string Joined(const std::vector<std::string>& lines) {
  std::string s;
  for (const std::string& l : lines) s += "\n  " + l;
  return s;
}

std::vector<std::string> OurTables(const std::string& path) {
  ProcessResult ours = ::px::testing::RunProgram({"mdb", "tablolar", path});
  EXPECT_TRUE(ours.ExitedWith(0)) << "mdb tablolar " << path << ": " << ours.Describe() << "\n"
                                  << ours.err;
  return SplitLines(ours.out);
}

// Every table's rows from us and from `ref`; returns the listed differences.
std::vector<std::string> CompareAllTables(Reference ref, const std::string& path,
                                          const std::vector<std::string>& tables) {
  std::vector<std::string> failures;
  for (const std::string& table : tables) {
    ProcessResult ours = ::px::testing::RunProgram({"mdb", "satirlar", path, table});
    if (!ours.ExitedWith(0)) {
      failures.push_back("table " + table + ": mdb satirlar " + ours.Describe() + ": " + ours.err);
      continue;
    }
    ProcessResult theirs = ref == Reference::kMdbReader ? RunMdbReaderDump({"rows", path, table})
                                                        : RunMdbJson(path, table);
    if (!theirs.ExitedWith(0)) {
      failures.push_back("table " + table + ": " + ReferenceName(ref) + " " + theirs.Describe() +
                         ": " + theirs.err);
      continue;
    }
    RowsComparison c = CompareRows(ref, table, ours.out, theirs.out,
                                   HasOverflowRows(path) ? RowOrder::kAny : RowOrder::kSame);
    failures.insert(failures.end(), c.failures.begin(), c.failures.end());
  }
  return failures;
}

// Each reference lists the tables (mdb-tables -1, mdb-reader) and gives the rows of each
// (mdb-json, mdb-reader). The references list MSysObjects' rows where they are stored and we
// list tables in ADOX's order (the name index): the names are compared as sets.
TEST_P(MdbSampleTest, TablesAndRowsMatchMdbtoolsAndMdbReader) {
  std::vector<std::string> ours = OurTables(path());
  std::sort(ours.begin(), ours.end());
  std::string skipped;
  for (Reference ref : {Reference::kMdbJson, Reference::kMdbReader}) {
    const bool reader = ref == Reference::kMdbReader;
    if (std::string why = reader ? MdbReaderMissing() : MdbtoolsMissing(); !why.empty()) {
      skipped += why + "; ";
      continue;
    }
    ProcessResult listed =
        reader ? RunMdbReaderDump({"tables", path()}) : RunProcess({"mdb-tables", "-1", path()});
    ASSERT_TRUE(listed.ExitedWith(0)) << listed.Describe() << "\n" << listed.err;
    std::vector<std::string> theirs = SplitLines(listed.out);
    const std::vector<std::string> failures = CompareAllTables(ref, path(), theirs);
    EXPECT_TRUE(failures.empty()) << ReferenceName(ref) << " " << path() << Joined(failures);
    std::sort(theirs.begin(), theirs.end());
    EXPECT_EQ(ours, theirs) << ReferenceName(ref) << " " << path();
  }
  if (!MdbReaderMissing().empty() && !MdbtoolsMissing().empty()) GTEST_SKIP() << skipped;
}

// The overflow samples number their rows in the text they hold ("row3col9" is in row 3):
// a row moved to another page must still come out in its own slot's place.
TEST_P(MdbSampleTest, RowsKeepTheirSlotOrder) {
  if (!GetParam().starts_with("overflowTest"))
    GTEST_SKIP() << "only the overflow samples number their rows";
  ProcessResult ours = ::px::testing::RunProgram({"mdb", "satirlar", path(), "Table1"});
  ASSERT_TRUE(ours.ExitedWith(0)) << ours.Describe() << "\n" << ours.err;
  std::vector<std::string> lines = SplitLines(ours.out);
  ASSERT_EQ(lines.size(), 7u) << ours.out;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    auto row = ParseJsonObject(lines[i], nullptr);
    ASSERT_TRUE(row) << lines[i];
    const std::string mark = "row" + std::to_string(i + 1) + "col";
    for (const auto& [key, value] : *row) {
      if (value.kind == JsonScalar::Kind::kNull) continue;
      EXPECT_TRUE(value.text.starts_with(mark))
          << "row " << i + 1 << " column " << key << ": " << value.ToJson();
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, MdbSampleTest, ::testing::ValuesIn(SampleParams()),
                         SampleParamName);

}  // namespace
}  // namespace px::jetcheck
