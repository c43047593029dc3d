#pragma once

#include <any>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "marlune/base/Export.h"

namespace marlune {

/// What a notification carries, by key. The value types of each key are those that the poster documents:
/// std::string, double, Date or std::shared_ptr<TideStation>.
using UserInfo = std::map<std::string, std::any, std::less<>>;

struct Notification {
  std::string name;
  /// Who posted it, for comparing only: the poster may be gone by the time it is looked at. Null: nobody.
  const void* object = nullptr;
  std::optional<UserInfo> userInfo;
};

/// Delivers notifications to observers, on the thread that posts. Calls are safe from any thread.
///
///     auto seen = center.observe("TideFavoriteList", [&](const Notification& n) { refresh(); });
///     ...
///     seen.reset();  // no call after this returns
class MARLUNE_API NotificationCenter {
 public:
  using Observer = std::function<void(const Notification&)>;
  /// Ends the observation when it is destroyed. Once its destructor has returned, the observer is not running
  /// and is never called again; only an observer that ends its own observation from within its call is still
  /// running, until it returns.
  using Observation = std::shared_ptr<void>;

  virtual ~NotificationCenter() = default;

  /// Calls `observer` for each later notification of that name; an empty name means every notification.
  [[nodiscard]] virtual Observation observe(std::string name, Observer observer) = 0;

  /// Calls every observer of `notification.name`, in the order they were added, before it returns. An
  /// observer may post, observe and end observations.
  virtual void post(Notification notification) = 0;
};

}  // namespace marlune
