#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "marlune/formats/PropertyList.h"

/// The fixed names of a keyed archive. Not published.
namespace marlune::keyed_archive {

inline constexpr std::string_view versionKey = "$version";
inline constexpr std::string_view archiverKey = "$archiver";
inline constexpr std::string_view topKey = "$top";
inline constexpr std::string_view objectsKey = "$objects";
inline constexpr std::string_view classKey = "$class";
inline constexpr std::string_view classNameKey = "$classname";
inline constexpr std::string_view classChainKey = "$classes";
inline constexpr std::string_view rootKey = "root";
inline constexpr std::string_view elementsKey = "NS.objects";
inline constexpr std::string_view stringKey = "NS.string";

inline constexpr std::int64_t version = 100'000;
inline constexpr std::string_view archiverName = "NSKeyedArchiver";
inline constexpr std::string_view nilText = "$null";
inline constexpr PropertyList::Uid nilUid{0};

/// A record's key as it is stored: the archive's own keys begin with "$", so a record's get one more.
inline std::string escapedKey(std::string_view key) {
  std::string escaped;
  if (key.starts_with('$')) escaped.push_back('$');
  escaped.append(key);
  return escaped;
}

}  // namespace marlune::keyed_archive
