#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace marlune::services {

/// A port of one of the regional services.
struct Port {
  std::string id;      ///< the Bureau's code, "VIC_TP002", or the Admiralty's number, "0082" or "0321A"
  std::string name;    ///< in ordinary case
  std::string region;  ///< state or territory in Australia, elsewhere the country
  std::string zone;    ///< name in the tz database; an Admiralty list has none
  double latitude = 0;
  double longitude = 0;

  bool operator==(const Port&) const = default;
};

/// Whose list of ports.
enum class PortList {
  bureau,    ///< the Bureau of Meteorology's tide ports
  admiralty  ///< the stations of the Admiralty's tidal API
};

struct PortsRead {
  std::vector<Port> ports;            ///< ordered by id, each id once
  std::vector<std::string> problems;  ///< what was left out, and why, one text for each
  std::string error;                  ///< why nothing at all could be read; then there are no ports
};

/// Reads the list as its service answers it: a GeoJSON collection of features. The resources that are made
/// from it have the same form with fewer members, so they are read by this as well.
///
/// A feature that makes no port is left out: one without a code or name, without a place on earth or, in
/// the Bureau's list, without a state, with a zone that the tz database does not know, marked as without
/// predictions ("AVAIL_FLAG" other than "Y") or as no tide port. Of two with one code the first stays.
PortsRead readPorts(PortList list, std::string_view json);

/// The resource of a list: GeoJSON with what the library reads, one port a line, the ports in the order
/// given. readPorts() gives the same ports back, and then this the same text again.
std::string portsDocument(PortList list, const std::vector<Port>& ports);

/// Names of the resource files.
std::string_view portsFileName(PortList list);

/// The port that an application begins with; a resource without it is of no use.
std::string_view defaultPort(PortList list);

/// A name that has no small letter, "PORT OF BRISTOL (AVONMOUTH)", in ordinary case, "Port of Bristol
/// (Avonmouth)"; any other name as it is.
std::string inOrdinaryCase(std::string_view name);

}  // namespace marlune::services
