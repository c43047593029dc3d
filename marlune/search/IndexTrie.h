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

/// The texts of an IndexTrie, known by their numbers in order of insertion.
class MARLUNE_API IndexedTexts {
 protected:
  /// False when nothing of the text can be searched; then it has no number.
  bool insert(const FoldedText& text) { return texts_.insert(text); }
  bool insert(std::string_view text) { return texts_.insert(text); }
  /// The numbers of the texts that hold the query, those at the start of a word first, each group in order;
  /// until the next call.
  std::span<const std::uint32_t> search(std::string_view query);
  void prepare();

 private:
  /// Positions of the texts' bytes by a key of what stands there, those of one key ascending.
  struct Postings {
    std::vector<std::uint32_t> begins;  // by key, and one more for the end
    std::vector<std::uint32_t> positions;

    std::span<const std::uint32_t> of(std::size_t key) const {
      return std::span(positions).subspan(begins[key], begins[key + 1] - begins[key]);
    }
  };
  /// Where to look for a query: it can only begin `offset` bytes before one of these.
  struct Candidates {
    std::span<const std::uint32_t> positions;
    std::size_t offset = 0;
  };
  using Numbers = std::vector<std::uint32_t>;

  template <class Visit>
  void visitStarts(Visit visit) const;
  template <class Visit>
  void visitTriples(Visit visit) const;
  void searchStarts(const FoldedQuery& query);
  void searchAnywhere(const FoldedQuery& query);
  Candidates candidatesFor(std::string_view query) const;
  std::uint32_t textAt(std::uint32_t position) const;

  FoldedTexts texts_;
  std::size_t prepared_ = 0;  // how many texts what follows knows
  Postings starts_;           // of words, by their first byte
  Numbers startTexts_;        // the texts of starts_.positions
  Postings triples_;          // three bytes in a row, by five bits of each
  Numbers firstTextOf_;       // by block of positions
  Numbers found_;
  Numbers inside_;
};

/// Finds data by what a text of theirs holds, whatever the case of its letters: at the start of any word, and
/// from three characters on anywhere. A word starts at the beginning of the text and after every character
/// that is no letter, accent or digit, so after a blank, a hyphen, an apostrophe. A query may run over
/// several words. Any number of data may share a text. Case, accents and blanks are compared as TextFolder
/// says; of a text its first 1,024 bytes.
///
/// There are no nodes: the texts lie in one block, beside lists of where words start, by first byte, and of
/// where three bytes stand in a row; a query follows the shortest list of its own. After insertions the lists
/// are made anew at the next question or by prepare(), so insert many before asking. One thread at a time.
///
///     IndexTrie<int> trie;
///     trie.insertWithText("Santa Cruz, Monterey Bay", 7);
///     trie.searchWith("cruz, mon");  // 7
template <class Data>
class IndexTrie : private IndexedTexts {
 public:
  /// A text of nothing but blanks is never found.
  void insertWithText(std::string_view text, Data data) {
    if (insert(text)) data_.push_back(std::move(data));
  }
  /// The same for one that was folded already.
  void insertWithText(const FoldedText& text, Data data) {
    if (insert(text)) data_.push_back(std::move(data));
  }

  /// The data whose texts hold the query: those at the start of a word, then those inside words, each by
  /// insertion; once for each such text. Nothing without a match or for an empty query. Blanks before the
  /// query are ignored; one behind it asks for a word that ends there: "cruz " finds "Santa Cruz, Monterey
  /// Bay".
  std::optional<std::vector<Data>> searchWith(std::string_view query) {
    const auto numbers = search(query);
    if (numbers.empty()) return std::nullopt;
    std::vector<Data> found;
    found.reserve(numbers.size());
    for (const std::uint32_t number : numbers) found.push_back(data_[number]);
    return found;
  }

  /// Makes the lists now, so that the next question need not.
  void prepare() { IndexedTexts::prepare(); }

 private:
  std::vector<Data> data_;  // by number
};

}  // namespace marlune
