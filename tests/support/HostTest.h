#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/Completions.h"
#include "support/FakeHost.h"

namespace marlune::testing {

/// Base of tests that need a host. A test fails when, at its end, there is a log line that it did not
/// announce or one that it announced and that did not come, a completion that was not called exactly once, or
/// a request that no script answers.
class HostTest : public ::testing::Test {
 protected:
  void TearDown() override;

  /// Announces log lines that hold `part`; at least one must come.
  void expectLog(const std::string& part) { announcedLog_.emplace_back(part, true); }
  /// Announces log lines that hold `part`, should they come.
  void allowLog(const std::string& part) { announcedLog_.emplace_back(part, false); }

  FakeHost fake;
  Completions completions;

 private:
  std::vector<std::pair<std::string, bool>> announcedLog_;
};

}  // namespace marlune::testing
