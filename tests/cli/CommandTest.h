#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "cli/Program.h"
#include "services/LocalServices.h"
#include "support/TemporaryFolder.h"

namespace marlune::testing {

/// Runs the command on a fresh data folder, with a catalogue of three stations or with local services.
class CommandTest : public ::testing::Test {
 protected:
  static constexpr const char* kSantaCruz = "398997177";

  /// A file of the test's own; its path.
  std::string file(const std::string& name, const std::string& content) {
    std::ofstream(folder_ / name, std::ios::binary) << content;
    return folder_ / name;
  }

  /// Options for a catalogue of three stations and no network.
  std::vector<std::string> small(const std::vector<std::string>& words) {
    file("stations_master_usa2.txt",
         "7~N7~0~10.5~-20.25~Zeta~Utah~America/Denver\n"
         "not a station\n"
         "8~N8~1~10.75~-20.25~Alpha~Utah~America/Denver\n"
         "9~N9~0~-40~100~Solo~Ohio~Etc/GMT-5\n");
    std::vector<std::string> all = {"--json",     "--data",     folder_ / "data",    "--resources",
                                    folder_ / "", "--services", "http://127.0.0.1:1"};
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }

  /// Options for the local services of this test.
  std::vector<std::string> served(const std::vector<std::string>& words) {
    if (services_.address().empty()) services_.start();
    EXPECT_NE(services_.address(), "") << services_.error();
    std::vector<std::string> all = {"--data",     folder_ / "data",   "--now", "2026-03-05T20:00:00Z",
                                    "--services", services_.address()};
    all.insert(all.end(), words.begin(), words.end());
    return all;
  }

  static std::string answer(const std::string& result, const std::string& log = "") {
    return "{\"result\":" + result + ",\"notifications\":[],\"log\":[" + log + "]}";
  }

  TemporaryFolder folder_;
  services::LocalServices services_;
};

}  // namespace marlune::testing
