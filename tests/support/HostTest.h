#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/Completions.h"
#include "support/FakeHost.h"

namespace marlune::testing {

/// Base of tests that need a host. A test fails when, at its end, there is a log line that it did not
/// announce or one that it announced and that did not come, a completion that was not called exactly once,
/// a request that no script answers, or a temporary file left over.
class HostTest : public ::testing::Test {
 protected:
  explicit HostTest(const FakeHostOptions& options = {}) : fake(options) {}

  void TearDown() override;

  /// Announces log lines that hold `part`; at least one must come.
  void expectLog(std::string part);
  /// Announces log lines that hold `part`, should they come.
  void allowLog(std::string part);
  /// Announces requests that no script answers.
  void allowUnscriptedRequests() { unscriptedRequestsAllowed_ = true; }

  FakeHost fake;
  Completions completions;

 private:
  std::vector<std::string> expectedLog_;
  std::vector<std::string> allowedLog_;
  bool unscriptedRequestsAllowed_ = false;
};

/// Fails the test for each temporary file in `folder` or below.
void expectNoTemporaryFiles(const std::string& folder);

}  // namespace marlune::testing
