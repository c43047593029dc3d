#include "marlune/platform/Text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>
#include <string>

namespace marlune::testing {
namespace {

// Short numbers take a way of their own, which must round as the long one does: the C library is the judge.
TEST(TextTest, NumbersOfAnyLengthReadToTheLastBit) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 100'000; ++i) {
    std::string text = i % 3 == 0 ? "-" : i % 3 == 1 ? "+" : "";
    const auto digits = random() % 19 + 1;
    const auto point = random() % 20;
    for (std::size_t at = 0; at < digits; ++at) {
      if (at == point) text += '.';
      text += static_cast<char>('0' + random() % 10);
    }
    if (i % 7 == 0) text += i % 2 == 0 ? "e-3" : "E12";
    if (i % 5 == 0) text += " x";
    const double expected = std::strtod(text.c_str(), nullptr);
    ASSERT_EQ(lenientDouble(text), expected) << text;
    ASSERT_EQ(lenientInteger(text), std::strtoll(text.c_str(), nullptr, 10)) << text;
  }
  EXPECT_EQ(lenientDouble("."), 0.0);
  EXPECT_EQ(lenientDouble("1."), 1.0);
  EXPECT_EQ(lenientDouble("-.5"), -0.5);
  EXPECT_EQ(lenientDouble("1e"), 1.0);
}

TEST(TextTest, ANewlineIsFoundWhereverItStands) {
  const std::string newlines[] = {"\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"};
  const std::string others[] = {"\t", "\x0E", "\xC2\x86", "\xE2\x80\xAA", "\xE2\x82\xAC", "\x7F"};
  for (std::size_t before = 0; before < 20; ++before) {
    for (std::size_t after = 0; after < 10; ++after) {
      const std::string head(before, 'a');
      const std::string tail(after, '~');
      for (const auto& newline : newlines) {
        EXPECT_EQ(linesOf(head + newline + tail), (std::vector<std::string_view>{head, tail})) << before;
      }
      for (const auto& other : others) EXPECT_EQ(linesOf(head + other + tail).size(), 1U) << before;
    }
  }
}

}  // namespace
}  // namespace marlune::testing
