#include "marlune/formats/Text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>

#include "marlune/formats/Iso8601.h"

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

TEST(TextTest, ADoubleIsWrittenShortAndExact) {
  const std::pair<double, const char*> written[] = {{10, "10.0"},
                                                    {-0.0, "-0.0"},
                                                    {0.1 + 0.2, "0.30000000000000004"},
                                                    {-9.5e-5, "-9.5e-05"},
                                                    {9007199254740993.0, "9007199254740992.0"},
                                                    {0x1p54, "1.8014398509481984e+16"},
                                                    {5e-324, "5e-324"}};
  for (const auto& [value, text] : written) EXPECT_EQ(shortestDecimal(value), text);
  std::mt19937_64 random(2);
  for (int i = 0; i < 20'000; ++i) {
    const double value = std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 200) - 160);
    ASSERT_EQ(std::strtod(shortestDecimal(value).c_str(), nullptr), value);
  }
}

TEST(TextTest, TrimmingKnowsEveryBlank) {
  for (const std::string blank : {" ", "\t", "\n", "\v", "\f", "\r", "\u0085", "\u00a0", "\u1680", "\u2000",
                                  "\u200a", "\u200b", "\u2028", "\u2029", "\u202f", "\u205f", "\u3000"}) {
    EXPECT_EQ(trimmed(blank), "");
    EXPECT_EQ(trimmed(blank + " x" + blank + "y" + blank + blank), "x" + blank + "y");
  }
  // Neighbours of blanks, and characters that end in the bytes of one.
  for (const std::string text :
       {"", "\u0086", "\u00a1", "\u200c", "\u202e", "\u3001", "\u00c5\x85", "\x85", "\xe2\x80"}) {
    EXPECT_EQ(trimmed(text), text);
  }
}

TEST(Iso8601Test, OnlyWholeTimesThatExistAreRead) {
  const std::pair<const char*, std::int64_t> good[] = {{"1970-01-01T00:00:00Z", 0},
                                                       {"2025-01-01T03:04:05.123Z", 1'735'700'645},
                                                       {"2025-01-01T08:34:05+05:30", 1'735'700'645},
                                                       {"2024-12-31T23:04:05.9-0400", 1'735'700'645},
                                                       {"1969-12-31T23:59:59Z", -1},
                                                       {"9999-12-31T23:59:59Z", 253'402'300'799}};
  for (const auto& [text, seconds] : good) EXPECT_EQ(iso8601SecondsWithoutFraction(text), seconds) << text;
  EXPECT_EQ(iso8601Seconds("2025-01-01T03:04:05.123Z"), std::nullopt);
  for (const char* const text :
       {"", "2025-01-01", "2025-01-01T03:04:05", "2025-01-01 03:04:05Z", "2025-01-01T03:04:05ZZ",
        "1900-02-29T00:00:00Z", "2025-04-31T00:00:00Z", "2025-13-01T00:00:00Z", "2025-01-01T24:00:00Z",
        "2025-01-01T00:00:60Z", "2025-01-01T00:00:00+24:00", "+025-01-01T00:00:00Z"}) {
    EXPECT_EQ(iso8601SecondsWithoutFraction(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace marlune::testing
