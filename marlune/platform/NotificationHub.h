#pragma once

#include <memory>

#include "marlune/base/Export.h"
#include "marlune/platform/NotificationCenter.h"

namespace marlune {

/// The notification centre of one process. Calls are safe from any thread, also from within an observer.
///
/// An observer that is added during a post is not called by it; one that is ended during it is called no
/// more. Ending an observation waits for a call that is running on another thread, so two observers must not
/// end each other's, and none may wait for a thread that ends it. Observations may outlive the hub.
class MARLUNE_API NotificationHub : public NotificationCenter {
 public:
  NotificationHub();
  ~NotificationHub() override;
  NotificationHub(const NotificationHub&) = delete;
  NotificationHub& operator=(const NotificationHub&) = delete;

  [[nodiscard]] Observation observe(std::string name, Observer observer) override;
  void post(Notification notification) override;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace marlune
