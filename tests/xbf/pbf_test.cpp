// Compressed package files: zlib streams that independent tools read, damage detected, and
// the package name rules.
#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

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

// zlib's own one-call functions stand for the other tools: each side reads the other's streams.
TEST_F(PbfFiles, ZlibReadsWhatWeWriteAndWeReadWhatZlibWrites) {
  const std::string data = Payload();
  Put("a-T", data);
  ASSERT_TRUE(Sikistir(Path("a-T"), Path("a-T.pbf")).ok());
  const std::string packed = testing::ReadAll(Path("a-T.pbf"));
  ASSERT_GE(packed.size(), 2u);
  EXPECT_EQ(uint8_t(packed[0]), 0x78);  // zlib header, 32K window
  std::string back(data.size(), '\0');
  uLongf n = uLongf(back.size());
  ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(back.data()), &n,
                       reinterpret_cast<const Bytef*>(packed.data()), uLong(packed.size())),
            Z_OK);
  EXPECT_EQ(back.substr(0, n), data);

  std::string theirs(compressBound(uLong(data.size())), '\0');
  n = uLongf(theirs.size());
  ASSERT_EQ(compress2(reinterpret_cast<Bytef*>(theirs.data()), &n,
                      reinterpret_cast<const Bytef*>(data.data()), uLong(data.size()), 5),
            Z_OK);
  Put("x.pbf", theirs.substr(0, n));
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
  // What zlib says of each, whichever inflater found the damage.
  const std::string size = std::to_string(packed.size());
  const std::string early = "compressed stream ends early at offset ";
  const struct {
    const char* what;
    std::string bytes, said;
  } cases[] = {
      {"empty", "", early + "0"},
      {"header only", packed.substr(0, 2), early + "2"},
      {"half", packed.substr(0, packed.size() / 2), early + std::to_string(packed.size() / 2)},
      {"no checksum", packed.substr(0, packed.size() - 4),
       early + std::to_string(packed.size() - 4)},
      {"flipped", flipped, "damaged compressed stream near offset "},
      {"checksum", bad_check,
       "damaged compressed stream near offset " + size + ": incorrect data check"},
      {"trailing bytes", packed + "x",
       "data after the end of the compressed stream at offset " + size},
      {"not zlib", "<xml>", "damaged compressed stream near offset 2: incorrect header check"},
  };
  for (const auto& c : cases) {
    Put("bad.pbf", c.bytes);
    Status st = Ac(Path("bad.pbf"), Path("out"));
    EXPECT_TRUE(st.IsCorruption()) << c.what << ": " << st.ToString();
    EXPECT_NE(st.message().find("bad.pbf: " + c.said), std::string::npos) << st.message();
    EXPECT_EQ(testing::ReadAll(Path("out")), "previous") << c.what;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path()), {}), 4);  // no temporary files left
  EXPECT_TRUE(Ac(Path("missing.pbf"), Path("out")).IsNotFound());
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
