#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <future>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "marlune/platform/linux/http/CurlHttpClient.h"
#include "services/AskService.h"
#include "services/LocalServices.h"

namespace marlune::services {

/// Base of tests that ask all the services over HTTP. Their clock stands.
class ServicesTest : public ::testing::Test {
 protected:
  struct Received {
    int status = 0;
    std::string text;
  };
  using Headers = std::vector<std::pair<std::string, std::string>>;

  void SetUp() override { ASSERT_NE(services.start(), "") << services.error(); }

  Received get(const std::string& target,
               const Headers& headers = {{"Ocp-Apim-Subscription-Key", "any"}, {"User-Agent", "test"}}) {
    HttpRequest request{.url = services.address() + target};
    request.headers = headers;
    std::promise<Received> answer;
    auto received = answer.get_future();
    client.send(std::move(request), [&](const HttpAnswer& one) {
      answer.set_value({one.status, one.body ? std::string(*one.body) : ""});
    });
    return received.get();
  }

  CurlHttpClient client;
  LocalServices services{
      {.resourcesFolder = MARLUNE_SOURCE_RESOURCES, .now = [] { return at("2025-03-05 12:34"); }}};
};

}  // namespace marlune::services
