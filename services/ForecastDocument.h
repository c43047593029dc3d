#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "services/RegionalPorts.h"

namespace marlune::services {

/// The forecast product that a port belongs to: most to "IDO59001", two to "IDO59002".
std::string_view forecastProduct(std::string_view portId);

/// A port's tides of a calendar year in its own zone, in the form of the Bureau's forecasts: an XML document
/// with a period for each day and in it elements for highs and lows, times to the minute and levels to the
/// centimetre, and for the quarters of the moon. NOT FOR NAVIGATION, and none of the Bureau's, as the
/// document says.
///
/// Nothing when there are no tides for the port, or its zone is unknown.
std::optional<std::string> forecastDocument(const RegionalPorts& ports, const Port& port, int year);

}  // namespace marlune::services
