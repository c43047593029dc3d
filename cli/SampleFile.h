#pragma once

#include <string>
#include <string_view>

#include "marlune/ocean/records/TimeSeriesData.h"

namespace marlune::cli {

/// The samples of a file: a JSON array of sample objects, whose absent members are 0 and absent. Throws
/// WrongCall for a file that cannot be read or is none.
TimeSeries readSamples(const std::string& path);

/// The same of the bytes; `name` is what the text of a WrongCall names them by.
TimeSeries parseSamples(std::string_view json, std::string_view name);

}  // namespace marlune::cli
