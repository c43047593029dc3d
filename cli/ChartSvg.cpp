#include <fmt/format.h>

#include <algorithm>
#include <limits>

#include "cli/Chart.h"
#include "cli/Table.h"
#include "cli/Values.h"

namespace marlune::cli {
namespace {

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : plainText(text)) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

constexpr std::string_view kStyle = R"(<style>
text { font-family: system-ui, "Helvetica Neue", Helvetica, Arial, "DejaVu Sans", sans-serif; fill: #1c2b3a }
.title { font-size: 21px; font-weight: 600 }
.sub, .note { font-size: 13px; fill: #5b6b7b }
.axis { font-size: 12px; fill: #5b6b7b }
.day { font-size: 13px; font-weight: 600 }
.level { font-size: 13px; font-weight: 600 }
.time { font-size: 12px; fill: #44546a }
.level, .time { paint-order: stroke; stroke: #ffffff; stroke-width: 4px; stroke-linejoin: round }
.middle { text-anchor: middle }
.end { text-anchor: end }
.grid { stroke: #dbe3ea; stroke-width: 1 }
.datum { stroke: #9fb1c1; stroke-width: 1.2 }
.night { stroke: #b4c2cf; stroke-width: 1; stroke-dasharray: 3 4 }
.mark { stroke: #c2185b; stroke-width: 1.4; stroke-dasharray: 5 4 }
.marked { font-size: 12px; font-weight: 600; fill: #c2185b; paint-order: stroke; stroke: #ffffff; stroke-width: 4px }
</style>
)";

class SvgPlot {
 public:
  explicit SvgPlot(const Chart& chart)
      : chart_(chart),
        scale_(chart, 6),
        width_(std::clamp(kLeft + kRight + 290.0 * static_cast<double>(chart.days()), 640.0, 3200.0)) {}

  std::string draw() {
    open();
    drawDivisions();
    drawLevels();
    drawHours();
    drawCurve();
    drawMark();
    drawEvents();
    if (!chart_.note.empty()) text("note", kLeft, kHeight - 16, chart_.note);
    svg_ += "</svg>\n";
    return std::move(svg_);
  }

 private:
  static constexpr double kHeight = 480;
  static constexpr double kLeft = 64;
  static constexpr double kRight = 24;
  static constexpr double kTop = 76;
  static constexpr double kBottom = 86;
  static constexpr double kLabelRoom = 44;  // above the highest and below the lowest water

  double bottom() const { return kHeight - kBottom; }
  double right() const { return width_ - kRight; }
  double x(std::int64_t time) const {
    const double part =
        static_cast<double>(time - chart_.begin()) / static_cast<double>(chart_.end() - chart_.begin());
    return kLeft + part * (right() - kLeft);
  }
  double y(double level) const {
    const double part = (scale_.most - level) / (scale_.most - scale_.least);
    return kTop + kLabelRoom + part * (bottom() - kTop - 2 * kLabelRoom);
  }
  double dayWidth() const { return (right() - kLeft) / static_cast<double>(chart_.days()); }

  void text(std::string_view style, double left, double base, std::string_view content) {
    svg_ += fmt::format("<text class=\"{}\" x=\"{:.1f}\" y=\"{:.1f}\">{}</text>\n", style, left, base,
                        escaped(content));
  }
  void line(std::string_view style, double x1, double y1, double x2, double y2) {
    svg_ += fmt::format("<line class=\"{}\" x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\"/>\n",
                        style, x1, y1, x2, y2);
  }

  void open() {
    svg_ = fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:.0f}\" height=\"{1:.0f}\" "
        "viewBox=\"0 0 {0:.0f} {1:.0f}\" role=\"img\">\n<title>{2}</title>\n<desc>{3}</desc>\n{4}"
        "<defs><linearGradient id=\"water\" x1=\"0\" y1=\"0\" x2=\"0\" y2=\"1\">"
        "<stop offset=\"0\" stop-color=\"#2f86c9\" stop-opacity=\"0.42\"/>"
        "<stop offset=\"1\" stop-color=\"#2f86c9\" stop-opacity=\"0.06\"/></linearGradient></defs>\n"
        "<rect width=\"{0:.0f}\" height=\"{1:.0f}\" fill=\"#ffffff\"/>\n",
        width_, kHeight, escaped(chart_.title), escaped(chart_.subtitle()), kStyle);
    text("title", kLeft, 34, chart_.title);
    text("sub", kLeft, 56, chart_.subtitle());
  }

  void drawDivisions() {
    bool shaded = false;
    for (const auto& division : chart_.divisions()) {
      const double left = x(division.begin);
      const double span = x(division.end) - left;
      shaded = !shaded;
      if (shaded) {
        svg_ += fmt::format(
            "<rect x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\" fill=\"#f5f8fb\"/>\n", left,
            kTop, span, bottom() - kTop);
      }
      if (left > kLeft) line("night", left, kTop, left, bottom() + 30);
      std::string name = division.name;
      while (static_cast<double>(name.size()) * 8 > span && name.find(' ') != std::string::npos) {
        name.resize(name.rfind(' '));
      }
      if (chart_.drawnByMonth() && static_cast<double>(name.size()) * 8 > span) continue;
      text("day middle", left + span / 2, bottom() + 40, name);
    }
  }

  void drawLevels() {
    for (const double tick : scale_.ticks()) {
      line(tick == 0 ? "datum" : "grid", kLeft, y(tick), right(), y(tick));
      text("axis end", kLeft - 8, y(tick) + 4, scale_.text(tick) + " " + chart_.unit);
    }
  }

  void drawHours() {
    line("datum", kLeft, bottom(), right(), bottom());
    if (chart_.drawnByMonth()) return;
    for (const auto tick : timeTicks(chart_, hoursBetweenTicks(dayWidth(), 44))) {
      line("datum", x(tick), bottom(), x(tick), bottom() + 5);
      text("axis middle", x(tick), bottom() + 20, clockText(chart_.zone, tick));
    }
  }

  void drawCurve() {
    std::string path;
    for (const auto& point : chart_.line) {
      path += fmt::format("{}{:.1f},{:.1f}", path.empty() ? "M" : " L", x(point.time), y(point.level));
    }
    svg_ += fmt::format("<path d=\"{} L{:.1f},{:.1f} L{:.1f},{:.1f} Z\" fill=\"url(#water)\"/>\n", path,
                        x(chart_.line.back().time), bottom(), x(chart_.line.front().time), bottom());
    svg_ += fmt::format(
        "<path d=\"{}\" fill=\"none\" stroke=\"#1f6fb2\" stroke-width=\"{}\" stroke-linejoin=\"round\"/>\n",
        path, chart_.drawnByMonth() ? "0.8" : "2.4");
  }

  void drawMark() {
    if (!chart_.mark) return;
    const auto& point = chart_.mark->point;
    line("mark", x(point.time), kTop, x(point.time), bottom());
    svg_ += fmt::format("<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"4.5\" fill=\"#c2185b\"/>\n", x(point.time),
                        y(point.level));
    text("sub end", right(), 56, chart_.markText());
  }

  /// A dot each; time and level beside it where the one before leaves room.
  void drawEvents() {
    if (chart_.drawnByMonth()) return;
    double free[2] = {-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    for (const auto& event : chart_.events) {
      const double centre = x(event.timestamp);
      const double height = y(event.tidelevel);
      svg_ += fmt::format(
          "<circle cx=\"{:.1f}\" cy=\"{:.1f}\" r=\"3.6\" fill=\"#ffffff\" stroke=\"{}\" "
          "stroke-width=\"2.2\"/>\n",
          centre, height, event.isHighTide ? "#0b7a4b" : "#c46a00");
      double& freeFrom = free[event.isHighTide ? 1 : 0];
      constexpr double half = 24;
      const double middle = std::clamp(centre, kLeft + half, right() - half);
      if (middle - half < freeFrom) continue;
      freeFrom = middle + half + 2;
      const std::string level = chart_.levelText(event.tidelevel) + " " + chart_.unit;
      text("level middle", middle, event.isHighTide ? height - 12 : height + 37, level);
      text("time middle", middle, event.isHighTide ? height - 27 : height + 22,
           clockText(chart_.zone, event.timestamp));
    }
  }

  const Chart& chart_;
  const LevelScale scale_;
  const double width_;
  std::string svg_;
};

}  // namespace

std::string drawSvg(const Chart& chart) {
  return SvgPlot(chart).draw();
}

}  // namespace marlune::cli
