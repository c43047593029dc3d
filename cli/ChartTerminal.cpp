#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "cli/Chart.h"
#include "cli/Table.h"
#include "cli/Values.h"

namespace marlune::cli {
namespace {

enum class Ink : std::uint8_t { plain, faint, water, high, low, mark, strong };

/// Text in a colour; plain where colours are not wanted.
std::string inked(std::string_view text, Ink ink, bool colour) {
  static constexpr std::array<std::string_view, 8> codes = {"", "90", "96", "34", "92", "93", "1;95", "1"};
  const std::string_view code = codes[static_cast<std::size_t>(ink)];
  if (!colour || code.empty()) return std::string(text);
  return fmt::format("\x1B[{}m{}\x1B[0m", code, text);
}

std::string utf8(char32_t character) {
  if (character < 0x80) return std::string(1, static_cast<char>(character));
  const auto tail = [&](int shift) { return static_cast<char>(0x80 | (character >> shift & 0x3F)); };
  if (character < 0x800) return {static_cast<char>(0xC0 | character >> 6), tail(0)};
  return {static_cast<char>(0xE0 | character >> 12), tail(6), tail(0)};
}

/// Character cells, each with eight dots of its own below the text.
class Canvas {
 public:
  Canvas(int columns, int rows)
      : columns_(columns),
        rows_(rows),
        cells_(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows)) {}

  int columns() const { return columns_; }
  int rows() const { return rows_; }

  /// One dot, two to a column and four to a row.
  void dot(int x, int y) {
    static constexpr std::array<std::array<std::uint8_t, 2>, 4> bits = {
        {{0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}}};
    if (x < 0 || y < 0 || x >= 2 * columns_ || y >= 4 * rows_) return;
    Cell& cell = at(x / 2, y / 4);
    const std::uint8_t bit = bits[static_cast<std::size_t>(y % 4)][static_cast<std::size_t>(x % 2)];
    cell.line |= bit;
  }

  /// Behind everything else.
  void ground(int column, int row, char32_t character) {
    if (inside(column, row)) at(column, row).ground = character;
  }

  void put(int column, int row, char32_t character, Ink ink) {
    if (!inside(column, row)) return;
    Cell& cell = at(column, row);
    cell.text = character;
    cell.ink = ink;
  }

  /// Are the cells free of text, and one more on either side?
  bool isFree(int column, int row, int width) const {
    for (int i = column - 1; i <= column + width; ++i) {
      if (inside(i, row) && cells_[index(i, row)].text != 0) return false;
    }
    return true;
  }

  void write(int column, int row, std::string_view ascii, Ink ink) {
    for (const char c : ascii) put(column++, row, static_cast<unsigned char>(c), ink);
  }

  std::string line(int row, bool colour) const {
    std::string text;
    int last = columns_ - 1;
    while (last >= 0 && shown(last, row).first == U' ') --last;
    for (int column = 0; column <= last;) {
      const Ink ink = shown(column, row).second;
      std::string run;
      for (; column <= last && shown(column, row).second == ink; ++column)
        run += utf8(shown(column, row).first);
      text += inked(run, ink, colour);
    }
    return text;
  }

 private:
  struct Cell {
    std::uint8_t line = 0;
    Ink ink = Ink::plain;
    char32_t ground = 0;
    char32_t text = 0;
  };

  bool inside(int column, int row) const {
    return column >= 0 && row >= 0 && column < columns_ && row < rows_;
  }
  std::size_t index(int column, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
           static_cast<std::size_t>(column);
  }
  Cell& at(int column, int row) { return cells_[index(column, row)]; }

  std::pair<char32_t, Ink> shown(int column, int row) const {
    const Cell& cell = cells_[index(column, row)];
    if (cell.text != 0) return {cell.text, cell.ink};
    if (cell.line != 0) return {0x2800U + cell.line, Ink::water};
    if (cell.ground != 0) return {cell.ground, Ink::faint};
    return {U' ', Ink::plain};
  }

  int columns_;
  int rows_;
  std::vector<Cell> cells_;
};

/// Lays a chart out on a canvas, with room for two lines of label above the highest and below the lowest
/// water.
class TerminalPlot {
 public:
  TerminalPlot(const Chart& chart, int columns)
      : chart_(chart),
        divisions_(chart.divisions()),
        scale_(chart, 5),
        canvas_(columns, kRows),
        labels_(columns, 2) {
    drawGround();
    drawCurve();
    drawMark();
    drawEvents();
    labelTime();
  }

