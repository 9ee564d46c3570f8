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

/// Null where the platform has no window.
using ConfigurationWindowFactory = std::function<std::unique_ptr<ConfigurationWindow>()>;

}  // namespace quorlin
