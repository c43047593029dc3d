#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "marlune/platform/Resources.h"
#include "marlune/platform/UserDefaults.h"

namespace marlune::testing {

/// An application bundle made of values. Set it up before others use it.
class FakeBundle : public ApplicationBundle {
 public:
  std::optional<std::string> regionWord;
  std::map<std::string, std::string, std::less<>> texts;

  std::optional<std::string> region() const override { return regionWord; }
  std::optional<std::string> information(std::string_view key) const override {
    const auto found = texts.find(key);
    return found == texts.end() ? std::nullopt : std::optional(found->second);
  }
};

/// Resources made of values. Set them up before others use them.
class FakeResources : public LibraryResources {
 public:
  std::map<std::string, Bytes, std::less<>> files;

  std::optional<Bytes> read(std::string_view name) const override {
    const auto found = files.find(name);
    return found == files.end() ? std::nullopt : std::optional(found->second);
  }
};

/// User defaults in memory. Safe from any thread.
class FakeDefaults : public UserDefaults {
 public:
  std::optional<bool> boolean(std::string_view key) const override {
    const std::lock_guard lock(mutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  bool setBoolean(std::string_view key, bool value) override {
    const std::lock_guard lock(mutex_);
    values_.insert_or_assign(std::string(key), value);
    return true;
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, bool, std::less<>> values_;  // guarded by the mutex
};

}  // namespace marlune::testing
