/// Installing the root helper through pkexec.
#pragma once

#include "platform/JobBlessing.h"
#include "platform/Log.h"
#include "platform/RunLoop.h"
#include "platform/linux/processes/BundledPrograms.h"

#include <filesystem>
#include <string>
#include <utility>

namespace quorlin {

/// polkit keeps no authorization for a program: it asks at each use.
class LinuxJobBlessing final : public JobBlessing {
 public:
  /// The references outlive it. The helper lies in the bundle.
  LinuxJobBlessing(RunLoop& runLoop, Log& log, std::filesystem::path bundle = bundleFolder())
      : runLoop_(runLoop), log_(log), bundle_(std::move(bundle)) {}

  std::unique_ptr<Authorization> createAuthorization() override { return nullptr; }

  /// Runs the helper as its own installer. Logs why it does not succeed, and what mends that.
  void bless(std::string_view label, const Authorization* authorization,
             std::function<void(bool installed)> completion) override;

  /// Why the last call did not succeed; empty if it did, and once it was taken. Main thread only.
  std::string takeTrouble() { return std::exchange(trouble_, {}); }

 private:
  RunLoop& runLoop_;
  Log& log_;
  std::filesystem::path bundle_;
  std::string trouble_;
  std::shared_ptr<const bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace quorlin
