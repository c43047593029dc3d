#pragma once

#include <stdexcept>
#include <string>

#include "services/HarmonicDatabase.h"

namespace marlune::services {

/// The installed harmonic data, read once for all tests.
inline const HarmonicDatabase& harmonics() {
  static const HarmonicDatabase database = [] {
    std::string error;
    auto loaded = HarmonicDatabase::load(HarmonicDatabase::installedFile(), error);
    if (!loaded) throw std::runtime_error(error);
    return std::move(*loaded);
  }();
  return database;
}

}  // namespace marlune::services
