#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include <rapidjson/document.h>

#include "services/RequestValues.h"
#include "services/Service.h"

namespace marlune::services {

/// "2025-03-05 12:34"
inline std::int64_t at(const char* text) {
  return instantOf(text, {"yyyy-MM-dd HH:mm"}).value();
}

/// An answer with its body read as JSON; null when it is none.
struct Answer {
  explicit Answer(ServiceAnswer given) : plain(std::move(given)) {
    json.Parse<rapidjson::kParseFullPrecisionFlag>(plain.body.data(), plain.body.size());
    if (json.HasParseError()) json.SetNull();
  }

  int status() const { return plain.status; }
  std::string message() const {
    return json.IsObject() && json.HasMember("error") ? json["error"]["message"].GetString() : "";
  }

  ServiceAnswer plain;
  rapidjson::Document json;
};

/// Asks for "path?name=value&..." with nothing escaped, with a header of every kind that services want.
inline Answer ask(const Service& service, const std::string& target, bool withHeaders = true) {
  ServiceRequest request;
  request.target = target;
  const auto mark = std::min(target.find('?'), target.size());
  request.path = target.substr(0, mark);
  for (std::size_t begin = mark + 1; begin < target.size();) {
    const auto end = std::min(target.find('&', begin), target.size());
    const auto equals = target.find('=', begin);
    request.query.emplace(target.substr(begin, equals - begin), target.substr(equals + 1, end - equals - 1));
    begin = end + 1;
  }
  if (withHeaders)
    request.headers = {{"host", "here:80"}, {"user-agent", "test"}, {"ocp-apim-subscription-key", ""}};
  return Answer(service.answer(request));
}

}  // namespace marlune::services
