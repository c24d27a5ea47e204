// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <functional>
#include <memory>

#include "platform/Location.h"
#include "platform/Log.h"
#include "platform/Mutex.h"

namespace platform {

/// What location managers have to report to their delegates, in order. Reports are added under the
/// locks of the location logic and delivered without any, so that a delegate may call everything.
/// Any thread adds; one delivers.
class ReportQueue {
 public:
  /// A location manager, as the queue needs it.
  class Manager : public CLLocationManager {
   public:
    /// Null when there is none, or it is gone.
    virtual std::shared_ptr<CLLocationManagerDelegate> delegate() const = 0;
  };

  using Call = std::function<void(CLLocationManagerDelegate&, CLLocationManager&)>;

  struct Report {
    std::weak_ptr<Manager> manager;
    /// What the report is about. A report is dropped when that has gone: nothing is reported about
    /// a region after it was stopped.
    std::weak_ptr<const void> subject;
    Call call;
  };

  /// An exception that leaves a delegate ends here, with a line in `log` unless that is null.
  explicit ReportQueue(std::shared_ptr<Log> log);

  void add(Report report);
  bool isEmpty() const;
  /// Delivers all reports, also those that are added meanwhile.
  void deliver();

 private:
  bool takeFirst(Report& report);

  const std::shared_ptr<Log> log_;
  mutable Mutex mutex_;
  std::deque<Report> reports_ BRIVANE_GUARDED_BY(mutex_);
};

}  // namespace platform
