#include "marlune/search/SearchText.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace marlune {

namespace {

constexpr std::int32_t replacement = 0xFFFD;

bool isAscii(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
}

/// Is `text` of ASCII and of the letters from U+00C0 to U+00FF, as most names are? Those are composed, and
/// none of them composes with another.
bool isWestern(std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((text[i] & 0x80) == 0) continue;
    if (text[i] != '\xC3' || i + 1 == text.size() || !isContinuation(text[i + 1])) return false;
    ++i;
  }
  return true;
}

/// The second byte of such a letter in lower case: U+00C0 to U+00DE have it 32 further on, save the
/// multiplication sign.
char westernLower(char second) {
  const auto byte = static_cast<unsigned char>(second);
  return byte <= 0x9E && byte != 0x97 ? static_cast<char>(byte + 0x20) : second;
}

bool isAsciiBlank(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte <= 0x20 || byte == 0x7F;  // control characters too
}

char asciiLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

bool isAsciiWord(char c) {
  return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z');
}

bool isBlank(std::int32_t codePoint) {
  switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_ZS:
    case UTF8PROC_CATEGORY_ZL:
    case UTF8PROC_CATEGORY_ZP:
    case UTF8PROC_CATEGORY_CC:
      return true;
    default:
      return false;
  }
}

bool isWord(std::int32_t codePoint) {
  switch (utf8proc_category(codePoint)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
    case UTF8PROC_CATEGORY_MN:
    case UTF8PROC_CATEGORY_MC:
    case UTF8PROC_CATEGORY_ME:
    case UTF8PROC_CATEGORY_ND:
    case UTF8PROC_CATEGORY_NL:
    case UTF8PROC_CATEGORY_NO:
      return true;
    default:
      return false;
  }
}

/// The length of the character at the start of `text`, which is not empty; below 1 when it is no UTF-8.
std::ptrdiff_t decode(std::string_view text, std::int32_t& codePoint) {
  return utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                          static_cast<utf8proc_ssize_t>(text.size()), &codePoint);
}

void appendCharacter(std::string& out, std::int32_t codePoint) {
  std::array<utf8proc_uint8_t, 4> bytes{};
  const auto length = utf8proc_encode_char(codePoint, bytes.data());
  out.append(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(length));
}

std::string repaired(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    std::int32_t codePoint = 0;
    const auto length = decode(text, codePoint);
    appendCharacter(out, length > 0 ? codePoint : replacement);
    text.remove_prefix(length > 0 ? static_cast<std::size_t>(length) : 1);
  }
  return out;
}

/// Appends characters with every row of blanks made one, and none at the start.
class BlankJoiner {
 public:
  explicit BlankJoiner(std::string& out) : out_(out), begin_(out.size()) {}

  template <class Append>
  void add(bool blank, Append append) {
    if (!blank) {
      if (pending_ && out_.size() > begin_) out_ += ' ';
      append();
    }
    pending_ = blank;
  }
  bool pending() const { return pending_; }

 private:
  std::string& out_;
  const std::size_t begin_;
  bool pending_ = false;
};

}  // namespace

bool TextFolder::appendFolded(std::string& out, std::string_view text) {
  if (!isWestern(text)) return appendFoldedUnicode(out, text);
  BlankJoiner joiner(out);
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\xC3') {
      joiner.add(isAsciiBlank(text[i]), [&] { out += asciiLower(text[i]); });
      continue;
    }
    const char second = text[++i];
    joiner.add(false, [&] {
      if (second == '\x9F') {
        out += "ss";
      } else {
        out += '\xC3';
        out += westernLower(second);
      }
    });
  }
  return joiner.pending();
}

