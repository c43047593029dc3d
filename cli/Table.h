#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace marlune::cli {

/// Columns of text for people, as wide as their widest cell, two blanks between them.
class Table {
 public:
  enum class Side { left, right };
  struct Column {
    std::string title;
    Side side = Side::left;
  };

  explicit Table(std::vector<Column> columns);

  /// One cell a column.
  void add(std::vector<std::string> row);

  std::string text() const;

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

/// Columns that a terminal takes up for a text, one a character.
std::size_t shownWidth(std::string_view text);

/// `text` from outside on one line of a terminal: valid UTF-8 without control characters.
std::string plainText(std::string_view text);

}  // namespace marlune::cli
