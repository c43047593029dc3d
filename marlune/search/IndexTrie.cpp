#include "marlune/search/IndexTrie.h"

#include <algorithm>

namespace marlune {

namespace {

constexpr std::size_t lettersToMatchInside = 3;
constexpr unsigned blockShift = 5;
constexpr std::size_t ahead = 8;
constexpr std::size_t firstBytes = 256;
// Five bits tell the letters from each other; what else shares a key costs a comparison, never a wrong match.
constexpr unsigned bitsOfByte = 5;
constexpr std::size_t tripleKeys = 1U << 3 * bitsOfByte;

std::size_t byteAt(std::string_view bytes, std::size_t position) {
  return static_cast<unsigned char>(bytes[position]);
}

std::size_t keyWith(std::size_t key, std::size_t byte) {
  return (key << bitsOfByte | (byte & ((1U << bitsOfByte) - 1))) & (tripleKeys - 1);
}

std::size_t tripleKeyAt(std::string_view bytes, std::size_t position) {
  return keyWith(keyWith(byteAt(bytes, position), byteAt(bytes, position + 1)), byteAt(bytes, position + 2));
}

}  // namespace

template <class Visit>
void IndexedTexts::visitStarts(Visit visit) const {
  const std::string_view bytes = texts_.bytes();
  for (std::size_t position = 1; position < bytes.size(); ++position) {
    const std::size_t byte = byteAt(bytes, position);
    // No query begins with a blank.
    if (byte <= ' ' || isContinuation(bytes[position]) || !texts_.startsWord(position)) continue;
    visit(byte, position);
  }
}

template <class Visit>
void IndexedTexts::visitTriples(Visit visit) const {
  const std::string_view bytes = texts_.bytes();
  std::size_t key = 0;
  std::size_t inText = 0;
  for (std::size_t position = 0; position < bytes.size(); ++position) {
    const std::size_t byte = byteAt(bytes, position);
    key = keyWith(key, byte);
    inText = byte == 0 ? 0 : inText + 1;
    if (inText >= 3) visit(key, position - 2);
  }
}

void IndexedTexts::prepare() {
  if (prepared_ == texts_.size()) return;
  // A counting sort: how many of each key, where each begins, then every position to its place.
  const auto fill = [](Postings& postings, std::size_t keys, auto visitAll) {
    std::vector<std::uint32_t>& begins = postings.begins;
    begins.assign(keys + 1, 0);
    visitAll([&](std::size_t key, std::size_t) { ++begins[key + 1]; });
    for (std::size_t key = 0; key < keys; ++key) begins[key + 1] += begins[key];
    postings.positions = std::vector<std::uint32_t>(begins[keys]);
    std::vector<std::uint32_t> next(begins.begin(), begins.end() - 1);
    visitAll([&](std::size_t key, std::size_t position) {
      postings.positions[next[key]++] = static_cast<std::uint32_t>(position);
    });
  };
  fill(starts_, firstBytes, [this](auto visit) { visitStarts(visit); });
  fill(triples_, tripleKeys, [this](auto visit) { visitTriples(visit); });

  firstTextOf_.assign((texts_.bytes().size() >> blockShift) + 1, 0);
  std::size_t text = 0;
  for (std::size_t block = 0; block < firstTextOf_.size(); ++block) {
    while (text + 1 < texts_.size() &&
           texts_.begin(static_cast<std::uint32_t>(text + 1)) <= block << blockShift) {
      ++text;
    }
    firstTextOf_[block] = static_cast<std::uint32_t>(text);
  }
  startTexts_.resize(starts_.positions.size());
  std::transform(starts_.positions.begin(), starts_.positions.end(), startTexts_.begin(),
                 [this](std::uint32_t position) { return textAt(position); });
  prepared_ = texts_.size();
}

std::uint32_t IndexedTexts::textAt(std::uint32_t position) const {
  std::uint32_t text = firstTextOf_[position >> blockShift];
  while (text + 1 < texts_.size() && texts_.begin(text + 1) <= position) ++text;
  return text;
}

IndexedTexts::Candidates IndexedTexts::candidatesFor(std::string_view query) const {
  Candidates best{triples_.of(tripleKeyAt(query, 0))};
  for (std::size_t offset = 1; offset + 3 <= query.size(); ++offset) {
    const auto positions = triples_.of(tripleKeyAt(query, offset));
    if (positions.size() < best.positions.size()) best = {positions, offset};
  }
  return best;
}

void IndexedTexts::searchStarts(const FoldedQuery& query) {
  const std::size_t key = byteAt(query.text, 0);
  const auto positions = starts_.of(key);
  const std::span texts = std::span(startTexts_).subspan(starts_.begins[key], positions.size());
  // Every one of them begins with the query's first byte.
  const bool certain = query.text.size() == 1 && !query.wordEnds;
  for (std::size_t i = 0; i < positions.size(); ++i) {
    if (!found_.empty() && found_.back() == texts[i]) continue;
    if (certain || texts_.matches(positions[i], query)) found_.push_back(texts[i]);
  }
}

void IndexedTexts::searchAnywhere(const FoldedQuery& query) {
  const Candidates candidates = candidatesFor(query.text);
  const char* const bytes = texts_.bytes().data();
  for (std::size_t i = 0; i < candidates.positions.size(); ++i) {
    // They lie far apart where there are many texts.
    if (i + ahead < candidates.positions.size()) __builtin_prefetch(bytes + candidates.positions[i + ahead]);
    const std::uint32_t candidate = candidates.positions[i];
    if (candidate <= candidates.offset) continue;
    const auto position = static_cast<std::uint32_t>(candidate - candidates.offset);
    if (!texts_.matches(position, query)) continue;
    // Positions ascend, so what was found of the same text before was found last.
    const std::uint32_t text = textAt(position);
    if (!found_.empty() && found_.back() == text) continue;
    const bool insideBefore = !inside_.empty() && inside_.back() == text;
    if (texts_.startsWord(position)) {
      if (insideBefore) inside_.pop_back();
      found_.push_back(text);
    } else if (!insideBefore) {
      inside_.push_back(text);
    }
  }
  found_.insert(found_.end(), inside_.begin(), inside_.end());
}

std::span<const std::uint32_t> IndexedTexts::search(std::string_view query) {
  const FoldedQuery wanted(query);
  found_.clear();
  inside_.clear();
  if (wanted.text.empty() || texts_.size() == 0) return {};
  prepare();
  if (wanted.characters < lettersToMatchInside) {
    searchStarts(wanted);
  } else {
    searchAnywhere(wanted);
  }
  return found_;
}

}  // namespace marlune
