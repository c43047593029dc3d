#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace marlune::services {

/// How hard to pack.
enum class Packing { quick, small };

/// A document packed as the years of the Australian ports are stored: in one frame of zstd with a check sum.
/// The same document gives the same bytes whenever it is packed. Nothing when that fails.
std::optional<std::string> packedForecast(std::string_view document, Packing packing = Packing::quick);

}  // namespace marlune::services
