/// Property lists as D-Bus values: integer x, real d, boolean b, string s, data ay, date (x) in seconds since
/// 1970, array av, dictionary a{sv}.
#pragma once

#include "platform/values/PropertyList.h"

#include <systemd/sd-bus.h>

namespace quorlin {

/// Appends an a{sv}. Throws BusError; the message is then unusable.
void appendDictionary(sd_bus_message* message, const Dictionary& dictionary);

/// Reads the a{sv} that comes next. Other senders may write numbers in any of D-Bus's integer types. Throws
/// BusError for what is not one, holds a value without a counterpart, or nests deeper than 32 levels.
Dictionary readDictionary(sd_bus_message* message);

}  // namespace quorlin
