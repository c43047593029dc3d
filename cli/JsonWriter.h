#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace marlune::cli {

/// Writes one JSON value as compact text that is always valid: a double in the shortest form that reads back
/// to the same value, null where it is not finite; bytes that are no UTF-8 as U+FFFD. One thread at a time.
///
///     JsonWriter json;
///     json.beginObject();
///     json.key("level");
///     json.number(2.5);
///     json.endObject();
///     puts(json.take());
class JsonWriter {
 public:
  JsonWriter();
  ~JsonWriter();
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;

  void beginObject();
  void endObject();
  void beginArray();
  void endArray();
  void key(std::string_view name);

  void null();
  void boolean(bool value);
  void integer(std::int64_t value);
  void number(double value);
  void text(std::string_view value);

  /// What has been written, which must be a whole value. The writer is then empty again.
  std::string take();

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

/// `text` with U+FFFD for each stretch of bytes that is no UTF-8.
std::string validUtf8(std::string_view text);

}  // namespace marlune::cli
