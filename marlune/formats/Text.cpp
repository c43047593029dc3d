#include "marlune/formats/Text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

#include "simdjson.h"

namespace marlune {

namespace {

bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// What stands after the blanks and the sign.
struct SignedText {
  std::string_view digits;
  bool negative = false;
};

SignedText afterSign(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && isBlank(text[at])) ++at;
  SignedText result;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) result.negative = text[at++] == '-';
  result.digits = text.substr(at);
  return result;
}

// Of a decimal number that fits no double: is it too large rather than too small? Compares the place of the
// first digit that is not 0 with the exponent.
bool isTooLarge(std::string_view number) {
  constexpr std::int64_t bound = 1'000'000'000;
  std::int64_t place = 0;
  bool seen = false;
  bool fraction = false;
  std::size_t at = 0;
  for (; at < number.size() && (isDigit(number[at]) || number[at] == '.'); ++at) {
    if (number[at] == '.') {
      fraction = true;
      continue;
    }
    seen = seen || number[at] != '0';
    if (!fraction && seen) ++place;
    if (fraction && !seen) --place;
  }
  std::int64_t exponent = 0;
  if (at < number.size()) exponent = lenientInteger(number.substr(at + 1));  // past the "e"
  exponent = exponent > bound ? bound : exponent < -bound ? -bound : exponent;
  return place + exponent > 0;
}

// A number of at most fifteen digits and nothing but a point among them, read to its end or to what is no
// part of a number. Its digits and the power of ten are then exact doubles, so that one division rounds as
// the full conversion would; nothing for what needs that.
std::optional<double> shortDecimal(std::string_view text) {
  constexpr double powersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                    1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  std::int64_t digits = 0;
  std::size_t at = 0;
  std::size_t decimals = 0;
  const auto take = [&](std::size_t limit) {
    const std::size_t begin = at;
    for (; at < text.size() && at < limit && isDigit(text[at]); ++at) digits = digits * 10 + (text[at] - '0');
    return at - begin;
  };
  take(15);
  if (at < text.size() && text[at] == '.') {
    ++at;
    decimals = take(16);
  }
  if (at < text.size() && (isDigit(text[at]) || text[at] == 'e' || text[at] == 'E')) return std::nullopt;
  return static_cast<double>(digits) / powersOfTen[decimals];
}

std::uint32_t nextCodePoint(std::string_view text, std::size_t& at) {
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])) : 0U;
  };
  const std::uint32_t first = byte(at);
  if (first < 0xC0) return ++at, first;  // ASCII, and a stray continuation byte stands for itself
  if (first < 0xE0) return at += 2, ((first & 0x1FU) << 6U) | (byte(at - 1) & 0x3FU);
  if (first < 0xF0) {
    return at += 3, ((first & 0x0FU) << 12U) | ((byte(at - 2) & 0x3FU) << 6U) | (byte(at - 1) & 0x3FU);
  }
  at += 4;
  return ((first & 0x07U) << 18U) | ((byte(at - 3) & 0x3FU) << 12U) | ((byte(at - 2) & 0x3FU) << 6U) |
         (byte(at - 1) & 0x3FU);
}

// White space and newlines beyond ASCII.
bool isWideBlank(std::uint32_t codePoint) {
  return codePoint == 0x85 || codePoint == 0xA0 || codePoint == 0x1680 ||
         (codePoint >= 0x2000 && codePoint <= 0x200B) || codePoint == 0x2028 || codePoint == 0x2029 ||
         codePoint == 0x202F || codePoint == 0x205F || codePoint == 0x3000;
}

// How many bytes the blank at an end takes; 0 when there is none.
std::size_t blankAtFront(std::string_view text) {
  if (text.empty()) return 0;
  if (static_cast<unsigned char>(text.front()) < 0x80) return isBlank(text.front()) ? 1 : 0;
  std::size_t length = 0;
  const bool blank = isWideBlank(nextCodePoint(text, length));
  return blank && length > 1 && length <= text.size() ? length : 0;
}
std::size_t blankAtBack(std::string_view text) {
  if (text.empty()) return 0;
  if (static_cast<unsigned char>(text.back()) < 0x80) return isBlank(text.back()) ? 1 : 0;
  for (std::size_t length = 2; length <= 3 && length <= text.size(); ++length) {
    const std::string_view last = text.substr(text.size() - length);
    if (blankAtFront(last) == length) return length;
  }
  return 0;
}

// Orders code points as their UTF-16 forms: what needs surrogates stands below U+E000.
std::uint32_t utf16Rank(std::uint32_t codePoint) {
  if (codePoint >= 0x10000) return codePoint - 0x10000 + 0xD800;
  return codePoint >= 0xE000 ? codePoint + 0x100000 : codePoint;
}

