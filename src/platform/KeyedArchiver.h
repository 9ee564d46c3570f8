/// Keyed archives: an object graph as a binary property list.
#pragma once

#include "platform/values/PropertyList.h"

#include <optional>

namespace quorlin {

/// Archives a value under "root", in the form in which other implementations of keyed archives read it.
Data archivedDataWithRootObject(const PropertyList& root);

/// The root of an archive, or nothing when the bytes are not one or hold what a property list cannot.
std::optional<PropertyList> unarchiveRootObject(const Data& archive);

}  // namespace quorlin
