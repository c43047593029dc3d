#pragma once

#include "marlune/platform/Export.h"
#include "marlune/platform/Host.h"

namespace marlune {

/// Sets what the doors of the process (`TideDataProvider::Instance()`, `FavoriteListManager::Instance()`,
/// `TideStationSearchProvider::shared()` and the rest) stand on. Call it once, before any door is opened;
/// returns false and changes nothing when a door is open already or a member of the host is missing. Without
/// it the doors use linuxHost() as it comes. Safe from any thread.
MARLUNE_API bool installHost(Host host);

}  // namespace marlune
