// Compressed package files: zlib streams that independent tools read, damage detected, and
// the package name rules.
#include <gtest/gtest.h>

#include <random>

#include "support/process.h"
#include "support/temp_folder.h"
#include "xbf/pbf.h"
#include "xbf_test_util.h"

namespace px::xbf {
namespace {

namespace fs = std::filesystem;

class PbfFiles : public ::testing::Test {
 protected:
  std::string Path(const std::string& name) const { return (dir_.path() / name).string(); }
  void Put(const std::string& name, const std::string& bytes) const { dir_.Write(name, bytes); }

  ::px::testing::TempFolder dir_;
};

std::string Payload() {
  // Text that compresses, followed by bytes that do not.
  std::string s;
  for (int i = 0; i < 20000; ++i) s += "\t<z:row ID='" + std::to_string(i) + "' AD='Şükrü'/>\r\n";
  std::mt19937 rng(7);
  for (int i = 0; i < 300000; ++i) s += char(rng());
  return s;
}

using ::px::testing::FindOnPath;
using ::px::testing::RunProcess;

// What `argv` prints reading `input`; a failed run fails the test.
std::string Filtered(const std::vector<std::string>& argv, const std::string& input) {
  auto r = RunProcess(argv, {input});
  EXPECT_TRUE(r.ExitedWith(0)) << argv[0] << ": " << r.Describe();
  return r.out;
}

TEST_F(PbfFiles, ExternalZlibReadsWhatWeWrite) {
  const std::string data = Payload();
  Put("a-T", data);
  ASSERT_TRUE(Sikistir(Path("a-T"), Path("a-T.pbf")).ok());
  const std::string packed = testing::ReadAll(Path("a-T.pbf"));
  ASSERT_GE(packed.size(), 2u);
  EXPECT_EQ(uint8_t(packed[0]), 0x78);  // zlib header, 32K window
  EXPECT_EQ((uint8_t(packed[0]) * 256 + uint8_t(packed[1])) % 31, 0);
  int checked = 0;
  if (!FindOnPath("pigz").empty()) {
    EXPECT_EQ(Filtered({"pigz", "-dz"}, packed), data);
    ++checked;
  }
  if (!FindOnPath("zlib-flate").empty()) {
    EXPECT_EQ(Filtered({"zlib-flate", "-uncompress"}, packed), data);
    ++checked;
  }
  if (!checked) GTEST_SKIP() << "neither pigz nor zlib-flate is installed";
}

TEST_F(PbfFiles, WeReadWhatExternalZlibWrites) {
  if (FindOnPath("zlib-flate").empty()) GTEST_SKIP() << "zlib-flate (qpdf) is not installed";
  const std::string data = Payload();
  Put("x.pbf", Filtered({"zlib-flate", "-compress=5"}, data));
  ASSERT_TRUE(Ac(Path("x.pbf"), Path("x")).ok());
  EXPECT_EQ(testing::ReadAll(Path("x")), data);
}

TEST_F(PbfFiles, DamagedOrTruncatedStreamsAreErrorsAndWriteNothing) {
  Put("a", Payload());
  ASSERT_TRUE(Sikistir(Path("a"), Path("a.pbf")).ok());
  const std::string packed = testing::ReadAll(Path("a.pbf"));
  Put("out", "previous");
  std::string flipped = packed;
  flipped[packed.size() / 3] ^= 0x55;
  std::string bad_check = packed;
  bad_check.back() ^= 1;  // Adler-32 of the data
  const std::pair<const char*, std::string> cases[] = {
      {"empty", ""},
      {"header only", packed.substr(0, 2)},
      {"half", packed.substr(0, packed.size() / 2)},
      {"no checksum", packed.substr(0, packed.size() - 4)},
      {"flipped", flipped},
      {"checksum", bad_check},
      {"trailing bytes", packed + "x"},
      {"not zlib", "<xml>"},
  };
  for (const auto& [what, bytes] : cases) {
    Put("bad.pbf", bytes);
    Status st = Ac(Path("bad.pbf"), Path("out"));
    EXPECT_TRUE(st.IsCorruption()) << what << ": " << st.ToString();
    EXPECT_NE(st.message().find("bad.pbf"), std::string::npos) << st.message();
    EXPECT_EQ(testing::ReadAll(Path("out")), "previous") << what;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path()), {}), 4);  // no temporary files left
  EXPECT_TRUE(Ac(Path("missing.pbf"), Path("out")).IsNotFound());
}

TEST_F(PbfFiles, RecordsetFilesReadThroughDecompression) {
  const std::string xml =
      "<xml><s:Schema><s:ElementType name='row'><s:AttributeType name='A'>"
      "<s:datatype dt:type='int'/></s:AttributeType></s:ElementType></s:Schema>"
      "<rs:data><z:row A='5'/></rs:data></xml>";
  Put("a-T", xml);
  ASSERT_TRUE(Sikistir(Path("a-T"), Path("a-T.PBF")).ok());
  auto reader = XbfReader::OpenFile(Path("a-T.PBF"));
  ASSERT_TRUE(reader.ok()) << reader.status().ToString();
  Row row;
  ASSERT_TRUE((*reader)->Next(row));
  EXPECT_EQ(row[0], Value(int64_t(5)));
  EXPECT_FALSE((*reader)->Next(row));
  EXPECT_TRUE((*reader)->status().ok());
}

TEST(PbfNames, PackageNameRules) {
  EXPECT_EQ(CompressedName("cari-Hesap"), "cari-Hesap.pbf");
  EXPECT_EQ(*DecompressedName("cari-Hesap.pbf"), "cari-Hesap");
  EXPECT_EQ(*DecompressedName("cari-Hesappbf"), "cari-Hesa");  // cuts four, as intended
  EXPECT_TRUE(DecompressedName("pbf").status().IsInvalidArgument());
  EXPECT_EQ(*ImportStagingName("C:\\tmp\\cari-Hesap.pbf"), "C:\\tmp\\cari-Hesap.xbf");
  EXPECT_TRUE(ImportStagingName("ab").status().IsInvalidArgument());
  EXPECT_TRUE(IsCompressedName("x.pbf"));
  EXPECT_TRUE(IsCompressedName("X.PbF"));
  EXPECT_TRUE(IsCompressedName("xpbf"));
  EXPECT_FALSE(IsCompressedName("x.xbf"));
  EXPECT_FALSE(IsCompressedName("bf"));
}

}  // namespace
}  // namespace px::xbf
