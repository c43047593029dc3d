#pragma once

#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What the tools that make resources share.

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

/// Runs a tool that turns lists of others, each named by an option before its file, into resources. `listOf`
/// tells the list of an option, if it is one; `make` makes a resource of a list and its file in a folder, or
/// says why not and answers false. The answer is the tool's exit status.
template <class ListOf, class Make>
int makeResources(int argc, char** argv, const char* usage, ListOf listOf, Make make) {
  using List = typename decltype(listOf(std::string_view()))::value_type;
  std::vector<std::pair<List, std::string>> works;
  bool understood = argc > 3 && argc % 2 == 0;
  for (int i = 2; understood && i + 1 < argc; i += 2) {
    const auto list = listOf(argv[i]);
    understood = list.has_value();
    if (understood) works.emplace_back(*list, argv[i + 1]);
  }
  if (!understood) {
    std::fputs(usage, stderr);
    return 2;
  }
  bool done = true;
  for (const auto& [list, source] : works) done = make(list, source, std::string(argv[1])) && done;
  return done ? 0 : 1;
}
