#pragma once

#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

// Files of the tools that make resources.

/// The whole file; nothing when it cannot be read.
inline std::optional<std::string> contentOf(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::string content{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  return in.bad() ? std::nullopt : std::optional(std::move(content));
}

/// False when the file cannot be written.
inline bool write(const std::string& file, const std::string& content) {
  std::ofstream out(file, std::ios::binary);
  out << content;
  return static_cast<bool>(out.flush());
}
