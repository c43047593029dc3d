#pragma once

#include <string>
#include <utility>

#include "marlune/tasks/Task.h"
#include "support/HostTest.h"

namespace marlune::testing {

/// Base of tests of the sources of the ocean: their answers, their files and their requests.
class OceanHostTest : public HostTest {
 protected:
  /// The answer of a question once everything has come to rest.
  template <class Answer>
  Answer settled(Task<Answer> task) {
    Answer answer{};
    ask(std::move(task), answer);
    EXPECT_TRUE(fake.settle());
    return answer;
  }
  template <class Answer>
  void ask(Task<Answer> task, Answer& into) {
    start(std::move(task), [&into, once = completions.once("question")](Answer got) {
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
};

}  // namespace marlune::testing
