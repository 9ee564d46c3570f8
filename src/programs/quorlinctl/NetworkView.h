/// The applications that use the network, for people.
#pragma once

#include "platform/PropertyList.h"
#include "quorlinctl/StyledLine.h"

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

/// The agent's reply, processes of one name together, the largest traffic first. What a sender left out or
/// wrote as another kind is left out.
std::vector<NetworkApplication> networkApplicationsOf(const Dictionary& userInfo,
                                                      const std::function<std::string(std::int32_t)>& nameOf);

/// One line an application below a heading, each within the columns.
std::vector<std::string> renderApplications(const std::vector<NetworkApplication>& applications, int columns,
                                            Appearance appearance);

}  // namespace quorlin
