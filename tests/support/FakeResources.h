#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "marlune/platform/Resources.h"

namespace marlune::testing {

/// Resources made of values. Set them up before others use them.
class FakeResources : public LibraryResources {
 public:
  std::map<std::string, Bytes, std::less<>> files;

  std::optional<Bytes> read(std::string_view name) const override {
    const auto found = files.find(name);
    return found == files.end() ? std::nullopt : std::optional(found->second);
  }
};

}  // namespace marlune::testing
