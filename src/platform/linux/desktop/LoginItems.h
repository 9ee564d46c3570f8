/// Login items as entries of the user's autostart folder.
#pragma once

#include "platform/Log.h"
#include "platform/LoginItems.h"
#include "platform/linux/processes/BundledPrograms.h"

#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace quorlin {

class XdgLoginItems final : public LoginItems {
 public:
  /// The one login item: a program in the bundle. The log outlives it.
  XdgLoginItems(std::string_view identifier, std::string_view program, Log& log,
                std::filesystem::path bundle = bundleFolder())
      : identifier_(identifier), program_(program), log_(log), bundle_(std::move(bundle)) {}

  /// Logs why it fails.
  bool setEnabled(std::string_view identifier, bool enabled) override;

  /// Why the last call failed; empty if it did not, and once it was taken. Any thread.
  std::string takeTrouble();

 private:
  std::string identifier_;
  std::string program_;
  Log& log_;
  std::filesystem::path bundle_;
  std::mutex mutex_;
  std::string trouble_;
};

}  // namespace quorlin