  /// Rows of the plot with the axis of levels before them, and the time axis under them.
  std::string text(bool colour) const {
    const auto ticks = scale_.ticks();
    std::string text;
    for (int row = 0; row < kRows; ++row) {
      std::string label;
      for (const double tick : ticks) {
        if (rowOf(tick) == row) label = scale_.text(tick) + " " + chart_.unit;
      }
      text += inked(fmt::format("{:>{}} {}", label, kAxisWidth - 2, label.empty() ? "│" : "┤"), Ink::faint,
                    colour);
      text += canvas_.line(row, colour) + "\n";
    }
    std::string axis(kAxisWidth - 1, ' ');
    axis += "└";
    const std::vector<int> columns = tickColumns();
    for (int column = 0; column < canvas_.columns(); ++column) {
      axis += std::find(columns.begin(), columns.end(), column) == columns.end() ? "─" : "┴";
    }
    text += inked(axis, Ink::faint, colour) + "\n";
    for (int row = 0; row < 2; ++row) {
      text += std::string(kAxisWidth, ' ') + labels_.line(row, colour) + "\n";
    }
    return text;
  }

  static constexpr int kAxisWidth = 10;

 private:
  static constexpr int kRows = 18;
  static constexpr int kMargin = 3;  // rows for labels

  double x(std::int64_t time) const {  // in dots
    const double part =
        static_cast<double>(time - chart_.begin()) / static_cast<double>(chart_.end() - chart_.begin());
    return part * (2 * canvas_.columns() - 1);
  }
  double y(double level) const {  // in dots
    const double part = (scale_.most - level) / (scale_.most - scale_.least);
    return 4 * kMargin + part * (4 * (kRows - 2 * kMargin) - 1);
  }
  int columnOf(std::int64_t time) const { return static_cast<int>(std::lround(x(time))) / 2; }
  int rowOf(double level) const { return static_cast<int>(std::lround(y(level))) / 4; }

  double dayWidth() const {
    return static_cast<double>(canvas_.columns()) / static_cast<double>(chart_.days());
  }
  int tickHours() const { return hoursBetweenTicks(dayWidth(), 4); }

  std::vector<int> tickColumns() const {
    std::vector<int> columns;
    if (chart_.drawnByMonth()) {
      for (const auto& division : divisions_) columns.push_back(columnOf(division.begin));
      return columns;
    }
    for (const auto tick : timeTicks(chart_, tickHours())) columns.push_back(columnOf(tick));
    return columns;
  }

  void drawGround() {
    for (const double tick : scale_.ticks()) {
      for (int column = 0; column < canvas_.columns(); ++column) canvas_.ground(column, rowOf(tick), U'┈');
    }
    for (const auto& division : divisions_) {
      if (division.begin == chart_.begin()) continue;
      for (int row = 0; row < kRows; ++row) canvas_.ground(columnOf(division.begin), row, U'┊');
    }
  }

  void drawCurve() {
    for (std::size_t i = 1; i < chart_.line.size(); ++i) {
      const auto& a = chart_.line[i - 1];
      const auto& b = chart_.line[i];
      const double length =
          std::max({std::abs(x(b.time) - x(a.time)), std::abs(y(b.level) - y(a.level)), 1.0});
      const int steps = static_cast<int>(std::ceil(length * 2));
      for (int step = 0; step <= steps; ++step) {
        const double part = static_cast<double>(step) / steps;
        const int column = static_cast<int>(std::lround(x(a.time) + part * (x(b.time) - x(a.time))));
        const int row = static_cast<int>(std::lround(y(a.level) + part * (y(b.level) - y(a.level))));
        canvas_.dot(column, row);
      }
    }
  }

  void drawMark() {
    if (!chart_.mark) return;
    const int column = columnOf(chart_.mark->point.time);
    for (int row = 0; row < kRows; ++row) canvas_.ground(column, row, U'╎');
    canvas_.put(column, rowOf(chart_.mark->point.level), U'◆', Ink::mark);
  }

  void drawEvents() {
    if (chart_.drawnByMonth()) return;
    for (const auto& event : chart_.events) {
      const Ink ink = event.isHighTide ? Ink::high : Ink::low;
      canvas_.put(columnOf(event.timestamp), rowOf(event.tidelevel), U'●', ink);
    }
    for (const auto& event : chart_.events) labelEvent(event);
  }

