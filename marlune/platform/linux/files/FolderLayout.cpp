#include "marlune/platform/linux/files/FolderLayout.h"

#include <utility>

#include "marlune/platform/linux/files/WholeFile.h"

namespace marlune {

FolderLayout::FolderLayout(std::string root) : root_(std::move(root)) {
  while (root_.size() > 1 && root_.back() == '/') root_.pop_back();
}

std::optional<std::string> FolderLayout::container(std::string_view groupId) const {
  if (root_.empty() || !isPlainName(groupId)) return std::nullopt;
  constexpr std::string_view containers = "/containers/";
  constexpr std::size_t roomForName = 64;  // a file's name usually follows
  std::string path;
  path.reserve(root_.size() + containers.size() + groupId.size() + roomForName);
  path.append(root_).append(containers).append(groupId);
  return path;
}

std::optional<std::string> FolderLayout::documents() const {
  if (root_.empty()) return std::nullopt;
  return root_ + "/documents";
}

}  // namespace marlune
