#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/search/SearchText.h"

namespace marlune {

/// The words of a PrefixTrie, known by their numbers in order of insertion.
class MARLUNE_API PrefixWords {
 protected:
  /// False when nothing of the word can be searched; then it has no number.
  bool insert(const FoldedText& word) { return words_.insert(word); }
  bool insert(std::string_view word) { return words_.insert(word); }
  /// The numbers of the words that begin with the query, by word, then by number; until the next call.
  std::span<const std::uint32_t> match(std::string_view query);
  void prepare();

 private:
  bool isBefore(std::uint32_t a, std::uint32_t b) const;

  FoldedTexts words_;
  std::vector<std::uint32_t> order_;  // by word, of the first order_.size() that were inserted
  std::vector<std::uint32_t> filtered_;
};

/// Finds data by how a word of theirs begins, whatever the case of its letters. A word may hold blanks: it is
/// what was inserted, whole, and any number of data may share it. Case, accents and blanks are compared as
/// TextFolder says; of a word its first 1,024 bytes.
///
/// There are no nodes: the words lie in one block, and a sorted list of them is searched by halves. What is
/// new is sorted at the next question or by prepare(), so insert many before asking. One thread at a time.
///
///     PrefixTrie<int> trie;
///     trie.insertWithWord("Ærøskøbing", 7);
///     trie.matchPrefixWith("ÆRØ");  // 7
template <class Data>
class PrefixTrie : private PrefixWords {
 public:
  /// A word of nothing but blanks is never found.
  void insertWithWord(std::string_view word, Data data) {
    if (insert(word)) data_.push_back(std::move(data));
  }
  /// The same for one that was folded already.
  void insertWithWord(const FoldedText& word, Data data) {
    if (insert(word)) data_.push_back(std::move(data));
  }

  /// The data whose words begin with the query, by folded word, then by insertion; once for each such word.
  /// Nothing without a match or for an empty query. Blanks before the query are ignored; one behind it asks
  /// for a word, or part of one, that ends there: "santa " finds "Santa" and "Santa Cruz", not "Santander".
  std::optional<std::vector<Data>> matchPrefixWith(std::string_view query) {
    const auto numbers = match(query);
    if (numbers.empty()) return std::nullopt;
    std::vector<Data> found;
    found.reserve(numbers.size());
    for (const std::uint32_t number : numbers) found.push_back(data_[number]);
    return found;
  }

  /// Sorts now, so that the next question need not.
  void prepare() { PrefixWords::prepare(); }

 private:
  std::vector<Data> data_;  // by number
};

}  // namespace marlune
