#include "core/sha256.h"

#include <gtest/gtest.h>

#include <random>

namespace px {
namespace {

struct Known {
  std::string input;
  const char* digest;
};

// FIPS 180-4 examples and lengths around the 55/56/64-byte padding edges.
const Known kKnown[] = {
    {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
    {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
     "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
    {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
};

TEST(Sha256Test, KnownDigestsWithEitherEngine) {
  for (auto engine : {Sha256::Engine::kBest, Sha256::Engine::kPortable}) {
    for (const Known& k : kKnown) {
      Sha256 whole(engine);
      whole.Update(k.input);
      EXPECT_EQ(whole.HexDigest(), k.digest) << k.input.size() << " bytes";
      // Fed in uneven pieces, across block boundaries.
      Sha256 pieces(engine);
      for (size_t at = 0, step = 1; at < k.input.size(); at += step, step = step * 3 % 97 + 1) {
        pieces.Update(std::string_view(k.input).substr(at, step));
      }
      EXPECT_EQ(pieces.HexDigest(), k.digest) << k.input.size() << " bytes in pieces";
    }
  }
}

TEST(Sha256Test, EnginesAgreeOnEveryLengthUpToFiveBlocks) {
  std::mt19937 random(7);
  std::string data(5 * 64 + 1, '\0');
  for (char& c : data) c = char(random());
  for (size_t n = 0; n <= data.size(); ++n) {
    Sha256 best, portable(Sha256::Engine::kPortable);
    best.Update(std::string_view(data).substr(0, n));
    portable.Update(std::string_view(data).substr(0, n));
    ASSERT_EQ(best.HexDigest(), portable.HexDigest()) << n << " bytes";
  }
}

}  // namespace
}  // namespace px
