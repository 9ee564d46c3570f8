/// Installing the root helper.
#pragma once

#include "platform/values/PropertyList.h"

#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace quorlin {

/// The system's record that this program may ask for rights; given back when it is destroyed.
class Authorization {
 public:
  Authorization() = default;
  Authorization(const Authorization&) = delete;
  Authorization& operator=(const Authorization&) = delete;
  virtual ~Authorization() = default;

  /// A 32-byte form for another process, or nothing.
  virtual std::optional<Data> externalForm() const = 0;
};

class JobBlessing {
 public:
  virtual ~JobBlessing() = default;

  /// Without any rights so far. Null on a system that keeps no such record and asks at each use.
  virtual std::unique_ptr<Authorization> createAuthorization() = 0;

  /// Installs the helper that comes with the agent as the system's service of that name. The user may be
  /// asked to authenticate, for as long as that takes; this returns at once. The completion runs on the main
  /// thread, exactly once, after the return; never once the blessing is destroyed. Main thread only.
  virtual void bless(std::string_view label, const Authorization* authorization,
                     std::function<void(bool installed)> completion) = 0;
};

}  // namespace quorlin
