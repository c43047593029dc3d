#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <limits>
#include <utility>

#include "marlune/formats/PropertyListForms.h"
#include "marlune/formats/XmlReader.h"

namespace marlune::detail {
namespace {

constexpr std::string_view blanks = " \t\r\n";

bool isBlank(std::string_view text) {
  return text.find_first_not_of(blanks) == std::string_view::npos;
}

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// All of `text` as a number; signs and prefixes are the caller's.
template <class Number, class... Form>
std::optional<Number> wholeNumber(std::string_view text, Form... form) {
  Number number{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, form...);
  if (error != std::errc{} || stop != end) return std::nullopt;
  return number;
}

std::optional<PropertyList> parseInteger(std::string_view text) {
  text = trimmed(text);
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  const auto magnitude = wholeNumber<std::uint64_t>(text, hexadecimal ? 16 : 10);
  if (!magnitude) return std::nullopt;
  if (!negative) return PropertyList(*magnitude);
  constexpr auto largest = std::uint64_t{1} << 63;
  if (*magnitude > largest) return std::nullopt;
  if (*magnitude == largest) return PropertyList(std::numeric_limits<std::int64_t>::min());
  return PropertyList(-static_cast<std::int64_t>(*magnitude));
}

std::optional<PropertyList> parseReal(std::string_view text) {
  text = trimmed(text);
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  if (text.ends_with(')')) return std::nullopt;  // nan(...)
  const auto real = wholeNumber<double>(text);
  if (!real) return std::nullopt;
  return PropertyList(*real);
}

/// YYYY-MM-DDTHH:MM:SSZ
std::optional<PropertyList> parseDate(std::string_view text) {
  text = trimmed(text);
  constexpr std::string_view shape = "0000-00-00T00:00:00Z";
  if (text.size() != shape.size()) return std::nullopt;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    const bool fits = shape[i] == '0' ? text[i] >= '0' && text[i] <= '9' : text[i] == shape[i];
    if (!fits) return std::nullopt;
  }
  const auto number = [&](std::size_t at, std::size_t digits) {
    return wholeNumber<int>(text.substr(at, digits)).value_or(-1);
  };
  const int hour = number(11, 2);
  const int minute = number(14, 2);
  const int second = number(17, 2);
  const std::chrono::year_month_day day{std::chrono::year{number(0, 4)},
                                        std::chrono::month{static_cast<unsigned>(number(5, 2))},
                                        std::chrono::day{static_cast<unsigned>(number(8, 2))}};
  if (!day.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  const auto instant = std::chrono::sys_days{day} + std::chrono::hours{hour} + std::chrono::minutes{minute} +
                       std::chrono::seconds{second};
  return PropertyList(dateFromSeconds(static_cast<double>(instant.time_since_epoch().count())));
}

/// Base64 with blanks anywhere; padding ends it.
std::optional<PropertyList> parseData(std::string_view text) {
  static constexpr std::uint8_t noDigit = 0xFF;
  constexpr auto values = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(noDigit);
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
      table[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
    }
    return table;
  }();
  Bytes bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t group = 0;
  unsigned digits = 0;
  unsigned padding = 0;
  for (const char c : text) {
    if (blanks.find(c) != std::string_view::npos) continue;
    if (c == '=') {
      ++padding;
      continue;
    }
    const std::uint32_t value = values[static_cast<unsigned char>(c)];
    if (value == noDigit || padding > 0) return std::nullopt;
    group = (group << 6) | value;
    ++digits;
    if (digits % 4 == 0) {
      for (const int shift : {16, 8, 0}) bytes.push_back(static_cast<char>((group >> shift) & 0xFFu));
      group = 0;
    }
  }
  const unsigned rest = digits % 4;
  if (rest == 1 || padding != (4 - rest) % 4) return std::nullopt;
  if (rest >= 2) bytes.push_back(static_cast<char>((group >> (rest == 2 ? 4 : 10)) & 0xFFu));
  if (rest == 3) bytes.push_back(static_cast<char>((group >> 2) & 0xFFu));
  return PropertyList::ofData(std::move(bytes));
}

enum class Element { plist, array, dictionary, key, text, integer, real, date, data, yes, no };

std::optional<Element> elementNamed(std::string_view name) {
  constexpr std::pair<std::string_view, Element> elements[] = {
      {"key", Element::key},         {"string", Element::text}, {"integer", Element::integer},
      {"dict", Element::dictionary}, {"real", Element::real},   {"array", Element::array},
      {"true", Element::yes},        {"false", Element::no},    {"date", Element::date},
      {"data", Element::data},       {"plist", Element::plist}};
  for (const auto& [known, element] : elements) {
    if (known == name) return element;
  }
  return std::nullopt;
}

std::optional<PropertyList> parseScalar(Element element, std::string& text) {
  switch (element) {
    case Element::text:
      return PropertyList(std::move(text));
    case Element::integer:
      return parseInteger(text);
    case Element::real:
      return parseReal(text);
    case Element::date:
      return parseDate(text);
    case Element::data:
      return parseData(text);
    case Element::yes:
    case Element::no:
      if (!isBlank(text)) return std::nullopt;
      return PropertyList(element == Element::yes);
    default:
      return std::nullopt;
  }
}

/// Builds the value as the markup arrives. After the first fault it only waits for the end.
class XmlForm : public XmlHandler {
 public:
  bool wantsContent() const override { return true; }

