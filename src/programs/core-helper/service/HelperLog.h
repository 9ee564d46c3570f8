/// The helper's log, which systemd writes into the journal.
#pragma once

#include "platform/posix/TextFile.h"

#include <cstdio>
#include <string>

namespace quorlin {

inline void log(const std::string& text) { std::fprintf(stderr, "%s\n", displayText(text).c_str()); }

}  // namespace quorlin
