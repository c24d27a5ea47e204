// SPDX-License-Identifier: Apache-2.0
#include "platform/location/ReportQueue.h"

#include <utility>

#include "platform/HostCall.h"

namespace platform {

ReportQueue::ReportQueue(std::shared_ptr<Log> log) : log_(std::move(log)) {}

void ReportQueue::add(Report report) {
  const MutexLock lock(mutex_);
  reports_.push_back(std::move(report));
}

bool ReportQueue::isEmpty() const {
  const MutexLock lock(mutex_);
  return reports_.empty();
}

bool ReportQueue::takeFirst(Report& report) {
  const MutexLock lock(mutex_);
  if (reports_.empty()) return false;
  report = std::move(reports_.front());
  reports_.pop_front();
  return true;
}

void ReportQueue::deliver() {
  for (Report report; takeFirst(report);) {
    const auto manager = report.manager.lock();
    if (!manager || report.subject.expired()) continue;
    const auto delegate = manager->delegate();
    if (delegate) callHost([&] { report.call(*delegate, *manager); }, log_.get());
  }
}

}  // namespace platform
