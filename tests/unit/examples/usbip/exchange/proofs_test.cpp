#include "examples/usbip/exchange/proofs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>

#include "unit/examples/usbip/exchange/bytes.h"

namespace {

using usbip::GreetingBytes;
using usbip::Keys;
using usbip::Proof;

GreetingBytes greetingWith(const usbip::Challenge& challenge) {
  return usbip::encode({.hasKeys = true, .challenge = challenge});
}

class Proofs : public testing::Test {
 protected:
  GreetingBytes workersGreeting = greetingWith(countingFrom<usbip::challengeSize>(0));
  GreetingBytes farSidesGreeting = greetingWith(countingFrom<usbip::challengeSize>(0x20));
  Keys keys{.in = "k3y1", .out = "k3y2"};
  Proof ofWorker = usbip::workersProof(keys, workersGreeting, farSidesGreeting);
  Proof ofFarSide = usbip::farSidesProof(keys, workersGreeting, farSidesGreeting);
};

// The numbers were computed with Python: hmac.new(key, name + worker + far_side, hashlib.sha256).hexdigest().
TEST_F(Proofs, AreTheHmacSha256OfTheNameAndBothGreetings) {
  EXPECT_EQ(hexOf(ofWorker), "df0ec898d3b4f7d2aa091c6d0c584c9e9a4a0f43c8e78f050db82e9cee0b2066");
  EXPECT_EQ(hexOf(ofFarSide), "3a77b7901ef3b27e3a841491fc96eb894950fd7cffc4dfd46dd95dc3d6176440");
}

TEST_F(Proofs, OfKeysLongerThanABlockOfTheHashAreThatOfItsHash) {
  const Keys longKeys{.in = std::string(100, 'a'), .out = std::string(100, 'b')};
  EXPECT_EQ(hexOf(usbip::workersProof(longKeys, workersGreeting, farSidesGreeting)),
            "032712945864f84a300ba4e3a8d0e0b972e6129db7f24678aea774e8746d6c9f");
  EXPECT_EQ(hexOf(usbip::farSidesProof(longKeys, workersGreeting, farSidesGreeting)),
            "80cde35905371cf40b614444fa3352149b9e73b9ddcd4bf01a5bc71ff9842fda");
}

TEST_F(Proofs, AreOfOneKeyEach) {
  EXPECT_EQ(usbip::workersProof({.in = "other", .out = keys.out}, workersGreeting, farSidesGreeting),
            ofWorker);
  EXPECT_NE(usbip::workersProof({.in = keys.in, .out = "other"}, workersGreeting, farSidesGreeting),
            ofWorker);
  EXPECT_EQ(usbip::farSidesProof({.in = keys.in, .out = "other"}, workersGreeting, farSidesGreeting),
            ofFarSide);
  EXPECT_NE(usbip::farSidesProof({.in = "other", .out = keys.out}, workersGreeting, farSidesGreeting),
            ofFarSide);
}

TEST_F(Proofs, CannotBeSentBackEvenIfBothKeysAreTheSame) {
  const Keys same{.in = "k3y", .out = "k3y"};
  EXPECT_NE(usbip::workersProof(same, workersGreeting, farSidesGreeting),
            usbip::farSidesProof(same, workersGreeting, farSidesGreeting));
}

TEST_F(Proofs, AreOfEveryByteOfBothGreetings) {
  std::set<Proof> all{ofWorker, ofFarSide};
  for (std::size_t at = 0; at < usbip::greetingSize; ++at) {
    GreetingBytes worker = workersGreeting;
    GreetingBytes farSide = farSidesGreeting;
    worker.at(at) ^= 1;
    farSide.at(at) ^= 1;
    all.insert({usbip::workersProof(keys, worker, farSidesGreeting),
                usbip::workersProof(keys, workersGreeting, farSide),
                usbip::farSidesProof(keys, worker, farSidesGreeting),
                usbip::farSidesProof(keys, workersGreeting, farSide)});
  }
  EXPECT_EQ(all.size(), 2 + 4 * usbip::greetingSize);
}

TEST_F(Proofs, AreOfTheOrderOfTheGreetings) {
  EXPECT_NE(usbip::workersProof(keys, farSidesGreeting, workersGreeting), ofWorker);
  EXPECT_NE(usbip::farSidesProof(keys, farSidesGreeting, workersGreeting), ofFarSide);
}

TEST_F(Proofs, AreTheSameIfEveryByteIs) {
  EXPECT_TRUE(usbip::areSame(ofWorker, usbip::workersProof(keys, workersGreeting, farSidesGreeting)));
  for (std::size_t at = 0; at < ofWorker.size(); ++at) {
    Proof other = ofWorker;
    other.at(at) ^= 0x80;
    EXPECT_FALSE(usbip::areSame(ofWorker, other)) << at;
    EXPECT_FALSE(usbip::areSame(other, ofWorker)) << at;
  }
}

TEST(ProofsChallenge, IsAnotherEachTime) {
  constexpr int count = 1000;
  std::set<usbip::Challenge> challenges;
  for (int i = 0; i < count; ++i) {
    challenges.insert(usbip::freshChallenge());
  }
  EXPECT_EQ(challenges.size(), count);
}

TEST(ProofsChallenge, HasNoByteThatStaysTheSame) {
  constexpr int count = 100;  // that a random byte stays the same for so long happens once in 2^792 times
  const usbip::Challenge first = usbip::freshChallenge();
  std::set<std::size_t> constant;
  for (std::size_t at = 0; at < first.size(); ++at) {
    constant.insert(at);
  }
  for (int i = 0; i < count; ++i) {
    const usbip::Challenge next = usbip::freshChallenge();
    std::erase_if(constant, [&](std::size_t at) { return next.at(at) != first.at(at); });
  }
  EXPECT_TRUE(constant.empty());
}

}  // namespace
