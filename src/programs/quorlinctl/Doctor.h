/// quorlinctl doctor: says what is missing on this machine and why.
#pragma once

#include "quorlinctl/Arguments.h"
#include "quorlinctl/Checks.h"
#include "quorlinctl/StyledLine.h"

namespace quorlin {

/// One line: state, subject, finding, and what to do.
std::string lineOf(const CheckResult& check, Appearance appearance);

/// {"complete": bool, "checks": [{"state", "subject", "finding", "advice" or null}]} on one line, without its
/// end.
std::string jsonLineOf(const std::vector<CheckResult>& checks);

/// The same, of something that is switched off: what is missing need not be mended.
std::vector<CheckResult> asNotes(std::vector<CheckResult> checks);

/// Whether nothing is missing.
bool isComplete(const std::vector<CheckResult>& checks);

int examine(const DoctorOptions& options);

}  // namespace quorlin
