#include "support/HostTest.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace marlune::testing {

void HostTest::TearDown() {
  EXPECT_TRUE(fake.settle()) << "work is still open at the end of the test";
  completions.verify();
  const auto lines = fake.log->lines();
  const auto holds = [](const std::string& line) {
    return [&line](const std::string& part) { return line.find(part) != std::string::npos; };
  };
  for (const auto& line : lines) {
    const bool announced = std::any_of(expectedLog_.begin(), expectedLog_.end(), holds(line)) ||
                           std::any_of(allowedLog_.begin(), allowedLog_.end(), holds(line));
    EXPECT_TRUE(announced) << "unexpected log line: " << line;
  }
  for (const auto& part : expectedLog_) {
    EXPECT_TRUE(fake.log->contains(part)) << "no log line with: " << part;
  }
  if (!unscriptedRequestsAllowed_) {
    for (const auto& url : fake.http->unexpected()) ADD_FAILURE() << "no answer scripted for " << url;
  }
  if (fake.folder) expectNoTemporaryFiles(fake.folder->path());
}

void HostTest::expectLog(std::string part) {
  expectedLog_.push_back(std::move(part));
}

void HostTest::allowLog(std::string part) {
  allowedLog_.push_back(std::move(part));
}

void expectNoTemporaryFiles(const std::string& folder) {
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    EXPECT_FALSE(entry.path().filename().string().starts_with(".marlune-tmp-")) << entry.path();
  }
}

}  // namespace marlune::testing
