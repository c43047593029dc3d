#include "marlune/search/PrefixTrie.h"

#include <algorithm>
#include <cstring>

namespace marlune {

namespace {

/// A word's first bytes as a number that compares as they do, so that most comparisons look no further.
struct Key {
  std::uint64_t head;
  std::uint32_t number;
};

Key keyOf(const FoldedTexts& words, std::uint32_t number) {
  const std::string_view rest = words.bytes().substr(words.begin(number));
  std::uint64_t head = 0;
  for (std::size_t i = 0; i < sizeof(head); ++i) {
    const auto byte = i < rest.size() ? static_cast<unsigned char>(rest[i]) : 0U;
    head = head << 8 | byte;
    if (byte == 0) {
      head <<= 8 * (sizeof(head) - 1 - i);
      break;
    }
  }
  return {head, number};
}

}  // namespace

bool PrefixWords::isBefore(std::uint32_t a, std::uint32_t b) const {
  // Every word ends with a NUL.
  const char* const bytes = words_.bytes().data();
  const int order = std::strcmp(bytes + words_.begin(a), bytes + words_.begin(b));
  return order != 0 ? order < 0 : a < b;
}

void PrefixWords::prepare() {
  const std::size_t sorted = order_.size();
  if (sorted == words_.size()) return;
  std::vector<Key> keys;
  keys.reserve(words_.size() - sorted);
  for (std::size_t number = sorted; number < words_.size(); ++number) {
    keys.push_back(keyOf(words_, static_cast<std::uint32_t>(number)));
  }
  std::sort(keys.begin(), keys.end(), [this](const Key& a, const Key& b) {
    return a.head != b.head ? a.head < b.head : isBefore(a.number, b.number);
  });
  order_.reserve(words_.size());
  for (const Key& key : keys) order_.push_back(key.number);
  const auto middle = order_.begin() + static_cast<std::ptrdiff_t>(sorted);
  std::inplace_merge(order_.begin(), middle, order_.end(),
                     [this](std::uint32_t a, std::uint32_t b) { return isBefore(a, b); });
}

std::span<const std::uint32_t> PrefixWords::match(std::string_view query) {
  const FoldedQuery wanted(query);
  if (wanted.text.empty()) return {};
  prepare();
  // Below 0 when the word stands before all that begin with the query, 0 when it is one of them.
  const auto compared = [&](std::uint32_t number) {
    return std::strncmp(words_.bytes().data() + words_.begin(number), wanted.text.data(), wanted.text.size());
  };
  const auto first = std::partition_point(order_.begin(), order_.end(),
                                          [&](std::uint32_t number) { return compared(number) < 0; });
  const auto last =
      std::partition_point(first, order_.end(), [&](std::uint32_t number) { return compared(number) == 0; });
  if (!wanted.wordEnds) return {first, last};
  filtered_.clear();
  std::copy_if(first, last, std::back_inserter(filtered_), [&](std::uint32_t number) {
    return words_.endsWord(words_.begin(number) + wanted.text.size());
  });
  return filtered_;
}

}  // namespace marlune
