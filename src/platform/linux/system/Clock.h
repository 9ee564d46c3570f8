#pragma once

#include "platform/Clock.h"

namespace quorlin {

class LinuxClock final : public Clock {
 public:
  Date now() const override {
    return std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
  }
};

}  // namespace quorlin
