#pragma once

/// The one header that most applications include.
///
///     marlune::installHost(marlune::linuxHost({.dataFolder = "/home/me/.local/share/tides"}));
///     auto& provider = marlune::TideDataProvider::Instance();

#include "marlune/composition/Doors.h"
#include "marlune/favorites/FavoriteListManager.h"
#include "marlune/geo/NearestLocationFinder.h"
#include "marlune/global/PelagoraService.h"
#include "marlune/ocean/OceanDataServiceProvider.h"
#include "marlune/ocean/source/SeriesDiskCache.h"
#include "marlune/platform/FileAccess.h"
#include "marlune/platform/Host.h"
#include "marlune/platform/linux/LinuxHost.h"
#include "marlune/providers/TideDataProvider.h"
#include "marlune/providers/TideDataProviderAus.h"
#include "marlune/providers/TideDataProviderUK.h"
#include "marlune/search/TideStationSearchProvider.h"
#include "marlune/tides/TTEvent.h"
#include "marlune/tides/TideCurve.h"
#include "marlune/tides/TideEvent.h"
#include "marlune/tides/TideEventDiskCache.h"
#include "marlune/tides/TideHighLowParser.h"
#include "marlune/tides/TideStation.h"
