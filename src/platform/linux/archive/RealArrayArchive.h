/// The keyed archive of an array of numbers, written directly: the agent makes two of them every tick, and a
/// library's tree of nodes would cost more than the rest of the sample.
#pragma once

#include "platform/values/PropertyList.h"

#include <vector>

namespace quorlin {

/// The same graph as the general archiver writes, as a binary property list.
Data archivedArrayOfReals(const std::vector<double>& values);

}  // namespace quorlin
