#include "cli/Table.h"

#include <algorithm>
#include <utility>

#include "cli/JsonWriter.h"

namespace marlune::cli {

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

void Table::add(std::vector<std::string> row) {
  rows_.push_back(std::move(row));
}

std::string Table::text() const {
  std::vector<std::size_t> widths;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    widths.push_back(shownWidth(columns_[i].title));
    for (const auto& row : rows_) widths[i] = std::max(widths[i], shownWidth(row[i]));
  }
  std::string text;
  const auto addLine = [&](const auto& cell) {
    const std::size_t begin = text.size();
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      const std::string padding(widths[i] - shownWidth(cell(i)), ' ');
      if (i > 0) text += "  ";
      if (columns_[i].side == Side::right) text += padding;
      text += cell(i);
      if (columns_[i].side == Side::left) text += padding;
    }
    text.erase(std::max(begin, text.find_last_not_of(' ') + 1));
    text += '\n';
  };
  addLine([&](std::size_t i) -> const std::string& { return columns_[i].title; });
  for (const auto& row : rows_) addLine([&](std::size_t i) -> const std::string& { return row[i]; });
  return text;
}

std::size_t shownWidth(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & '\xC0') != '\x80'; }));
}

std::string plainText(std::string_view text) {
  std::string plain = validUtf8(text);
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const auto byte = static_cast<unsigned char>(plain[i]);
    if (byte < 0x20 || byte == 0x7F) plain[i] = ' ';
    // The second control set, U+0080 to U+009F.
    if (byte == 0xC2 && static_cast<unsigned char>(plain[i + 1]) < 0xA0) plain.replace(i, 2, " ");
  }
  return plain;
}

}  // namespace marlune::cli
