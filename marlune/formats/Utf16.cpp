#include "marlune/formats/Utf16.h"

#include <cstddef>
#include <cstdint>

namespace marlune {
namespace {

constexpr char32_t firstSurrogate = 0xD800;
constexpr char32_t firstLowSurrogate = 0xDC00;
constexpr char32_t afterSurrogates = 0xE000;
constexpr char32_t firstSupplementary = 0x10000;
constexpr char32_t lastCharacter = 0x10FFFF;

unsigned byteAt(std::string_view text, std::size_t i) {
  return static_cast<unsigned char>(text[i]);
}

/// Decodes the character at `i`, which it moves behind it.
std::optional<char32_t> nextUtf8(std::string_view text, std::size_t& i) {
  const unsigned lead = byteAt(text, i++);
  if (lead < 0x80) return lead;
  const int continuations = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
  if (lead < 0xC2 || lead > 0xF4) return std::nullopt;
  char32_t character = lead & (0x3Fu >> continuations);
  for (int n = 0; n < continuations; ++n) {
    if (i == text.size() || (byteAt(text, i) & 0xC0u) != 0x80u) return std::nullopt;
    character = (character << 6) | (byteAt(text, i++) & 0x3Fu);
  }
  // A character has one form only: the shortest.
  constexpr char32_t smallest[] = {0, 0x80, 0x800, firstSupplementary};
  if (character < smallest[continuations] || character > lastCharacter) return std::nullopt;
  if (character >= firstSurrogate && character < afterSurrogates) return std::nullopt;
  return character;
}

void appendUtf8(std::string& text, char32_t character) {
  const auto continuation = [&](int shift) {
    text.push_back(static_cast<char>(0x80u | ((character >> shift) & 0x3Fu)));
  };
  if (character < 0x80) {
    text.push_back(static_cast<char>(character));
  } else if (character < 0x800) {
    text.push_back(static_cast<char>(0xC0u | (character >> 6)));
    continuation(0);
  } else if (character < firstSupplementary) {
    text.push_back(static_cast<char>(0xE0u | (character >> 12)));
    continuation(6);
    continuation(0);
  } else {
    text.push_back(static_cast<char>(0xF0u | (character >> 18)));
    continuation(12);
    continuation(6);
    continuation(0);
  }
}

}  // namespace

std::optional<std::u16string> utf16FromUtf8(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  for (std::size_t i = 0; i < text.size();) {
    const auto character = nextUtf8(text, i);
    if (!character) return std::nullopt;
    if (*character < firstSupplementary) {
      units.push_back(static_cast<char16_t>(*character));
    } else {
      const char32_t rest = *character - firstSupplementary;
      units.push_back(static_cast<char16_t>(firstSurrogate + (rest >> 10)));
      units.push_back(static_cast<char16_t>(firstLowSurrogate + (rest & 0x3FFu)));
    }
  }
  return units;
}

std::optional<std::string> utf8FromUtf16BigEndian(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return std::nullopt;
  const auto unitAt = [&](std::size_t i) -> char32_t {
    return (byteAt(bytes, i) << 8) | byteAt(bytes, i + 1);
  };
  std::string text;
  text.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    char32_t character = unitAt(i);
    if (character >= firstSurrogate && character < afterSurrogates) {
      if (character >= firstLowSurrogate || i + 2 == bytes.size()) return std::nullopt;
      i += 2;
      const char32_t low = unitAt(i);
      if (low < firstLowSurrogate || low >= afterSurrogates) return std::nullopt;
      character = firstSupplementary + ((character - firstSurrogate) << 10) + (low - firstLowSurrogate);
    }
    appendUtf8(text, character);
  }
  return text;
}

}  // namespace marlune
