#include "support/HostTest.h"

#include <set>

namespace marlune::testing {

void HostTest::TearDown() {
  EXPECT_TRUE(fake.settle()) << "work is still open at the end of the test";
  completions.verify();
  std::set<std::string> came;
  for (const auto& line : fake.log->lines()) {
    bool announced = false;
    for (const auto& [part, required] : announcedLog_) {
      if (line.find(part) == std::string::npos) continue;
      announced = true;
      came.insert(part);
    }
    EXPECT_TRUE(announced) << "unexpected log line: " << line;
  }
  for (const auto& [part, required] : announcedLog_) {
    EXPECT_TRUE(!required || came.contains(part)) << "no log line with: " << part;
  }
  for (const auto& url : fake.http->unexpected()) ADD_FAILURE() << "no answer scripted for " << url;
}

}  // namespace marlune::testing
