#include "marlune/platform/FileAccess.h"

#include <utility>

namespace marlune {

namespace {

constexpr std::string_view fileScheme = "file://";

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string fileUrl(std::string_view path) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  constexpr std::string_view plain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/!$&'()*+,=:@";
  std::string url(fileScheme);
  for (const char c : path) {
    if (plain.find(c) != std::string_view::npos) {
      url += c;
    } else {
      const auto byte = static_cast<unsigned char>(c);
      url.append({'%', digits[byte >> 4U], digits[byte & 15U]});
    }
  }
  return url;
}

std::optional<std::string> pathOfFileUrl(std::string_view url) {
  if (!url.starts_with(fileScheme)) return std::nullopt;
  url.remove_prefix(fileScheme.size());
  if (url.starts_with("localhost/")) url.remove_prefix(std::string_view("localhost").size());
  if (!url.starts_with('/')) return std::nullopt;
  std::string path;
  for (std::size_t at = 0; at < url.size(); ++at) {
    if (url[at] != '%') {
      path += url[at];
      continue;
    }
    if (at + 2 >= url.size()) return std::nullopt;
    const int high = hexDigit(url[at + 1]);
    const int low = hexDigit(url[at + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    path += static_cast<char>(high * 16 + low);
    at += 2;
  }
  return path;
}

std::string_view lastComponent(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path.substr(path.rfind('/') + 1);
}

Data dataAt(FileSystem& files, const std::optional<std::string>& path) {
  if (!path) return nullptr;
  auto bytes = files.read(*path);
  return bytes ? makeData(std::move(*bytes)) : nullptr;
}

std::optional<std::string> urlOf(const std::optional<std::string>& path) {
  return path ? std::optional(fileUrl(*path)) : std::nullopt;
}

}  // namespace

FileAccess::FileAccess(std::shared_ptr<Folders> folders, std::shared_ptr<FileSystem> files)
    : folders_(std::move(folders)), files_(std::move(files)) {}

std::optional<std::string> FileAccess::pathInContainer(std::string_view groupId,
                                                       std::string_view filename) const {
  return pathInside(folders_->container(groupId), filename);
}

Data FileAccess::loadFileInContainer(std::string_view groupId, std::string_view filename) const {
  return dataAt(*files_, pathInContainer(groupId, filename));
}

bool FileAccess::saveFileInContainer(std::string_view groupId, std::string_view filename,
                                     std::string_view data, FileSystem::Durability durability) const {
  const auto folder = folders_->container(groupId);
  const auto path = pathInside(folder, filename);
  return path && files_->write(*folder, *path, data, durability);
}

bool FileAccess::removeFileInContainer(std::string_view groupId, std::string_view filename) const {
  const auto path = pathInContainer(groupId, filename);
  return path && files_->remove(*path);
}

bool FileAccess::fileExistsInContainer(std::string_view groupId, std::string_view filename) const {
  const auto path = pathInContainer(groupId, filename);
  return path && files_->exists(*path);
}

std::optional<std::string> FileAccess::urlForFileInContainer(std::string_view groupId,
                                                             std::string_view filename) const {
  return urlOf(pathInContainer(groupId, filename));
}

bool FileAccess::moveFileToSharedContainer(std::string_view groupId, std::string_view filename) const {
  const auto source = pathInside(folders_->documents(), filename);
  if (!source || !files_->exists(*source)) return false;
  const auto folder = folders_->container(groupId);
  const auto target = pathInside(folder, filename);
  return target && files_->move(*source, *folder, *target);
}

Data FileAccess::loadFile(std::string_view filename) const {
  return dataAt(*files_, pathInside(folders_->documents(), filename));
}

bool FileAccess::saveFile(std::string_view filename, std::string_view data,
                          FileSystem::Durability durability) const {
  const auto folder = folders_->documents();
  const auto path = pathInside(folder, filename);
  return path && files_->write(*folder, *path, data, durability);
}

bool FileAccess::removeFile(std::string_view filename) const {
  const auto path = pathInside(folders_->documents(), filename);
  return path && files_->remove(*path);
}

bool FileAccess::fileExists(std::string_view filename) const {
  const auto path = pathInside(folders_->documents(), filename);
  return path && files_->exists(*path);
}

std::optional<std::string> FileAccess::urlForFile(std::string_view filename) const {
  return urlOf(pathInside(folders_->documents(), filename));
}

bool FileAccess::moveFileUrlToDocumentsFolder(std::string_view sourceUrl) const {
  const auto source = pathOfFileUrl(sourceUrl);
  const auto folder = folders_->documents();
  if (!source || !files_->exists(*source)) return false;
  const auto target = pathInside(folder, lastComponent(*source));
  return target && files_->move(*source, *folder, *target);
}

}  // namespace marlune