  /// Time over level, above a high and below a low water; left out where there is no room.
  void labelEvent(const TideEvent& event) {
    const std::string time = clockText(chart_.zone, event.timestamp);
    const std::string level = chart_.levelText(event.tidelevel);
    const int width = static_cast<int>(std::max(time.size(), level.size()));
    const int column = std::clamp(columnOf(event.timestamp) - width / 2, 0, canvas_.columns() - width);
    const int row = rowOf(event.tidelevel) + (event.isHighTide ? -2 : 1);
    if (!canvas_.isFree(column, row, width) || !canvas_.isFree(column, row + 1, width)) return;
    const int inset = (width - static_cast<int>(level.size())) / 2;
    canvas_.write(column, row, time, Ink::plain);
    canvas_.write(column + inset, row + 1, level, event.isHighTide ? Ink::high : Ink::low);
  }

  void labelTime() {
    if (!chart_.drawnByMonth()) labelHours();
    // All in one form: as many words of it as fit the narrowest that can hold any.
    std::size_t words = 4;
    for (const auto& division : divisions_) {
      if (chart_.drawnByMonth() && widthOf(division) < 5) continue;
      while (words > 0 && static_cast<int>(firstWords(division, words).size()) > widthOf(division) - 2)
        --words;
    }
    for (const auto& division : divisions_) {
      const std::string name = firstWords(division, words);
      const int room = widthOf(division) - static_cast<int>(name.size());
      if (room >= 0) labels_.write(columnOf(division.begin) + room / 2, 1, name, Ink::plain);
    }
  }

  void labelHours() {
    for (const auto tick : timeTicks(chart_, tickHours())) {
      const std::string hour = clockText(chart_.zone, tick).substr(0, 2);
      if (labels_.isFree(columnOf(tick), 0, 2) && columnOf(tick) + 2 <= labels_.columns()) {
        labels_.write(columnOf(tick), 0, hour, Ink::faint);
      }
    }
  }

  int widthOf(const Chart::Division& division) const {
    return columnOf(division.end) - columnOf(division.begin);
  }

  /// The first words of a division's name, "Thu 5" of "Thu 5 Mar 2026".
  static std::string firstWords(const Chart::Division& division, std::size_t words) {
    std::size_t end = 0;
    for (std::size_t count = 0; count < words && end < division.name.size(); ++count)
      end = std::min(division.name.find(' ', end + 1), division.name.size());
    return division.name.substr(0, end);
  }

  const Chart& chart_;
  const std::vector<Chart::Division> divisions_;
  const LevelScale scale_;
  Canvas canvas_;
  Canvas labels_;
};

}  // namespace

std::string drawInTerminal(const Chart& chart, std::size_t columns, bool colour) {
  const int width = static_cast<int>(std::clamp<std::size_t>(columns, 40, 400));
  std::string text = inked(chart.title, Ink::strong, colour) + "\n" + chart.subtitle() + "\n";
  if (chart.mark) text += inked(chart.markText(), Ink::mark, colour) + "\n";
  text += TerminalPlot(chart, width - TerminalPlot::kAxisWidth).text(colour);
  text += "\n" + eventsByDay(chart, colour);
  if (!chart.note.empty()) text += "\n" + inked(chart.note, Ink::faint, colour) + "\n";
  return text;
}

std::string eventsByDay(const Chart& chart, bool colour) {
  std::size_t widest = 0;
  for (const auto& event : chart.events) widest = std::max(widest, chart.levelText(event.tidelevel).size());
  std::string text;
  auto event = chart.events.begin();
  for (std::size_t day = 0; day < chart.days(); ++day) {
    text += fmt::format("{:<16}", dayText(chart.zone, chart.midnights[day]));
    if (event == chart.events.end() || event->timestamp >= chart.midnights[day + 1])
      text += "  no predictions";
    for (; event != chart.events.end() && event->timestamp < chart.midnights[day + 1]; ++event) {
      text += "  " + inked(event->isHighTide ? "▲" : "▼", event->isHighTide ? Ink::high : Ink::low, colour);
      text += fmt::format(" {} {:>{}} {}", clockText(chart.zone, event->timestamp),
                          chart.levelText(event->tidelevel), widest, chart.unit);
    }
    text.erase(text.find_last_not_of(' ') + 1);
    text += "\n";
  }
  return text;
}

}  // namespace marlune::cli
