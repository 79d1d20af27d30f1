#include "core/value_text.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "core/bytes.h"
#include "core/result.h"

namespace px {
namespace {

TEST(Bytes, LittleAndBigEndianOrder) {
  const uint8_t b[] = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
  EXPECT_EQ(LoadLe16(b), 0x0201);
  EXPECT_EQ(LoadLe24(b), 0x030201u);
  EXPECT_EQ(LoadLe32(b), 0x04030201u);
  EXPECT_EQ(LoadLe64(b), 0x0807060504030201ull);
  EXPECT_EQ(LoadBe24(b), 0x010203u);
  EXPECT_EQ(LoadBe32(b), 0x01020304u);
  uint8_t out[8] = {};
  StoreLe32(out, 0xAABBCCDD);
  EXPECT_EQ(out[0], 0xDD);
  EXPECT_EQ(out[3], 0xAA);
  StoreBe32(out, 0xAABBCCDD);
  EXPECT_EQ(out[0], 0xAA);
}

TEST(Bytes, ReaderRefusesShortReadsWithoutMoving) {
  const uint8_t b[] = {1, 2, 3};
  ByteReader r(b);
  EXPECT_EQ(r.U16(), 0x0201);
  EXPECT_FALSE(r.U16().has_value());
  EXPECT_EQ(r.offset(), 2u);
  EXPECT_EQ(r.U8(), 3);
  EXPECT_FALSE(r.U8().has_value());
  EXPECT_FALSE(SubSpan(b, 2, SIZE_MAX).has_value());
  EXPECT_TRUE(SubSpan(b, 3, 0).has_value());
}

TEST(ValueText, PlainDecimalNotation) {
  EXPECT_EQ(CurrencyToPlain({INT64_MIN}), "-922337203685477.5808");
  Decimal big;
  big.hi = UINT64_MAX;
  big.lo = UINT64_MAX;
  EXPECT_EQ(DecimalToPlain(big), "340282366920938463463374607431768211455");
  big.scale = 39;
  EXPECT_EQ(DecimalToPlain(big), "0.340282366920938463463374607431768211455");
  Decimal negzero;
  negzero.negative = true;
  EXPECT_EQ(DecimalToPlain(negzero), "0");
}

TEST(ValueText, DecimalAndCurrencyParseBack) {
  const std::string widest = "340282366920938463463374607431768211455";
  EXPECT_EQ(DecimalToPlain(*DecimalFromText(widest)), widest);
  EXPECT_EQ(DecimalFromText("12.50")->scale, 2);
  EXPECT_FALSE(DecimalFromText("340282366920938463463374607431768211456"));
  // A value padded to a scale past 128 bits keeps its value; a digit there is refused.
  const std::string padded = "1.5" + std::string(60, '0');
  EXPECT_EQ(DecimalToPlain(*DecimalFromText(padded)), "1.5");
  EXPECT_EQ(DecimalFromText(padded)->scale, 38);
  EXPECT_FALSE(DecimalFromText(padded + "1"));
  EXPECT_FALSE(DecimalFromText("1." + std::string(256, '0')));
  EXPECT_FALSE(DecimalFromText("1e5"));
  EXPECT_FALSE(DecimalFromText("-"));
  EXPECT_EQ(CurrencyFromText("-922337203685477.5808")->scaled, INT64_MIN);
  EXPECT_FALSE(CurrencyFromText("922337203685477.5808"));
  EXPECT_FALSE(CurrencyFromText("0.00001"));
  EXPECT_EQ(CurrencyFromText("12.5")->scaled, 125000);
}

// The hand-made texts are what printf made before: dates field by field, plain decimals
// from the digits of the whole number, at every scale and sign; and the 64-bit fast path of
// the decimal parser agrees with the general one (leading zeros force the general one).
TEST(ValueText, HandFormattingMatchesPrintf) {
  auto plain = [](uint64_t magnitude, int scale, bool negative) {
    std::string d = std::to_string(magnitude);
    if (int(d.size()) <= scale) d.insert(0, size_t(scale + 1 - int(d.size())), '0');
    if (scale > 0) {
      d.insert(d.size() - size_t(scale), ".");
      while (d.back() == '0') d.pop_back();
      if (d.back() == '.') d.pop_back();
    }
    return (negative && magnitude ? "-" : "") + d;
  };
  auto printed = [](const char* format, auto... args) {
    char buf[96];
    std::snprintf(buf, sizeof buf, format, args...);
    return std::string(buf);
  };
  std::mt19937_64 rng(11);
  std::vector<int64_t> money = {0,      1,     -1,     10,    100,       1000,      10000,
                                -10000, 12345, -50500, 99990, INT64_MIN, INT64_MAX, INT64_MIN + 1};
  for (int i = 0; i < 20000; ++i)
    money.push_back(int64_t(rng() >> (rng() % 64)) * (i % 2 ? -1 : 1));
  for (int64_t m : money) {
    const uint64_t mag = m < 0 ? uint64_t(0) - uint64_t(m) : uint64_t(m);
    ASSERT_EQ(CurrencyToPlain({m}), plain(mag, 4, m < 0)) << m;
    Decimal d;
    d.lo = mag, d.negative = m < 0, d.scale = uint8_t(mag % 23);
    ASSERT_EQ(DecimalToPlain(d), plain(mag, d.scale, d.negative)) << m;
    const std::string text = DecimalToPlain(d),
                      padded = (m < 0 ? "-" : "") + std::string(21, '0') + text.substr(m < 0);
    ASSERT_EQ(DecimalFromText(text), DecimalFromText(padded)) << text;
    ASSERT_EQ(DecimalToPlain(*DecimalFromText(text)), text);
  }
  for (const DateParts& p : {DateParts{},
                             DateParts{-9999, 1, 2, 3, 4, 5, 6},
                             {-5, 12, 31, 0, 0, 1, 0},
                             {0, 1, 1, 23, 59, 59, 999},
                             {12345, 6, 7, 0, 0, 0, 50},
                             {99999, 9, 9, 9, 9, 9, 9}}) {
    const std::string date = printed("%04d-%02d-%02d", p.year, p.month, p.day),
                      time = printed("%02d:%02d:%02d", p.hour, p.minute, p.second);
    EXPECT_EQ(FormatIsoDateTime(p),
              date + "T" + time + (p.millisecond ? printed(".%03d", p.millisecond) : ""));
    EXPECT_EQ(FormatDateText(p), p.hour || p.minute || p.second ? date + " " + time : date);
  }
}

TEST(ValueText, GuidTextAndMemoryLayout) {
  Guid g;
  const uint8_t mem[16] = {0x33, 0x22, 0x11, 0x00, 0x55, 0x44, 0x77, 0x66,
                           0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff};
  std::copy(std::begin(mem), std::end(mem), g.bytes.begin());
  EXPECT_EQ(GuidToText(g), "{00112233-4455-6677-8899-AABBCCDDEEFF}");
  EXPECT_EQ(GuidFromText("{00112233-4455-6677-8899-aabbccddeeff}"), g);
  EXPECT_EQ(GuidFromText("00112233-4455-6677-8899-AABBCCDDEEFF"), g);
  EXPECT_FALSE(GuidFromText("{00112233-4455-6677-8899-AABBCCDDEEFG}"));
  EXPECT_FALSE(GuidFromText("{00112233+4455-6677-8899-AABBCCDDEEFF}"));
}

TEST(ValueText, OleDatesAroundTheEpochAndExtremes) {
  struct Case {
    double ole;
    const char* text;
  } cases[] = {
      {0.0, "1899-12-30T00:00:00"},
      {-1.25, "1899-12-29T06:00:00"},
      {-0.5, "1899-12-30T12:00:00"},
      {2.0, "1900-01-01T00:00:00"},
      {36526.5, "2000-01-01T12:00:00"},
      {-657434.0, "0100-01-01T00:00:00"},
      {2958465.99999999, "9999-12-31T23:59:59.999"},
      {45000.000011574074, "2023-03-15T00:00:01"},
  };
  for (const auto& c : cases) {
    auto p = OleDateToParts(c.ole);
    ASSERT_TRUE(p) << c.ole;
    EXPECT_EQ(FormatIsoDateTime(*p), c.text) << c.ole;
    EXPECT_EQ(OleDateToParts(PartsToOleDate(*p)), p) << c.ole;
  }
  EXPECT_EQ(PartsToOleDate({1899, 12, 29, 6, 0, 0, 0}), -1.25);
  // A time that rounds up to midnight moves to the next day.
  EXPECT_EQ(FormatIsoDateTime(*OleDateToParts(1.9999999999)), "1900-01-01T00:00:00");
  // Day zero has two spellings: -0.75 and 0.75 are the same instant.
  EXPECT_EQ(*OleDateToParts(-0.75), *OleDateToParts(0.75));
  EXPECT_FALSE(OleDateToParts(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(OleDateToParts(1e300));
}

TEST(ValueText, ShortestFloatingText) {
  EXPECT_EQ(ShortestDouble(0.1), "0.1");
  EXPECT_EQ(ShortestDouble(1.7976931348623157e308), "1.7976931348623157e+308");
  EXPECT_EQ(ShortestFloat(0.1f), "0.1");
  EXPECT_EQ(ShortestFloat(3.4028235e38f), "3.4028235e+38");
}

TEST(ResultTest, CarriesValueOrStatus) {
  Result<int> good = 5;
  ASSERT_TRUE(good.ok());
  EXPECT_EQ(*good, 5);
  Result<int> bad = Status::Corruption("page 7: bad row count");
  ASSERT_FALSE(bad.ok());
  EXPECT_TRUE(bad.status().IsCorruption());
  EXPECT_EQ(bad.status().WithContext("a.mdb").message(), "a.mdb: page 7: bad row count");
}

}  // namespace
}  // namespace px
