#include "cli/Words.h"

#include "cli/Errors.h"

namespace marlune::cli {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/// Reads a quoted stretch that begins after its quote; returns the position after the closing one.
std::size_t readQuoted(std::string_view line, std::size_t at, std::string& word) {
  const char quote = line[at - 1];
  for (; at < line.size(); ++at) {
    const char c = line[at];
    if (c == quote) return at + 1;
    const bool escapes = quote == '"' && c == '\\' && at + 1 < line.size() &&
                         std::string_view("\"\\$`").find(line[at + 1]) != std::string_view::npos;
    word += escapes ? line[++at] : c;
  }
  throw WrongCall(std::string("a quote ") + quote + " is not closed");
}

}  // namespace

std::vector<std::string> splitWords(std::string_view line) {
  std::vector<std::string> words;
  std::size_t at = 0;
  while (true) {
    while (at < line.size() && isBlank(line[at])) ++at;
    if (at >= line.size() || line[at] == '#') return words;
    std::string word;
    while (at < line.size() && !isBlank(line[at])) {
      const char c = line[at++];
      if (c == '\'' || c == '"') {
        at = readQuoted(line, at, word);
      } else if (c == '\\') {
        if (at == line.size())
          throw WrongCall("a backslash ends the line: nothing follows that it could keep");
        word += line[at++];
      } else {
        word += c;
      }
    }
    words.push_back(std::move(word));
  }
}

}  // namespace marlune::cli
