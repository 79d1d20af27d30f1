#include "backup/sirket_numaralari.h"

#include <gtest/gtest.h>

#include "db/memory_connection.h"

namespace px::backup {
namespace {

TEST(SirketNumaralariniAl, AscendingThreeDigitNumbers) {
  db::MemoryTable t;
  t.fields = {db::LongField("intSirketNo"), db::TextField("strSirketAdi")};
  t.rows = {{int64_t{12}, std::string("b")},
            {int64_t{1}, std::string("a")},
            {int64_t{1234}, std::string("c")},
            {int64_t{7}, std::string("d")}};
  db::MemoryConnection c;
  c.Add("tblSirket", std::move(t));
  std::vector<std::string> list{"önceki"};
  ASSERT_TRUE(SirketNumaralariniAl(c, list).ok());
  EXPECT_EQ(c.queries.back(), "SELECT intSirketNo FROM tblSirket ORDER BY intSirketNo");
  EXPECT_EQ(list, (std::vector<std::string>{"önceki", "001", "007", "012", "1234"}));
}

TEST(SirketNumaralariniAl, WithoutTheTableIsAnError) {
  db::MemoryConnection c;
  std::vector<std::string> list;
  EXPECT_FALSE(SirketNumaralariniAl(c, list).ok());
}

TEST(UcHaneli, FormatsLikeTheZeroPattern) {
  EXPECT_EQ(UcHaneli(int64_t{0}), "000");
  EXPECT_EQ(UcHaneli(int64_t{-5}), "-005");
  EXPECT_EQ(UcHaneli(std::string("3")), "003");
  EXPECT_EQ(UcHaneli(std::string("A1")), "A1");
  EXPECT_EQ(UcHaneli(1.5), "002");
  EXPECT_EQ(UcHaneli(2.5), "003");
  EXPECT_EQ(UcHaneli(-2.5), "-003");
  EXPECT_EQ(UcHaneli(Null{}), "");
}

}  // namespace
}  // namespace px::backup
