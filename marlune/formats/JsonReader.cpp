#include "marlune/formats/JsonReader.h"

#include <charconv>
#include <cmath>
#include <string>
#include <utility>

#include "marlune/formats/Text.h"

namespace marlune {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isNumberPart(char c) {
  return isDigit(c) || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

std::size_t pastDigits(std::string_view text, std::size_t at) {
  while (at < text.size() && isDigit(text[at])) ++at;
  return at;
}

// Is all of a text one number by the rules of JSON, which the conversion functions bend?
bool isJsonNumber(std::string_view text) {
  const std::size_t begin = text.starts_with('-') ? 1 : 0;
  std::size_t at = pastDigits(text, begin);
  if (at == begin || (text[begin] == '0' && at > begin + 1)) return false;
  if (text.substr(at, 1) == ".") {
    const std::size_t fraction = at + 1;
    at = pastDigits(text, fraction);
    if (at == fraction) return false;
  }
  if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
    std::size_t exponent = at + 1;
    if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
    at = pastDigits(text, exponent);
    if (at == exponent) return false;
  }
  return at == text.size();
}

template <class Integer>
bool fits(std::string_view digits) {
  Integer value = 0;
  return std::from_chars(digits.data(), digits.data() + digits.size(), value).ec == std::errc();
}

// What stands for a number that the library may not take; what is no number it is to see as it is.
std::string acceptableNumber(std::string_view token) {
  std::string text(token);
  if (!isJsonNumber(token)) return text;
  if (!std::isfinite(lenientDouble(token))) return "{}";
  const bool whole = token.find_first_of(".eE") == std::string_view::npos;
  if (whole && !fits<std::int64_t>(token) && !fits<std::uint64_t>(token)) text += ".0";
  return text;
}

// A copy in which every number can be read. Texts are passed over.
std::string withAcceptableNumbers(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size() + bytes.size() / 8);
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t begin = at;
    if (bytes[at] == '"') {
      ++at;
      while (at < bytes.size() && bytes[at] != '"') at += bytes[at] == '\\' ? 2U : 1U;
      at = at < bytes.size() ? at + 1 : bytes.size();
      result.append(bytes.substr(begin, at - begin));
    } else if (bytes[at] == '-' || (bytes[at] >= '0' && bytes[at] <= '9')) {
      while (at < bytes.size() && isNumberPart(bytes[at])) ++at;
      result.append(acceptableNumber(bytes.substr(begin, at - begin)));
    } else {
      result += bytes[at++];
    }
  }
  return result;
}

}  // namespace

std::optional<simdjson::dom::element> JsonReader::read(std::string_view bytes) {
  if (bytes.starts_with(byteOrderMark)) bytes.remove_prefix(byteOrderMark.size());
  if (bytes.empty()) {  // which the library takes for a mistake of its caller
    error_ = simdjson::error_message(simdjson::EMPTY);
    return std::nullopt;
  }
  simdjson::dom::element root;
  auto failure = parser_.parse(bytes.data(), bytes.size()).get(root);
  if (failure == simdjson::NUMBER_ERROR) {
    failure = parser_.parse(withAcceptableNumbers(bytes)).get(root);
  }
  error_ = simdjson::error_message(failure);
  return failure == simdjson::SUCCESS ? std::optional(root) : std::nullopt;
}

}  // namespace marlune
