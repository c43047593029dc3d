#include "services/YearDocument.h"

#include <cmath>
#include <iterator>

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>
#include <fmt/compile.h>
#include <fmt/format.h>

#include "services/XmlText.h"

namespace marlune::services {
namespace {

std::int64_t startOf(int year, const cctz::time_zone& zone) {
  return cctz::convert(cctz::civil_second(year, 1, 1), zone).time_since_epoch().count();
}

}  // namespace

std::optional<std::string> yearDocument(const HarmonicDatabase& database, const CatalogueStation& station,
                                        int year, std::string& error) {
  if (year < kFirstDocumentYear || year > kLastDocumentYear) {
    error = "year out of range";
    return std::nullopt;
  }
  cctz::time_zone zone;
  if (!cctz::load_time_zone(station.zone, &zone)) {
    error = "unknown time zone";
    return std::nullopt;
  }
  const HarmonicStation* constants = database.tideStation(station.number, station.subordinate);
  if (constants == nullptr) {
    error = "no constants for this station";
    return std::nullopt;
  }
  const auto extremes =
      TidePredictor(database).extremes(*constants, startOf(year, zone), startOf(year + 1, zone));
  std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<tides>\n";
  fmt::format_to(std::back_inserter(out),
                 "<s id=\"{}\" name=\"{}, {}\" year=\"{}\" unit=\"ft\" note=\"Development data. NOT FOR "
                 "NAVIGATION.\"/>\n",
                 escapedXml(station.id), escapedXml(station.name), escapedXml(station.state), year);
  for (const TideExtreme& extreme : extremes) {
    // Rounded here, so that what rounds to zero has no sign.
    const double level = static_cast<double>(std::llround(extreme.level * 1000)) / 1000;
    fmt::format_to(std::back_inserter(out), FMT_COMPILE("<e t=\"{}\" l=\"{:.3f}\" w=\"{}\"/>\n"),
                   extreme.time, level, extreme.high ? 'H' : 'L');
  }
  out += "</tides>\n";
  return out;
}

}  // namespace marlune::services
