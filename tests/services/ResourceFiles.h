#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace marlune::services {

/// The shipped file of this name.
inline std::string resourceFile(std::string_view name) {
  return std::string(MARLUNE_SOURCE_RESOURCES) + "/" + std::string(name);
}

/// Everything in a file; nothing when there is none.
inline std::string fileText(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace marlune::services
