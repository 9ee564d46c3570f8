/// The helper's operations. Each computes the key when it is called.
#include "core/AppDelegate.h"

namespace quorlin {

bool AppDelegate::installHelper() { return helper_.install(); }

void AppDelegate::getHelperVersion(const Completion& completion) { helper_.getVersion(completion); }

void AppDelegate::getStatisticsData(const Completion& completion) {
  helper_.getCoreMetrics(currentKey(), completion);
}

void AppDelegate::limitCharge(const Completion& completion, bool mode) {
  helper_.limitCharge(currentKey(), mode, completion);
}

void AppDelegate::uninstallHelper() { helper_.uninstall(currentKey()); }

std::string AppDelegate::currentKey() {
  key_ = getKey();
  return key_.value_or("");
}

}  // namespace quorlin
