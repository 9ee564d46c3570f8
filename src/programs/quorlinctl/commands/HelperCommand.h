/// quorlinctl helper: installs and removes the root helper.
#pragma once

#include "programs/quorlinctl/commands/Arguments.h"

namespace quorlin {

/// Returns the process's exit status; when installing, the installer's. The action is "install" or
/// "remove".
Result<int, UsageError> changeHelper(const std::string& action);

}  // namespace quorlin
