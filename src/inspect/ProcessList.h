/// Reads the text that ps prints.
#pragma once

#include "platform/values/PropertyList.h"

namespace quorlin {

/// The processor share in the second line of the output, 0 when that line holds no number, -1 when the
/// bytes are not UTF-8 or there is no second line.
float processorShareFromPsOutput(const Data& output);

}  // namespace quorlin
