/// Where the samples go: standard output as JSON lines, as plain reports, or as a live screen.
#pragma once

#include "platform/NotificationCenter.h"
#include "platform/PowerSources.h"

#include <string>
#include <string_view>
#include <system_error>

namespace quorlin {

/// Writes all of the bytes to a descriptor, however long that takes.
std::error_code writeAll(int descriptor, std::string_view bytes);

/// Says on the error stream, in a line that begins with the program's name, why something failed.
void complain(std::string_view message);

/// Main thread only. An error ends the program; a closed pipe does it without a word.
class Output {
 public:
  virtual ~Output() = default;

  virtual std::error_code show(const Notification& notification) = 0;

  /// Keeps power metrics, to be shown with the next sample.
  virtual void remember(const Notification& /*notification*/) {}

  /// For an output that is waited at: why no sample has come.
  virtual void explainSilence(const std::string& /*reason*/) {}
};

/// Complete samples and power metrics come with the battery's state of that moment.
class JsonOutput final : public Output {
 public:
  /// The power sources outlive it.
  explicit JsonOutput(PowerSources& powerSources) : powerSources_(powerSources) {}

  std::error_code show(const Notification& notification) override;

 private:
  PowerSources& powerSources_;
};

}  // namespace quorlin
