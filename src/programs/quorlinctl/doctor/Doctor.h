/// quorlinctl doctor: finds out what is missing on this machine and why; and the part of it that is
/// quorlinctl status.
#pragma once

#include "programs/quorlinctl/doctor/Checks.h"
#include "programs/quorlinctl/terminal/StyledLine.h"

namespace quorlin {

struct CheckResult {
  /// For programs: in kebab case, and the same in every version and language.
  std::string_view id;
  /// For people.
  std::string_view subject;
  Finding finding;
};

/// One line: state, subject, finding and advice.
std::string lineOf(const CheckResult& check, Appearance appearance);

/// {"complete": bool, "checks": [{"id", "state", "subject", "finding", "advice" or null}]} on one line,
/// without a line end.
std::string jsonLineOf(const std::vector<CheckResult>& checks);

/// The same finding about something that is not needed.
Finding asNote(Finding finding);

/// Whether nothing is missing.
bool isComplete(const std::vector<CheckResult>& checks);

/// Status is what the agent's user switches, installs and starts.
enum class Examination { Everything, Status };

/// Runs the checks and prints them. Returns the process's exit status.
int examine(Examination examination, bool asJson);

}  // namespace quorlin
