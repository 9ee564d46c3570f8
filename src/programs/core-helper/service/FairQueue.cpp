#include "programs/core-helper/service/FairQueue.h"

#include <utility>

namespace quorlin {
namespace {

/// What a call takes in memory besides its bytes.
constexpr std::size_t kOverhead = 128;

}  // namespace

bool FairQueue::push(const std::string& caller, std::string message) {
  const std::size_t size = message.size() + kOverhead;
  Waiting& waiting = callers_[caller];
  if (bytes_ > kMuch && waiting.bytes > kMuchOfACaller) return false;
  if (waiting.messages.empty()) turns_.push_back(caller);
  waiting.messages.push_back(std::move(message));
  waiting.bytes += size;
  bytes_ += size;
  return true;
}

std::string FairQueue::pop() {
  const auto caller = callers_.find(turns_.front());
  Waiting& waiting = caller->second;
  std::string message = std::move(waiting.messages.front());
  waiting.messages.pop_front();
  waiting.bytes -= message.size() + kOverhead;
  bytes_ -= message.size() + kOverhead;
  if (waiting.messages.empty()) {
    callers_.erase(caller);
  } else {
    turns_.push_back(turns_.front());
  }
  turns_.pop_front();
  return message;
}

}  // namespace quorlin
