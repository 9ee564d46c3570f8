/// The application ids that programs own as names on the session bus.
#pragma once

#include "platform/linux/bus/Bus.h"

#include <set>
#include <string>
#include <string_view>

namespace quorlin {

/// Whether a name on a bus belongs to one of this family's programs.
bool isNameOfFamily(std::string_view name);

/// The bus's own signals keep it up to date, so that a look costs nothing. It watches only the names of this
/// family of programs: any other name that came or went would wake the agent in vain. Main thread only.
class ApplicationNames {
 public:
  /// Throws BusError. The bus outlives it.
  explicit ApplicationNames(const Bus& bus);
  ApplicationNames(const ApplicationNames&) = delete;
  ApplicationNames& operator=(const ApplicationNames&) = delete;

  /// Valid for as long as this object lives; changes while the run loop runs.
  const std::set<std::string, std::less<>>& names() const { return names_; }

 private:
  void ownerChanged(sd_bus_message* message);

  std::set<std::string, std::less<>> names_;
  BusSlot changes_;
};

}  // namespace quorlin
