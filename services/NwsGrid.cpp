#include "services/NwsGrid.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace marlune::services {
namespace {

constexpr double kRadians = std::numbers::pi / 180;
constexpr double kCellDegrees = 0.0225;  // of latitude: two and a half kilometres
// The cell of the office itself; far enough from the grid's corner for the whole of the Aleutians.
constexpr int kOfficeX = 700;
constexpr int kOfficeY = 450;

struct Office {
  std::string_view code;
  double latitude;
  double longitude;
};

// The forecast offices along the coasts, and some inland, each at its city.
constexpr Office kOffices[] = {
    {"CAR", 46.87, -68.01},  {"GYX", 43.89, -70.26},  {"BOX", 41.96, -71.14},  {"OKX", 40.87, -72.86},
    {"PHI", 40.01, -74.82},  {"LWX", 38.98, -77.49},  {"AKQ", 36.98, -77.01},  {"MHX", 34.78, -76.88},
    {"ILM", 34.27, -77.91},  {"CHS", 32.90, -80.03},  {"JAX", 30.48, -81.70},  {"MLB", 28.11, -80.65},
    {"MFL", 25.75, -80.38},  {"KEY", 24.55, -81.79},  {"TBW", 27.71, -82.40},  {"TAE", 30.45, -84.30},
    {"MOB", 30.68, -88.24},  {"LIX", 30.34, -89.83},  {"LCH", 30.13, -93.22},  {"HGX", 29.47, -95.08},
    {"CRP", 27.78, -97.51},  {"BRO", 25.92, -97.42},  {"SGX", 32.83, -117.13}, {"LOX", 34.21, -119.14},
    {"MTR", 36.59, -121.86}, {"EKA", 40.81, -124.16}, {"MFR", 42.38, -122.88}, {"PQR", 45.56, -122.54},
    {"SEW", 47.69, -122.26}, {"BUF", 42.94, -78.73},  {"CLE", 41.41, -81.86},  {"DTX", 42.69, -83.47},
    {"GRB", 44.50, -88.11},  {"LOT", 41.60, -88.08},  {"DLH", 46.84, -92.19},  {"BMX", 33.18, -86.78},
    {"OUN", 35.18, -97.44},  {"DDC", 37.76, -99.97},  {"BIS", 46.77, -100.76}, {"GJT", 39.12, -108.53},
    {"PSR", 33.43, -112.02}, {"BOI", 43.57, -116.21}, {"TFX", 47.46, -111.38}, {"AFC", 61.16, -149.98},
    {"AJK", 58.37, -134.60}, {"AFG", 64.84, -147.85}, {"HFO", 21.30, -157.82}, {"SJU", 18.43, -66.00},
    {"GUM", 13.48, 144.80},  {"PPG", -14.33, -170.71}};

// Roughly: the borders and coasts of the contiguous states, with some sea.
constexpr NwsPlace kContiguous[] = {
    {48.6, -126.0}, {48.3, -123.2}, {49.0, -123.2}, {49.0, -95.2},  {48.6, -93.0},  {48.0, -89.5},
    {48.3, -88.0},  {46.5, -84.5},  {45.3, -82.5},  {43.0, -82.4},  {41.7, -82.6},  {42.9, -78.9},
    {43.6, -79.0},  {44.2, -76.4},  {45.0, -74.8},  {45.0, -71.4},  {46.7, -70.0},  {47.4, -69.0},
    {47.0, -67.8},  {45.2, -67.2},  {44.5, -66.5},  {41.0, -68.5},  {38.5, -72.5},  {35.0, -74.3},
    {31.0, -79.0},  {27.0, -79.0},  {24.0, -80.5},  {24.0, -83.0},  {28.0, -85.0},  {28.0, -90.0},
    {27.0, -95.0},  {25.9, -96.0},  {25.9, -97.4},  {27.5, -99.5},  {29.5, -101.3}, {29.0, -103.2},
    {31.8, -106.5}, {31.3, -108.2}, {31.3, -111.1}, {32.5, -114.8}, {32.5, -118.5}, {34.0, -121.5},
    {38.0, -124.5}, {43.0, -125.8}};

struct Box {
  double south, north, west, east;
};

constexpr Box kElsewhere[] = {
    {54.3, 71.5, -168.5, -141},    // Alaska
    {54.6, 60, -141, -130},        // its panhandle
    {51, 56, -180, -160},          // the Aleutians
    {18.5, 22.7, -161, -154},      // Hawaii
    {17.5, 18.8, -67.5, -64.4},    // Puerto Rico and the Virgin Islands
    {13, 15.5, 144.4, 146},        // Guam and the Marianas
    {-14.6, -14, -171.2, -169.2},  // American Samoa
};

// True when a line northwards from the place crosses the border an odd number of times.
bool isContiguous(const NwsPlace& place) {
  bool inside = false;
  for (std::size_t i = 0; i < std::size(kContiguous); ++i) {
    const NwsPlace& a = kContiguous[i];
    const NwsPlace& b = kContiguous[(i + 1) % std::size(kContiguous)];
    if ((a.longitude > place.longitude) == (b.longitude > place.longitude)) continue;
    const double share = (place.longitude - a.longitude) / (b.longitude - a.longitude);
    if (a.latitude + share * (b.latitude - a.latitude) > place.latitude) inside = !inside;
  }
  return inside;
}

bool isCovered(const NwsPlace& place) {
  return isContiguous(place) ||
         std::any_of(std::begin(kElsewhere), std::end(kElsewhere), [&](const Box& box) {
           return place.latitude >= box.south && place.latitude <= box.north && place.longitude >= box.west &&
                  place.longitude <= box.east;
         });
}

double eastCellDegrees(const Office& office) {
  return kCellDegrees / std::cos(office.latitude * kRadians);
}

double distanceSquared(const Office& office, const NwsPlace& place) {
  const double north = place.latitude - office.latitude;
  const double east = (place.longitude - office.longitude) * std::cos(place.latitude * kRadians);
  return north * north + east * east;
}

}  // namespace

std::optional<NwsCell> nwsCellAt(const NwsPlace& place) {
  if (!isCovered(place)) return std::nullopt;
  const Office& office =
      *std::min_element(std::begin(kOffices), std::end(kOffices), [&](const Office& a, const Office& b) {
        return distanceSquared(a, place) < distanceSquared(b, place);
      });
  const double east = (place.longitude - office.longitude) / eastCellDegrees(office);
  const double north = (place.latitude - office.latitude) / kCellDegrees;
  return NwsCell{std::string(office.code), kOfficeX + static_cast<int>(std::lround(east)),
                 kOfficeY + static_cast<int>(std::lround(north))};
}

std::optional<NwsPlace> nwsPlaceOf(const NwsCell& cell, double eastward, double northward) {
  const auto* office = std::find_if(std::begin(kOffices), std::end(kOffices),
                                    [&](const Office& one) { return one.code == cell.office; });
  const bool onGrid = cell.x >= 0 && cell.x <= 2 * kOfficeX && cell.y >= 0 && cell.y <= 2 * kOfficeY;
  if (office == std::end(kOffices) || !onGrid) return std::nullopt;
  return NwsPlace{office->latitude + (cell.y - kOfficeY + northward) * kCellDegrees,
                  office->longitude + (cell.x - kOfficeX + eastward) * eastCellDegrees(*office)};
}

}  // namespace marlune::services
