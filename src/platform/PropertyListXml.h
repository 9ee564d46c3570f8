/// Property lists in XML.
#pragma once

#include "platform/values/PropertyList.h"

#include <optional>

namespace quorlin {

/// The property list that a document holds; of two equal keys in a dictionary the first counts. Nothing when
/// the bytes are not one, or go further than any that is read here: past 8 MB, or past 64 collections inside
/// each other. Any thread.
std::optional<PropertyList> propertyListFromXml(const Data& document);

}  // namespace quorlin
