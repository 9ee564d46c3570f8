/// The calendar time.
#pragma once

#include "platform/values/PropertyList.h"

namespace quorlin {

class Clock {
 public:
  virtual ~Clock() = default;

  virtual Date now() const = 0;
};

}  // namespace quorlin
