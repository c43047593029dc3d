#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace marlune {

/// What is searched of one text, in bytes: names are shorter, and what is longer is no name.
inline constexpr std::size_t maxSearchedBytes = 1024;

/// Is a byte of UTF-8 one of those behind the first of a character?
constexpr bool isContinuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// Brings texts into the form in which the search compares them byte by byte: letters by Unicode's full case
/// folding ("ß" as "ss"), accents composed (so "é" is one however it was typed, and never "e"), what nobody
/// sees left out, blanks and control characters in a row one blank, none at either end. What is not UTF-8
/// becomes U+FFFD, a character for each byte. One thread at a time.
class TextFolder {
 public:
  /// Appends the folded form of `text`, which has neither NUL nor invalid UTF-8; true when blanks at the end
  /// of it were dropped. Every byte is folded, however many.
  bool appendFolded(std::string& out, std::string_view text);

 private:
  bool appendFoldedUnicode(std::string& out, std::string_view text);

  std::vector<std::int32_t> codePoints_;
};

/// A text folded once for several tries; of a long one the first `maxSearchedBytes`.
class FoldedText {
 public:
  FoldedText(std::string_view text, TextFolder& folder);
  std::string_view bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

/// What is asked for, folded.
struct FoldedQuery {
  explicit FoldedQuery(std::string_view query);

  std::string text;            ///< empty: nothing is to be found
  std::size_t characters = 0;  ///< of the text, in code points
  bool wordEnds = false;       ///< a blank was typed behind it, so its last word is whole
};

/// Folded texts, one after the other, known by their numbers in order of insertion. One thread at a time.
class FoldedTexts {
 public:
  /// False when nothing is left of the text or four gigabytes are full.
  bool insert(const FoldedText& text);
  bool insert(std::string_view text) { return insert(FoldedText(text, folder_)); }

  std::size_t size() const { return begins_.size(); }
  /// Where text `number` begins in bytes().
  std::uint32_t begin(std::uint32_t number) const { return begins_[number]; }
  /// All texts. A NUL stands before each and at the end, and nowhere else.
  std::string_view bytes() const { return bytes_; }

  /// Does a word start at a character of a text: at its beginning, or after a character that is no letter,
  /// accent or digit?
  bool startsWord(std::size_t position) const;
  /// Does no letter, accent or digit follow at `position`, which is behind a character of a text?
  bool endsWord(std::size_t position) const;
  /// Is `query` found at a position of bytes()?
  bool matches(std::size_t position, const FoldedQuery& query) const;

 private:
  std::string bytes_ = std::string(1, '\0');
  std::vector<std::uint32_t> begins_;
  TextFolder folder_;
};

/// `text` with each letter in lower case, by Unicode's simple mapping; bytes that are not UTF-8 stay.
std::string lowerCased(std::string_view text);

}  // namespace marlune
