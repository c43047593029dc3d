#include "services/ForecastArchiveService.h"

#include <charconv>
#include <utility>

#include <fmt/format.h>

#include "services/ForecastArchive.h"
#include "services/ForecastDocument.h"
#include "services/XmlText.h"
#include "services/YearDocument.h"

namespace marlune::services {
namespace {

struct Wanted {
  int year = 0;
  std::string_view portId;
};

// "/2025/IDO59001_2025_VIC_TP002.archive"; nothing for any other path.
std::optional<Wanted> parse(std::string_view path) {
  constexpr std::size_t yearDigits = 4;
  if (path.size() < 1 + yearDigits) return std::nullopt;
  const std::string_view yearText = path.substr(1, yearDigits);
  Wanted wanted;
  const auto [stop, problem] =
      std::from_chars(yearText.data(), yearText.data() + yearText.size(), wanted.year);
  if (problem != std::errc() || stop != yearText.data() + yearText.size()) return std::nullopt;
  if (wanted.year < kFirstDocumentYear || wanted.year > kLastDocumentYear) return std::nullopt;

  constexpr std::string_view ending = ".archive";
  constexpr std::size_t productLength = 8;
  const std::size_t idAt = 1 + yearDigits + 1 + productLength + 1 + yearDigits + 1;
  if (path.size() < idAt + ending.size()) return std::nullopt;
  wanted.portId = path.substr(idAt, path.size() - idAt - ending.size());
  const std::string whole = fmt::format("/{}/{}_{}_{}{}", yearText, forecastProduct(wanted.portId), yearText,
                                        wanted.portId, ending);
  return path == whole ? std::optional(wanted) : std::nullopt;
}

ServiceAnswer missing(const ServiceRequest& request) {
  return {404,
          "application/xml",
          fmt::format("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Error><Code>NoSuchKey</Code>"
                      "<Message>There is no object of this name.</Message><Key>{}</Key></Error>\n",
                      escapedXml(request.path)),
          {}};
}

}  // namespace

ForecastArchiveService::ForecastArchiveService(std::shared_ptr<const RegionalPorts> ports)
    : _ports(std::move(ports)) {}

std::vector<std::string> ForecastArchiveService::prefixes() const {
  return {"/19", "/20", "/21"};
}

ServiceAnswer ForecastArchiveService::answer(const ServiceRequest& request) const {
  const auto wanted = parse(request.path);
  const Port* port = wanted ? _ports->find(PortList::bureau, wanted->portId) : nullptr;
  if (port == nullptr) return missing(request);
  const auto document = forecastDocument(*_ports, *port, wanted->year);
  auto packed = document ? packedForecast(*document) : std::nullopt;
  if (!packed) return missing(request);
  return {200, "application/octet-stream", std::move(*packed), {}};
}

}  // namespace marlune::services
