#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "marlune/base/Export.h"
#include "marlune/ocean/records/OceanCurrentData.h"

namespace marlune {

class JsonReaders;

/// One rate of a tidal stream of the United Kingdom, as the service sends it.
struct MARLUNE_API StreamRateEntry {
  std::string dateTime;  ///< ISO 8601 to the second, with its zone
  double speed = 0.0;    ///< metres a second
  double bearing = 0.0;  ///< degrees

  /// Seconds since 1970; nothing for an entry that does not count: without a proper time, or of a speed that
  /// no stream has.
  std::optional<std::int64_t> instant() const;
  bool operator==(const StreamRateEntry&) const = default;
};

/// Reads and writes the rates and makes records of them. Has no state: safe from any thread. The form is in
/// docs/formats.md.
namespace stream_rates {

using Entries = std::vector<StreamRateEntry>;

struct Reading {
  Entries entries;                   ///< in the order of the answer
  std::optional<std::string> error;  ///< why there are none
};

/// An answer of the service, or the file of a day. One entry that lacks something spoils it.
MARLUNE_API Reading read(std::string_view json, JsonReaders& readers);
MARLUNE_API std::string fileOf(const Entries& entries);

/// The speeds in knots, in the order of the entries, and an event for each stretch of slack and of stronger
/// stream: its least or its greatest speed. Nothing where fewer than two entries count.
MARLUNE_API std::shared_ptr<const OceanCurrentData> currentsOf(const Entries& entries, double lat,
                                                               double lng);

}  // namespace stream_rates

}  // namespace marlune
