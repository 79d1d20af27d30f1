// End to end: the mdb commands run as the cross-check scripts run them, on sample files.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

namespace px {
namespace {

struct Output {
  std::string text;
  int status = -1;
};

Output RunProgram(const std::string& args) {
  Output o;
  const std::string cmd = std::string(PX_BINARY) + " " + args + " </dev/null 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return o;
  std::array<char, 4096> buf;
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) o.text.append(buf.data(), n);
  o.status = pclose(p);
  return o;
}

std::string Sample(const char* name) {
  return (std::filesystem::path(PX_SHARED_DIR) / "samples" / "mdb" / name).string();
}

#define SAMPLE_OR_SKIP(var, name)       \
  const std::string var = Sample(name); \
  if (!std::filesystem::exists(var)) GTEST_SKIP() << "no sample " << var

TEST(MdbCommand, TablolarListsUserTablesInCatalogOrder) {
  SAMPLE_OR_SKIP(path, "testV2000.mdb");
  Output o = RunProgram("mdb tablolar '" + path + "'");
  EXPECT_EQ(o.status, 0);
  EXPECT_EQ(o.text, "Table1\nTable2\nTable3\nTable4\n");
}

TEST(MdbCommand, SatirlarPrintsOneJsonObjectARow) {
  SAMPLE_OR_SKIP(path, "testV2000.mdb");
  Output o = RunProgram("mdb satirlar '" + path + "' table1");
  EXPECT_EQ(o.status, 0);
  EXPECT_EQ(o.text,
            "{\"A\":\"abcdefg\",\"B\":\"hijklmnop\",\"C\":2,\"D\":222,\"E\":333333333,"
            "\"F\":444.555,\"G\":\"1974-09-21T00:00:00\",\"H\":\"3.5\",\"I\":true}\n"
            "{\"A\":\"a\",\"B\":\"b\",\"C\":0,\"D\":0,\"E\":0,\"F\":0,"
            "\"G\":\"1981-12-12T00:00:00\",\"H\":\"0\",\"I\":false}\n");
}

TEST(MdbCommand, SemaDescribesColumnsAndKeys) {
  SAMPLE_OR_SKIP(path, "indexTestV2000.mdb");
  Output o = RunProgram("mdb sema '" + path + "' Table2");
  EXPECT_EQ(o.status, 0);
  EXPECT_EQ(o.text,
            "[{\"name\":\"Table2\",\"columns\":["
            "{\"name\":\"id\",\"ado_type\":3,\"size\":4,\"precision\":10,\"scale\":255,"
            "\"nullable\":true,\"autonumber\":false,\"allow_zero_length\":false,"
            "\"required\":false},"
            "{\"name\":\"data\",\"ado_type\":202,\"size\":50,\"precision\":255,\"scale\":255,"
            "\"nullable\":true,\"autonumber\":false,\"allow_zero_length\":true,"
            "\"required\":false}],"
            "\"keys\":[{\"name\":\"PrimaryKey\",\"type\":\"primary\",\"columns\":[\"id\"]}]}]\n");
}

TEST(MdbCommand, ErrorsNameTheFileAndFailTheRun) {
  SAMPLE_OR_SKIP(path, "testV2000.mdb");
  Output o = RunProgram("mdb satirlar '" + path + "' tblSirket");
  EXPECT_NE(o.status, 0);
  EXPECT_NE(o.text.find("testV2000.mdb: no table named tblSirket"), std::string::npos) << o.text;
  o = RunProgram("mdb tablolar /nonexistent/yok.mdb");
  EXPECT_NE(o.status, 0);
  EXPECT_NE(o.text.find("/nonexistent/yok.mdb: cannot open"), std::string::npos) << o.text;
}

}  // namespace
}  // namespace px
