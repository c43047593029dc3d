#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "marlune/ocean/SeriesDiskCache.h"
#include "marlune/platform/Task.h"
#include "marlune/platform/TimeZone.h"
#include "support/HostTest.h"

namespace marlune::testing {

/// Base of tests of a source of days that keeps series on the disk. The clock stands at `noon` UTC, on a day
/// that began in Los Angeles at `midnight`.
class NOAATest : public HostTest {
 protected:
  static constexpr double noon = 1'741'176'000;
  static constexpr std::int64_t midnight = 1'741'161'600;
  const TimeZone zone = *TimeZone::named("America/Los_Angeles");
  std::shared_ptr<SeriesDiskCache> cache = std::make_shared<SeriesDiskCache>(fake.host());

  template <class Answer>
  Answer settled(Task<Answer> task) {
    std::vector<Answer> answers(1);
    ask(std::move(task), answers[0]);
    EXPECT_TRUE(fake.settle());
    return answers[0];
  }
  template <class Answer>
  void ask(Task<Answer> task, Answer& into) {
    start(std::move(task), [&into, once = completions.once("day")](Answer got) {
      into = std::move(got);
      once();
    });
  }
  std::string path(const std::string& name) { return fake.container(kGroupContainerName) + "/" + name; }
  std::string kept(const std::string& name) { return fake.files->read(path(name)).value_or("none"); }
  void put(const std::string& name, const std::string& bytes) {
    ASSERT_TRUE(fake.files->write(fake.container(kGroupContainerName), path(name), bytes,
                                  FileSystem::Durability::cache));
  }
  std::size_t asked() const { return fake.http->requests().size(); }
  void later(double seconds) { fake.clock->advance(std::chrono::duration<double>(seconds)); }
};

}  // namespace marlune::testing
