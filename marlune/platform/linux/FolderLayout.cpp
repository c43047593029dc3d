#include "marlune/platform/linux/FolderLayout.h"

#include <utility>

#include "marlune/platform/linux/WholeFile.h"

namespace marlune {

FolderLayout::FolderLayout(std::string root) : root_(std::move(root)) {
  while (root_.size() > 1 && root_.back() == '/') root_.pop_back();
}

std::optional<std::string> FolderLayout::container(std::string_view groupId) const {
  if (root_.empty() || !isPlainName(groupId)) return std::nullopt;
  return root_ + "/containers/" + std::string(groupId);
}

std::optional<std::string> FolderLayout::documents() const {
  if (root_.empty()) return std::nullopt;
  return root_ + "/documents";
}

}  // namespace marlune