bool TextFolder::appendFoldedUnicode(std::string& out, std::string_view text) {
  constexpr auto form = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE |
                                                       UTF8PROC_CASEFOLD | UTF8PROC_IGNORE);
  std::string mended;
  utf8proc_ssize_t count = 0;
  while (true) {
    const auto room = static_cast<utf8proc_ssize_t>(codePoints_.size());
    count = utf8proc_decompose(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                               static_cast<utf8proc_ssize_t>(text.size()), codePoints_.data(), room, form);
    if (count >= 0 && count <= room) break;
    if (count > room) {
      codePoints_.resize(static_cast<std::size_t>(count));
    } else if (mended.empty()) {
      mended = repaired(text);
      text = mended;
    } else {
      return false;  // more characters than a count holds
    }
  }
  count = utf8proc_normalize_utf32(codePoints_.data(), count, form);
  BlankJoiner joiner(out);
  for (utf8proc_ssize_t i = 0; i < count; ++i) {
    const std::int32_t codePoint = codePoints_[static_cast<std::size_t>(i)];
    joiner.add(isBlank(codePoint), [&] { appendCharacter(out, codePoint); });
  }
  return joiner.pending();
}

FoldedQuery::FoldedQuery(std::string_view query) {
  while (!query.empty() && isAsciiBlank(query.front())) query.remove_prefix(1);
  while (!query.empty() && isAsciiBlank(query.back())) {
    query.remove_suffix(1);
    wordEnds = true;
  }
  if (query.size() > maxSearchedBytes) return;  // nothing that long was inserted
  wordEnds |= TextFolder().appendFolded(text, query);
  characters = static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return !isContinuation(c); }));
}

FoldedText::FoldedText(std::string_view text, TextFolder& folder) {
  if (text.size() > maxSearchedBytes) {
    std::size_t end = maxSearchedBytes;
    while (end + 3 > maxSearchedBytes && isContinuation(text[end])) --end;
    text = text.substr(0, end);
  }
  folder.appendFolded(bytes_, text);
}

bool FoldedTexts::insert(const FoldedText& text) {
  const std::size_t begin = bytes_.size();
  const std::size_t room = std::numeric_limits<std::uint32_t>::max() - begin;
  if (text.bytes().empty() || text.bytes().size() >= room) return false;
  bytes_ += text.bytes();
  bytes_ += '\0';
  begins_.push_back(static_cast<std::uint32_t>(begin));
  return true;
}

bool FoldedTexts::startsWord(std::size_t position) const {
  std::size_t before = position - 1;
  if (!isContinuation(bytes_[before])) return !isAsciiWord(bytes_[before]);
  while (isContinuation(bytes_[before])) --before;
  std::int32_t codePoint = 0;
  decode(std::string_view(bytes_).substr(before, position - before), codePoint);
  return !isWord(codePoint);
}

bool FoldedTexts::endsWord(std::size_t position) const {
  if ((bytes_[position] & 0x80) == 0) return !isAsciiWord(bytes_[position]);
  std::int32_t codePoint = 0;
  decode(std::string_view(bytes_).substr(position), codePoint);
  return !isWord(codePoint);
}

bool FoldedTexts::matches(std::size_t position, const FoldedQuery& query) const {
  const std::size_t length = query.text.size();
  // No query has a NUL, so what matches lies in one text and leaves the one at the end.
  return position + length < bytes_.size() && bytes_[position + length - 1] == query.text.back() &&
         std::memcmp(bytes_.data() + position, query.text.data(), length) == 0 &&
         (!query.wordEnds || endsWord(position + length));
}

std::string lowerCased(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  if (isAscii(text)) {
    std::transform(text.begin(), text.end(), std::back_inserter(out), asciiLower);
    return out;
  }
  while (!text.empty()) {
    std::int32_t codePoint = 0;
    const auto decoded = decode(text, codePoint);
    const auto length = static_cast<std::size_t>(std::max<std::ptrdiff_t>(decoded, 1));
    if (decoded > 0) {
      appendCharacter(out, utf8proc_tolower(codePoint));
    } else {
      out += text.front();
    }
    text.remove_prefix(length);
  }
  return out;
}

}  // namespace marlune
