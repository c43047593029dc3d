#include "cli/JsonWriter.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "marlune/formats/Text.h"

namespace marlune::cli {

struct JsonWriter::State {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer{buffer};
};

JsonWriter::JsonWriter() : state_(std::make_unique<State>()) {}
JsonWriter::~JsonWriter() = default;

void JsonWriter::beginObject() {
  state_->writer.StartObject();
}

void JsonWriter::endObject() {
  state_->writer.EndObject();
}

void JsonWriter::beginArray() {
  state_->writer.StartArray();
}

void JsonWriter::endArray() {
  state_->writer.EndArray();
}

void JsonWriter::key(std::string_view name) {
  text(name);
}

void JsonWriter::null() {
  state_->writer.Null();
}

void JsonWriter::boolean(bool value) {
  state_->writer.Bool(value);
}

void JsonWriter::integer(std::int64_t value) {
  state_->writer.Int64(value);
}

void JsonWriter::number(double value) {
  if (!std::isfinite(value)) return null();
  if (value == 0 && std::signbit(value)) {
    // Many readers take "-0" for a whole number, which has no sign.
    state_->writer.RawValue("-0.0", 4, rapidjson::kNumberType);
    return;
  }
  // The library's own digits are not always the shortest that read back.
  std::array<char, 32> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  state_->writer.RawValue(digits.data(), static_cast<std::size_t>(end - digits.data()),
                          rapidjson::kNumberType);
}

void JsonWriter::text(std::string_view value) {
  const std::string repaired = isUtf8(value) ? std::string() : validUtf8(value);
  const std::string_view valid = repaired.empty() ? value : std::string_view(repaired);
  // A view may have no bytes at all, not even an address.
  state_->writer.String(valid.empty() ? "" : valid.data(), static_cast<rapidjson::SizeType>(valid.size()));
}

std::string JsonWriter::take() {
  std::string result(state_->buffer.GetString(), state_->buffer.GetSize());
  state_->buffer.Clear();
  state_->writer.Reset(state_->buffer);
  return result;
}

std::string validUtf8(std::string_view text) {
  std::string valid;
  valid.reserve(text.size() + 8);
  bool replaced = false;  // one replacement for a stretch
  while (!text.empty()) {
    std::size_t length = 1;
    while (length <= std::min<std::size_t>(4, text.size()) && !isUtf8(text.substr(0, length))) ++length;
    const bool whole = length <= std::min<std::size_t>(4, text.size());
    if (whole) {
      valid += text.substr(0, length);
      text.remove_prefix(length);
    } else {
      if (!replaced) valid += "\xEF\xBF\xBD";
      text.remove_prefix(1);
    }
    replaced = !whole;
  }
  return valid;
}

}  // namespace marlune::cli
