#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>

#include "marlune/formats/PropertyListForms.h"
#include "marlune/formats/Utf16.h"
#include "marlune/formats/XmlReader.h"

namespace marlune {
namespace {

template <class Number>
std::string numberText(Number number) {
  char buffer[32];
  const auto end = std::to_chars(std::begin(buffer), std::end(buffer), number).ptr;
  return {std::begin(buffer), end};
}

std::string realText(double real) {
  if (std::isnan(real)) return "nan";
  if (std::isinf(real)) return real > 0 ? "+infinity" : "-infinity";
  return numberText(real);
}

std::optional<std::string> dateText(Date date) {
  constexpr double firstSecond = -62'135'596'800;  // the year 1
  constexpr double afterLast = 253'402'300'800;    // the year 10000
  const double seconds = std::floor(secondsOf(date));
  if (!(seconds >= firstSecond && seconds < afterLast)) return std::nullopt;
  const std::chrono::sys_seconds instant{std::chrono::seconds{static_cast<std::int64_t>(seconds)}};
  const auto midnight = std::chrono::floor<std::chrono::days>(instant);
  const std::chrono::year_month_day day{midnight};
  const std::chrono::hh_mm_ss time{instant - midnight};
  std::string text;
  const auto append = [&text](std::int64_t number, std::size_t digits, char after) {
    const std::string shown = numberText(number);
    text.append(digits - shown.size(), '0') += shown;
    text += after;
  };
  append(static_cast<int>(day.year()), 4, '-');
  append(static_cast<unsigned>(day.month()), 2, '-');
  append(static_cast<unsigned>(day.day()), 2, 'T');
  append(time.hours().count(), 2, ':');
  append(time.minutes().count(), 2, ':');
  append(time.seconds().count(), 2, 'Z');
  return text;
}

std::string base64(std::string_view bytes) {
  constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) {
      group = (group << 8) | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0u);
    }
    for (std::size_t k = 0; k < 4; ++k) {
      text += k <= count ? alphabet[(group >> (18 - 6 * k)) & 0x3Fu] : '=';
    }
  }
  return text;
}

class XmlWriter {
 public:
  std::optional<Bytes> write(const PropertyList& root) {
    out_ =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n";
    if (!writeValue(root, 0)) return std::nullopt;
    out_ += "</plist>\n";
    // What could not be read back is not written.
    if (out_.size() > XmlReader::maximumSize) return std::nullopt;
    return std::move(out_);
  }

 private:
  void line(std::size_t level, std::string_view text) {
    out_.append(level, '\t') += text;
    out_ += '\n';
  }

  void simple(std::size_t level, std::string_view element, std::string_view content) {
    out_.append(level, '\t');
    ((out_ += '<') += element) += '>';
    out_ += content;
    ((out_ += "</") += element) += ">\n";
  }

  bool textElement(std::size_t level, std::string_view element, std::string_view text) {
    if (!budget_.takeBytes(text.size())) return false;
    const auto units = utf16FromUtf8(text);
    if (!units) return false;
    const auto isForeignToXml = [](char16_t unit) {
      return (unit < 0x20 && unit != '\t' && unit != '\n' && unit != '\r') || unit >= 0xFFFE;
    };
    if (std::any_of(units->begin(), units->end(), isForeignToXml)) return false;
    std::string escaped;
    escaped.reserve(text.size());
    for (const char c : text) {
      switch (c) {
        case '&':
          escaped += "&amp;";
          break;
        case '<':
          escaped += "&lt;";
          break;
        case '>':
          escaped += "&gt;";
          break;
        case '\r':  // a reader turns a bare one into a newline
          escaped += "&#13;";
          break;
        default:
          escaped += c;
      }
    }
    simple(level, element, escaped);
    return true;
  }

  bool writeData(std::size_t level, std::string_view bytes) {
    if (!budget_.takeBytes(bytes.size())) return false;
    constexpr std::size_t lineWidth = 76;
    constexpr std::size_t tabWidth = 8;
    constexpr std::size_t narrowest = 16;
    const std::size_t width = std::max(narrowest, lineWidth - std::min(lineWidth, level * tabWidth)) / 4 * 4;
    const std::string text = base64(bytes);
    line(level, "<data>");
    for (std::size_t i = 0; i < text.size(); i += width) line(level, std::string_view(text).substr(i, width));
    line(level, "</data>");
    return true;
  }

  bool writeArray(std::size_t level, const PropertyList::Array& values) {
    if (values.empty()) {
      line(level, "<array/>");
      return true;
    }
    line(level, "<array>");
    for (const auto& value : values) {
      if (!writeValue(value, level + 1)) return false;
    }
    line(level, "</array>");
    return true;
  }

  bool writeDictionary(std::size_t level, const PropertyList::Dictionary& entries) {
    if (entries.empty()) {
      line(level, "<dict/>");
      return true;
    }
    line(level, "<dict>");
    for (const auto& [key, value] : entries) {
      if (!budget_.takeValues(1) || !textElement(level + 1, "key", key)) return false;
      if (!writeValue(value, level + 1)) return false;
    }
    line(level, "</dict>");
    return true;
  }

  bool writeUid(std::size_t level, PropertyList::Uid uid) {
    if (!budget_.takeValues(2)) return false;
    line(level, "<dict>");
    simple(level + 1, "key", detail::xmlUidKey);
    simple(level + 1, "integer", numberText(uid.value));
    line(level, "</dict>");
    return true;
  }

  bool writeValue(const PropertyList& value, std::size_t level) {
    if (!budget_.takeValues(1)) return false;
    if (out_.size() > XmlReader::maximumSize) return false;
    if (const auto* text = value.text()) return textElement(level, "string", *text);
    if (const auto* data = value.data()) return writeData(level, *data);
    const bool nests = value.array() || value.dictionary() || value.uid();
    if (nests && level + 1 >= PropertyList::maximumDepth) return false;
    if (const auto* array = value.array()) return writeArray(level, *array);
    if (const auto* entries = value.dictionary()) return writeDictionary(level, *entries);
    if (const auto uid = value.uid()) return writeUid(level, *uid);
    if (const auto boolean = value.boolean()) {
      line(level, *boolean ? "<true/>" : "<false/>");
    } else if (const auto integer = value.integer()) {
      simple(level, "integer", numberText(*integer));
    } else if (const auto large = value.unsignedInteger()) {
      simple(level, "integer", numberText(*large));
    } else if (const auto real = value.real()) {
      simple(level, "real", realText(*real));
    } else if (const auto date = value.date()) {
      const auto text = dateText(*date);
      if (!text) return false;
      simple(level, "date", *text);
    }
    return true;
  }

  Bytes out_;
  detail::PropertyListBudget budget_;
};

}  // namespace

std::optional<Bytes> writeXmlPropertyList(const PropertyList& list) {
  return XmlWriter().write(list);
}

}  // namespace marlune
