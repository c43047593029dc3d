#include "marlune/platform/Folders.h"

#include <algorithm>
#include <cstddef>

namespace marlune {

namespace {

bool staysInside(std::string_view name) {
  if (name.empty() || name.front() == '/' || name.find('\0') != std::string_view::npos) return false;
  for (std::size_t begin = 0; begin <= name.size();) {
    const std::size_t end = std::min(name.find('/', begin), name.size());
    if (name.substr(begin, end - begin) == "..") return false;
    begin = end + 1;
  }
  return true;
}

}  // namespace

std::optional<std::string> pathInside(std::optional<std::string> folder, std::string_view name) {
  if (!folder || !staysInside(name)) return std::nullopt;
  folder->append("/").append(name);
  return folder;
}

}  // namespace marlune
