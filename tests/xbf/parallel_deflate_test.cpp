#include "xbf/parallel_deflate.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

#include "xbf/pbf.h"

namespace px::xbf {
namespace {

// Text that compresses like a recordset file, with matches reaching across block borders.
std::string Ornek(size_t n, unsigned seed) {
  std::mt19937 rng(seed);
  const char* words[] = {"<z:row Id='", "' Kod='",     "İzmir",  "Ağrı", "' Tutar='",
                         "1500.25",     "'/>\r\n\t\t", "Şirket", "çiçek"};
  std::string s;
  while (s.size() < n) s += words[rng() % 9];
  s.resize(n);
  return s;
}

std::string Inflate(const std::string& z) {
  MemoryInput in(z);
  auto inflate = InflateInput::Create(in, "test");
  if (!inflate.ok()) return "<" + inflate.status().ToString() + ">";
  std::string out;
  uint8_t buf[65536];
  for (;;) {
    auto n = (*inflate)->Read(buf, sizeof buf);
    if (!n.ok()) return "<" + n.status().ToString() + ">";
    if (*n == 0) return out;
    out.append(reinterpret_cast<char*>(buf), *n);
  }
}

TEST(ParallelDeflate, OneZlibStreamWhateverTheBlocksAndThreads) {
  const size_t blok = ParallelDeflateSink::kBlockSize;
  struct {
    size_t size;
    unsigned threads;
    size_t piece;  // bytes per Write call
  } const cases[] = {
      {0, 2, 1},
      {1, 2, 1},
      {blok - 1, 3, 4096},
      {blok, 2, blok},
      {blok + 1, 2, 7},
      {5 * blok + 123, 4, 100000},
      {3 * blok, 1, 65536},
      {20 * blok + 5, 2, 1 << 20},
  };
  for (const auto& c : cases) {
    const std::string girdi = Ornek(c.size, unsigned(c.size));
    StringSink out;
    auto sink = ParallelDeflateSink::Create(out, kPbfLevel, c.threads);
    ASSERT_TRUE(sink.ok());
    for (size_t i = 0; i < girdi.size(); i += c.piece) {
      ASSERT_TRUE((*sink)->Write(std::string_view(girdi).substr(i, c.piece)).ok());
    }
    ASSERT_TRUE((*sink)->Finish().ok());
    EXPECT_EQ(Inflate(out.data()), girdi) << c.size << " bytes, " << c.threads << " threads";
    // zlib's own one-call inflate agrees (header, one deflate stream, Adler-32).
    uLongf n = uLongf(girdi.size());
    std::string tekrar(girdi.size() + 1, '\0');
    EXPECT_EQ(
        uncompress(reinterpret_cast<Bytef*>(tekrar.data()), &n,
                   reinterpret_cast<const Bytef*>(out.data().data()), uLong(out.data().size())),
        Z_OK)
        << c.size;
    EXPECT_EQ(n, girdi.size());
  }
}

// Rows like a real table's: numbers, codes and Turkish words.
std::string Kayitlar(size_t n) {
  std::mt19937 rng(11);
  const char* words[] = {"Ankara", "İzmir",  "çiçek", "Şirket", "fatura", "ödeme", "kasa",
                         "banka",  "Ağrı",   "gider", "gelir",  "stok",   "ürün",  "müşteri",
                         "cari",   "hesabı", "nakit", "çek",    "senet",  "iade"};
  std::string s;
  for (int i = 1; s.size() < n; ++i) {
    s += "\t<z:row Id='" + std::to_string(i) + "' Kod='K" + std::to_string(rng() % 50000) +
         "' Aciklama='";
    for (unsigned w = 0, k = 2 + rng() % 5; w < k; ++w) s += std::string(words[rng() % 20]) + " ";
    s += "' Tutar='" + std::to_string(rng() % 10000000 / 100.0) + "' Tarih='20" +
         std::to_string(10 + rng() % 15) + "-0" + std::to_string(1 + rng() % 9) + "-1" +
         std::to_string(rng() % 10) + "T00:00:00'/>\r\n";
  }
  return s;
}

// Cutting a recordset file into blocks costs next to nothing against one zlib stream.
TEST(ParallelDeflate, BlocksCompressARecordsetAboutAsWellAsOneStream) {
  const std::string girdi = Kayitlar(8 * ParallelDeflateSink::kBlockSize);
  StringSink out;
  auto sink = ParallelDeflateSink::Create(out, kPbfLevel, 2);
  ASSERT_TRUE(sink.ok());
  ASSERT_TRUE((*sink)->Write(girdi).ok());
  ASSERT_TRUE((*sink)->Finish().ok());
  StringSink tek;
  auto d = DeflateSink::Create(tek);
  ASSERT_TRUE((*d)->Write(girdi).ok());
  ASSERT_TRUE((*d)->Finish().ok());
  EXPECT_LT(out.data().size(), tek.data().size() * 102 / 100);
  EXPECT_EQ(Inflate(out.data()), girdi);
}

// A sink that fails after a number of writes.
class BozukSink : public ByteSink {
 public:
  explicit BozukSink(int kalan) : kalan_(kalan) {}
  Status Write(std::string_view) override {
    return kalan_-- > 0 ? Status::Ok() : Status::IOError("disk: No space left on device");
  }

 private:
  int kalan_;
};

TEST(ParallelDeflate, AWriteErrorIsReturnedAndKept) {
  for (int kalan : {0, 1, 3}) {
    BozukSink out(kalan);
    auto sink = ParallelDeflateSink::Create(out, kPbfLevel, 2);
    ASSERT_TRUE(sink.ok());
    const std::string girdi = Ornek(40 * ParallelDeflateSink::kBlockSize, 7);
    Status st;
    for (size_t i = 0; i < girdi.size() && st.ok(); i += 1 << 20) {
      st = (*sink)->Write(std::string_view(girdi).substr(i, 1 << 20));
    }
    if (st.ok()) st = (*sink)->Finish();
    EXPECT_TRUE(st.IsIOError()) << kalan;
    EXPECT_TRUE((*sink)->Finish().IsIOError()) << kalan;
  }
}

}  // namespace
}  // namespace px::xbf
