/// The session's applications by the names that they own on its bus.
#pragma once

#include "platform/Workspace.h"
#include "platform/linux/ApplicationNames.h"

namespace quorlin {

class BusWorkspace final : public Workspace {
 public:
  explicit BusWorkspace(const ApplicationNames& applicationNames) : applicationNames_(applicationNames) {}

  std::vector<RunningApplication> runningApplications() const override {
    std::vector<RunningApplication> running;
    for (const std::string& name : applicationNames_.names()) running.push_back({name});
    return running;
  }

 private:
  const ApplicationNames& applicationNames_;
};

}  // namespace quorlin
