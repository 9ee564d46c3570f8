/// The configuration window as the agent's core sees it.
#pragma once

#include <functional>
#include <memory>

namespace quorlin {

class ConfigurationWindow {
 public:
  virtual ~ConfigurationWindow() = default;

  virtual void makeKeyAndOrderFront() = 0;
  virtual void uncheckCoreSwitch() = 0;
};

/// Empty if the platform has no window. Returns null if the window cannot be shown.
using ConfigurationWindowFactory = std::function<std::unique_ptr<ConfigurationWindow>()>;

}  // namespace quorlin