  void startElement(std::string_view name, const XmlAttributes&) override {
    if (failed_) return;
    const auto element = elementNamed(name);
    if (!element || scalar_ || !isWelcome(*element) || !pay(*element)) {
      failed_ = true;
      return;
    }
    switch (*element) {
      case Element::plist:
      case Element::array:
      case Element::dictionary:
        // The element around the whole takes no part in the depth.
        failed_ = open_.size() >= PropertyList::maximumDepth;
        if (!failed_) open_.push_back({.element = *element, .values = {}, .entries = {}, .key = {}});
        break;
      default:
        scalar_ = element;
        text_.clear();
    }
  }

  void text(std::string_view run) override {
    if (failed_) return;
    failed_ = scalar_ ? !budget_.takeBytes(run.size()) : !isBlank(run);
    if (!failed_ && scalar_) text_ += run;
  }

  void endElement(std::string_view) override {
    if (failed_) return;
    if (!scalar_) {
      closeContainer();
      return;
    }
    const Element element = *std::exchange(scalar_, std::nullopt);
    if (element == Element::key) {
      open_.back().key = std::exchange(text_, {});
    } else {
      keep(parseScalar(element, text_));
    }
  }

  std::optional<PropertyList> result() && {
    if (failed_) return std::nullopt;
    return std::move(root_);
  }

 private:
  struct Open {
    Element element;
    PropertyList::Array values;
    PropertyList::Dictionary entries;
    std::optional<std::string> key;
  };

  bool pay(Element element) { return element == Element::plist || budget_.takeValues(1); }

  /// Whether `element` may stand where the reader is.
  bool isWelcome(Element element) const {
    if (open_.empty()) return element == Element::plist && !root_;
    const Open& around = open_.back();
    switch (around.element) {
      case Element::plist:
        return element != Element::plist && element != Element::key && !root_;
      case Element::dictionary:
        return element != Element::plist && (element == Element::key) == !around.key;
      default:
        return element != Element::plist && element != Element::key;
    }
  }

  void closeContainer() {
    Open closed = std::move(open_.back());
    open_.pop_back();
    switch (closed.element) {
      case Element::plist:
        failed_ = !root_;
        break;
      case Element::array:
        keep(PropertyList(std::move(closed.values)));
        break;
      default:
        if (closed.key) {
          failed_ = true;
          return;
        }
        keepLastOfEachKey(closed.entries);
        keep(fromEntries(std::move(closed.entries)));
    }
  }

  static PropertyList fromEntries(PropertyList::Dictionary entries) {
    if (entries.size() == 1 && entries.front().key == xmlUidKey) {
      if (const auto number = entries.front().value.unsignedInteger()) return PropertyList::Uid{*number};
    }
    return entries;
  }

  /// Hands a finished value to the container around it; nothing is a fault.
  void keep(std::optional<PropertyList> value) {
    if (!value) {
      failed_ = true;
      return;
    }
    Open& around = open_.back();
    switch (around.element) {
      case Element::plist:
        root_ = std::move(value);
        break;
      case Element::array:
        around.values.push_back(std::move(*value));
        break;
      default:
        around.entries.push_back({std::move(*around.key), std::move(*value)});
        around.key.reset();
    }
  }

  std::vector<Open> open_;
  std::optional<Element> scalar_;
  std::string text_;
  std::optional<PropertyList> root_;
  PropertyListBudget budget_;
  bool failed_ = false;
};

}  // namespace

std::optional<PropertyList> readXmlPropertyList(std::string_view bytes) {
  XmlForm form;
  if (XmlReader::read(bytes, form)) return std::nullopt;
  return std::move(form).result();
}

}  // namespace marlune::detail