// Where text that cannot hold a newline ends, or somewhat before: eight bytes at a time, as long as all of
// them are ASCII from U+000E on. Bytes below that carry into their highest bit, and the others have it set.
std::size_t pastPlainText(std::string_view text, std::size_t at) {
  constexpr std::uint64_t each = 0x0101010101010101;
  while (text.size() - at >= sizeof(std::uint64_t)) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, text.data() + at, sizeof bytes);
    if ((((bytes - each * 0x0E) | bytes) & (each * 0x80)) != 0) break;
    at += sizeof bytes;
  }
  return at;
}

}  // namespace

double lenientDouble(std::string_view text) {
  const auto [digits, negative] = afterSign(text);
  const bool begins = !digits.empty() &&
                      (isDigit(digits[0]) || (digits[0] == '.' && digits.size() > 1 && isDigit(digits[1])));
  if (!begins) return 0.0;  // also "nan" and "inf", which the conversion would take
  if (const auto value = shortDecimal(digits)) return negative ? -*value : *value;
  double value = 0.0;
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (failure == std::errc::result_out_of_range) {
    const std::string_view number(digits.data(), static_cast<std::size_t>(end - digits.data()));
    value = isTooLarge(number) ? std::numeric_limits<double>::infinity() : 0.0;
  }
  return negative ? -value : value;
}

std::optional<double> decimalNumber(std::string_view text) {
  const std::string_view digits = text.substr(text.starts_with('+') || text.starts_with('-') ? 1 : 0);
  if (digits.empty() || (!isDigit(digits[0]) && digits[0] != '.'))
    return std::nullopt;  // "nan", "inf", "+-1"
  double value = 0.0;
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (end != digits.data() + digits.size()) return std::nullopt;
  if (failure == std::errc::result_out_of_range) {
    if (isTooLarge(digits)) return std::nullopt;
    value = 0.0;
  } else if (failure != std::errc()) {
    return std::nullopt;
  }
  return text.starts_with('-') ? -value : value;
}

std::int64_t lenientInteger(std::string_view text) {
  const auto [digits, negative] = afterSign(text);
  constexpr auto top = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  const std::uint64_t limit = negative ? top + 1 : top;
  std::uint64_t value = 0;
  std::size_t at = 0;
  // So many digits cannot overflow.
  for (; at < digits.size() && at < 18 && isDigit(digits[at]); ++at) {
    value = value * 10 + static_cast<std::uint64_t>(digits[at] - '0');
  }
  for (; at < digits.size() && isDigit(digits[at]); ++at) {
    const auto digit = static_cast<std::uint64_t>(digits[at] - '0');
    if (value > (limit - digit) / 10) {
      value = limit;
      break;
    }
    value = value * 10 + digit;
  }
  return static_cast<std::int64_t>(negative ? std::uint64_t{0} - value : value);
}

std::string shortestDecimal(double value) {
  std::array<char, 32> room{};
  const double size = std::fabs(value);
  const bool positional = size == 0.0 || (size >= 1e-4 && size < 0x1p54);
  const auto form = positional ? std::chars_format::fixed : std::chars_format::scientific;
  const auto [end, failure] = std::to_chars(room.data(), room.data() + room.size(), value, form);
  std::string text(room.data(), end);
  if (positional && text.find('.') == std::string::npos) text += ".0";
  return text;
}

std::string_view trimmed(std::string_view text) {
  while (const std::size_t length = blankAtFront(text)) text.remove_prefix(length);
  while (const std::size_t length = blankAtBack(text)) text.remove_suffix(length);
  return text;
}

int comparePlain(std::string_view a, std::string_view b) {
  std::size_t at = 0;
  const std::size_t common = a.size() < b.size() ? a.size() : b.size();
  while (at < common && a[at] == b[at]) ++at;
  if (at == common) return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
  while (at > 0 && (static_cast<unsigned char>(a[at]) & 0xC0U) == 0x80U) --at;  // to the character's start
  std::size_t atA = at;
  std::size_t atB = at;
  const std::uint32_t rankA = utf16Rank(nextCodePoint(a, atA));
  const std::uint32_t rankB = utf16Rank(nextCodePoint(b, atB));
  if (rankA != rankB) return rankA < rankB ? -1 : 1;
  return a < b ? -1 : 1;  // malformed text only
}

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t begin = 0;
  std::size_t at = 0;
  const auto take = [&](std::size_t length) {
    lines.push_back(text.substr(begin, at - begin));
    at += length;
    begin = at;
  };
  while ((at = pastPlainText(text, at)) < text.size()) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte >= '\n' && byte <= '\r') {
      take(1);
    } else if (byte == 0xC2 && text.substr(at, 2) == "\xC2\x85") {
      take(2);
    } else if (byte == 0xE2 &&
               (text.substr(at, 3) == "\xE2\x80\xA8" || text.substr(at, 3) == "\xE2\x80\xA9")) {
      take(3);
    } else {
      ++at;
    }
  }
  lines.push_back(text.substr(begin));
  return lines;
}

bool isUtf8(std::string_view text) {
  return simdjson::validate_utf8(text.data(), text.size());
}

}  // namespace marlune
