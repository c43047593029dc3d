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

/// One letter in several spellings that fold alike.
struct Letter {
  Texts spellings;
  bool word = true;
  bool blank = false;
};

const std::vector<Letter>& letters() {
  static const std::vector<Letter> all = {
      {{"a", "A"}},
      {{"b", "B"}},
      {{"é", "É", "e\xCC\x81"}},
      {{"þ", "Þ"}},
      {{"岸"}},
      {{"7"}},
      {{" ", "\t", "  "}, false, true},
      {{"-"}, false},
      {{"’"}, false},
      {{"\xF0\x9F\x8C\x8A"}, false},
  };
  return all;
}

using Spelt = std::vector<std::size_t>;  // letters, by place

Spelt randomLetters(std::mt19937& random, std::size_t most) {
  Spelt spelt;
  const std::size_t count = random() % (most + 1);
  while (spelt.size() < count) {
    // Mostly two letters, so that much is found.
    const std::size_t letter = random() % 3 != 0 ? random() % 2 : random() % letters().size();
    if (letters()[letter].blank && (spelt.empty() || letters()[spelt.back()].blank)) continue;
    spelt.push_back(letter);
  }
  return spelt;
}

std::string written(std::mt19937& random, const Spelt& spelt) {
  std::string text;
  for (const std::size_t letter : spelt) {
    const Texts& ways = letters()[letter].spellings;
    text += ways[random() % ways.size()];
  }
  return text;
}

/// By definition: at each place of the text, letter by letter.
std::vector<std::size_t> placesOf(Spelt query, const Spelt& text) {
  std::vector<std::size_t> places;
  const bool ends = !query.empty() && letters()[query.back()].blank;
  if (ends) query.pop_back();
  for (std::size_t at = 0; !query.empty() && at + query.size() <= text.size(); ++at) {
    const std::size_t end = at + query.size();
    if (!std::equal(query.begin(), query.end(), text.begin() + static_cast<std::ptrdiff_t>(at))) continue;
    if (!ends || end == text.size() || !letters()[text[end]].word) places.push_back(at);
  }
  return places;
}

TEST(TriesTest, AgreeWithTheirDefinitionWhateverComesBetween) {
  std::mt19937 random(7);
  std::vector<Spelt> texts;
  PrefixTrie<int> words;
  IndexTrie<int> inner;
  int answers = 0;
  for (int round = 0; round < 1200; ++round) {
    if (round % 40 == 0) {  // more come while questions are asked
      for (int i = 0; i < 12; ++i) {
        texts.push_back(randomLetters(random, 12));
        words.insertWithWord(written(random, texts.back()), static_cast<int>(texts.size()) - 1);
        inner.insertWithText(written(random, texts.back()), static_cast<int>(texts.size()) - 1);
      }
    }
    const Spelt query = randomLetters(random, 5);
    std::vector<int> begun;
    std::vector<int> started;
    std::vector<int> inside;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      const auto places = placesOf(query, texts[i]);
      if (places.empty()) continue;
      const bool starts = std::any_of(places.begin(), places.end(), [&](std::size_t at) {
        return at == 0 || !letters()[texts[i][at - 1]].word;
      });
      const std::size_t count = query.size() - (letters()[query.back()].blank ? 1 : 0);
      if (places.front() == 0) begun.push_back(static_cast<int>(i));
      if (starts) {
        started.push_back(static_cast<int>(i));
      } else if (count >= 3) {
        inside.push_back(static_cast<int>(i));
      }
    }
    std::stable_sort(begun.begin(), begun.end(), [&](int a, int b) {
      const auto folded = [&](int i) {
        Spelt text = texts[static_cast<std::size_t>(i)];
        if (letters()[text.back()].blank) text.pop_back();
        std::string bytes;
        for (const std::size_t letter : text) bytes += letters()[letter].spellings[0];
        return bytes;
      };
      return folded(a) < folded(b);
    });
    started.insert(started.end(), inside.begin(), inside.end());
    const auto expected = [](const std::vector<int>& places) {
      return listed(places.empty() ? std::nullopt : std::optional(places));
    };
    const std::string asked = written(random, query);
    ASSERT_EQ(listed(words.matchPrefixWith(asked)), expected(begun)) << asked;
    ASSERT_EQ(listed(inner.searchWith(asked)), expected(started)) << asked;
    answers += started.empty() ? 0 : 1;
  }
  EXPECT_GT(answers, 400);
}

}  // namespace
}  // namespace marlune
