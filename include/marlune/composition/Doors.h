#pragma once

#include "marlune/base/Export.h"
#include "marlune/platform/Host.h"

namespace marlune {

/// Sets what the doors of the process (`TideDataProvider::Instance()`, `FavoriteListManager::Instance()`,
/// `TideStationSearchProvider::shared()` and the rest) stand on. Call it once, before any door is opened;
/// returns false and changes nothing when a door is open already, when installedHost() has been asked for, or
/// when a member of the host is missing. Without it the doors use linuxHost() as it comes. Safe from any
/// thread.
MARLUNE_API bool installHost(Host host);

/// The host that the doors of the process stand on, to be observed: its notifications, its main thread and
/// the rest. Where none was installed it is linuxHost() as it comes, which is thereby installed. Opens no
/// door, but settles what they will stand on: every later answer is the same host. Safe from any thread.
///
///     const auto center = marlune::installedHost().notifications;
MARLUNE_API Host installedHost();

}  // namespace marlune
