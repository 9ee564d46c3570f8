/// The applications that use the network, as a table.
#pragma once

#include "platform/values/PropertyList.h"
#include "programs/quorlinctl/terminal/StyledLine.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quorlin {

struct NetworkApplication {
  std::string name;
  std::vector<std::int32_t> processes;
  /// Bytes over external interfaces.
  double received = 0;
  double sent = 0;
};

/// The agent's answer, with processes of one name together and the largest traffic first. Incomplete and
/// malformed records are left out.
std::vector<NetworkApplication> networkApplicationsOf(const Dictionary& userInfo,
                                                      const std::function<std::string(std::int32_t)>& nameOf);

/// One line per application below a heading, each within the columns.
std::vector<std::string> renderApplications(const std::vector<NetworkApplication>& applications, int columns,
                                            Appearance appearance);

}  // namespace quorlin
