#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "marlune/search/IndexTrie.h"
#include "marlune/search/PrefixTrie.h"

namespace marlune {
namespace {

using Texts = std::vector<std::string>;

/// The places of the texts found, in order: "0 2".
template <class Found>
std::string listed(const Found& found) {
  if (!found) return "none";
  std::string list;
  for (const int place : *found) list += (list.empty() ? "" : " ") + std::to_string(place);
  return list;
}

std::string prefixMatches(const Texts& words, std::string_view query) {
  PrefixTrie<int> trie;
  for (std::size_t i = 0; i < words.size(); ++i) trie.insertWithWord(words[i], static_cast<int>(i));
  return listed(trie.matchPrefixWith(query));
}

std::string innerMatches(const Texts& texts, std::string_view query) {
  IndexTrie<int> trie;
  for (std::size_t i = 0; i < texts.size(); ++i) trie.insertWithText(texts[i], static_cast<int>(i));
  return listed(trie.searchWith(query));
}

TEST(PrefixTrieTest, FindsWordsByTheirBeginning) {
  const struct {
    Texts texts;
    std::string query, found;
  } cases[] = {
      {{"Lorne", "lorne", "Lorn", "LORNE PIER", "Port Lorne"}, "lor", "2 0 1 3"},  // by word, then insertion
      {{"Santa Cruz", "Santa"}, "  santa \t cr", "0"},
      {{"  Santa\xC2\xA0 \n Cruz "}, "santa cruz", "0"},
      {{"Straße", "STRASSE", "strand"}, "strass", "0 1"},
      {{"Caf\xC3\xA9", "CAFE\xCC\x81", "Cafe"}, "caf\xC3\xA9", "0 1"},  // composed or not, never without
      {{"Ωμέγα ΣΑΣ"}, "ωμέγα σας", "0"},
      {{"2 × 3", "2 ÷ 3", "2 Ø 3"}, "2 ÷", "1"},  // the times sign is no capital
      {{"Caf\xE9 Point"}, "CAF\xE9 p", "0"},
      {{"a", "", " ", "\t"}, " ", "none"},
      {{std::string("a\0b", 3), "a b"}, std::string("A\0", 2), "0 1"},
  };
  for (const auto& [words, query, found] : cases) EXPECT_EQ(prefixMatches(words, query), found) << query;
}

TEST(IndexTrieTest, FindsTextsByWhatTheyHold) {
  const Texts names = {"Santa Cruz, Monterey Bay", "Kings Point", "St. John's", "Port-aux-Basques",
                       "Pointe-à-Pitre",           "Þorlákshöfn", "Appoint",    "Point Point"};
  const std::pair<std::string, std::string> cases[] = {
      {"cruz, mon", "0"}, {"cruz ", "0"},     {"cru ", "none"}, {"poi", "1 4 7 6"},  {"po", "1 3 4 7"},
      {"oi", "none"},     {"oin", "1 4 6 7"}, {"ák", "none"},   {"ÁKS", "5"},        {". j", "2"},
      {"int po", "7"},    {"", "none"},       {"'s", "none"},   {"point ", "1 7 6"}, {"-", "none"},
  };
  for (const auto& [query, found] : cases) {
    EXPECT_EQ(innerMatches(names, query), found) << query;
  }
}

TEST(TriesTest, BearWhatIsNoName) {
  const std::string million(1'000'000, 'x');
  const std::string accents = "e" + std::string(500, 'x') + std::string(2000, '\xCC');
  PrefixTrie<int> words;
  IndexTrie<int> texts;
  int place = 0;
  for (const std::string& text : {million, accents, "Bay" + million, std::string(5000, '\0') + "Bay"}) {
    words.insertWithWord(text, place);
    texts.insertWithText(text, place++);
  }
  EXPECT_EQ(listed(words.matchPrefixWith(million.substr(0, maxSearchedBytes))), "0");
  EXPECT_EQ(listed(words.matchPrefixWith(million)), "none");
  EXPECT_EQ(listed(texts.searchWith(million)), "none");
  EXPECT_EQ(listed(texts.searchWith("xxx")), "0 1 2");
  EXPECT_EQ(listed(words.matchPrefixWith("bay")), "2");
  // Cut within a character.
  std::string cut = std::string(maxSearchedBytes - 1, 'y') + "é";
  words.insertWithWord(cut, 9);
  EXPECT_EQ(listed(words.matchPrefixWith("yyy")), "9");
  EXPECT_EQ(listed(words.matchPrefixWith(cut.substr(0, maxSearchedBytes - 1) + " ")), "9");
}

/// Up to three words of two letters, so that much is found. The hyphen has the low bits of one of them.
std::string randomText(std::mt19937& random) {
  std::string text;
  for (std::size_t words = 1 + random() % 3; words > 0; --words) {
    for (std::size_t letters = 1 + random() % 5; letters > 0; --letters)
      text += random() % 3 == 0 ? 'm' : 'a';
    if (words > 1) text += random() % 4 == 0 ? '-' : ' ';
  }
  return text;
}

/// By definition: texts with the query at the beginning of a word, and after them, from three letters on,
/// those with it inside of one.
std::string holding(const Texts& texts, const std::string& query) {
  std::vector<int> found;
  std::vector<int> inside;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const bool starts = texts[i].starts_with(query) || texts[i].find(" " + query) != std::string::npos ||
                        texts[i].find("-" + query) != std::string::npos;
    if (starts) found.push_back(static_cast<int>(i));
    if (!starts && query.size() >= 3 && texts[i].find(query) != std::string::npos)
      inside.push_back(static_cast<int>(i));
  }
  found.insert(found.end(), inside.begin(), inside.end());
  return listed(found.empty() ? std::nullopt : std::optional(found));
}

TEST(TriesTest, AgreeWithTheirDefinitionWhateverComesBetween) {
  std::mt19937 random(7);
  Texts texts;
  PrefixTrie<int> words;
  IndexTrie<int> inner;
  int answers = 0;
  for (int round = 0; round < 1200; ++round) {
    if (round % 4 == 0) {  // more come while questions are asked
      texts.push_back(randomText(random));
      words.insertWithWord(texts.back(), static_cast<int>(texts.size()) - 1);
      inner.insertWithText(texts.back(), static_cast<int>(texts.size()) - 1);
    }
    const std::string query = randomText(random);
    std::vector<int> begun;
    for (std::size_t i = 0; i < texts.size(); ++i)
      if (texts[i].starts_with(query)) begun.push_back(static_cast<int>(i));
    std::stable_sort(begun.begin(), begun.end(), [&](int a, int b) {
      return texts[static_cast<std::size_t>(a)] < texts[static_cast<std::size_t>(b)];
    });
    ASSERT_EQ(listed(words.matchPrefixWith(query)),
              listed(begun.empty() ? std::nullopt : std::optional(begun)))
        << query;
    ASSERT_EQ(listed(inner.searchWith(query)), holding(texts, query)) << query;
    answers += begun.empty() ? 0 : 1;
  }
  EXPECT_GT(answers, 200);
}

}  // namespace
}  // namespace marlune
