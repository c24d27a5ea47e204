// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>

#include "platform/Log.h"
#include "platform/UUID.h"
#include "platform/linux/AdapterChoice.h"
#include "platform/linux/BlueZConnection.h"
#include "platform/linux/BlueZDevices.h"
#include "platform/linux/BlueZMonitor.h"
#include "platform/linux/BlueZWatch.h"
#include "platform/linux/DiscoverySchedule.h"
#include "platform/linux/MainContext.h"
#include "platform/linux/RadioFault.h"
#include "platform/location/Advertisement.h"
#include "platform/location/Radio.h"

namespace platform {

/// Hears beacons through BlueZ's daemon until it is closed, and goes on by itself after anything
/// that happens to the daemon, the adapter or the bus. Lives on the thread of its context; never
/// destroyed from inside one of its own calls.
class BlueZListening final : private BlueZConnection::Listener {
 public:
  struct Options {
    /// "hci0" or an address; empty for whichever there is.
    std::string adapter;
    /// What is to be heard. When there is no network, the daemon is asked whether it would listen,
    /// and nothing is begun.
    Radio::Wanted wanted;
    /// For what is mended without the host's knowledge; may be null.
    std::shared_ptr<Log> log;
    Radio::Listener& listener;
  };

  BlueZListening(MainContext context, Options options);

  /// Goes on with what is wanted now; false where that takes another listening.
  bool goOn(const Radio::Wanted& wanted);

  /// Ends it at once; nothing is called afterwards. May be called from inside its own calls.
  void close();

 private:
  void onForgotten() override;
  void onStage() override;
  void onObject(const std::string& path, GVariant* interfaces) override;
  void onNewObject(const std::string& path, GVariant* interfaces) override;
  void onRemoved(const std::string& path, const gchar* const* interfaces) override;
  void onAdapterChanged(const std::string& path, GVariant* changed) override;
  void onDeviceChanged(const std::string& path, GVariant* changed, GVariant* invalidated) override;

  /// Takes the adapter that serves now into use.
  void useAdapter();
  void startMonitor();
  void stopDiscovery();
  /// Turns discovery, monitor and watch to what is wanted.
  void chooseWay();
  void onMonitor(const std::string& path);
  void onLooked(bool heard, const BlueZWatch::Beacons& beacons);
  bool hasMonitor() const { return monitor_ && monitor_->isActive(); }

  /// Makes the call that is due, tells the status and sets the timer.
  void proceed();
  void perform(DiscoverySchedule::Call call);
  void call(const char* method, GVariant* arguments, std::function<void(const BusReply&)> answered);
  void finish(DiscoverySchedule::Call call, const BusReply& reply);
  void hear(const std::string& path, const std::optional<Advertisement>& advertisement);
  void publish();
  RadioFault fault() const;
  void arm();
  void log(const std::string& line) const;

  const MainContext context_;
  const Options options_;
  Timer timer_;
  DiscoverySchedule schedule_;
  AdapterChoice adapters_;
  BlueZDevices devices_;
  /// Path of the adapter that serves; empty when there is none.
  std::string adapter_;
  bool powered_ = false;
  bool everyFrame_ = false;
  /// Whether discovery is to run.
  bool discovers_ = false;
  /// Whether something was heard since the adapter was taken into use.
  bool proven_ = false;
  /// Counts the adapters taken into use: the answer of an earlier one is of no use.
  int epoch_ = 0;
  /// Why discovery did not start; empty when it did.
  std::string failure_;
  std::optional<bool> refused_;
  Radio::Status status_;
  /// Until when a daemon that has just started may find adapters.
  Instant adaptersDue_{};
  /// When the timer wakes.
  std::optional<Instant> armed_;
  bool closed_ = false;
  /// Calls the rest of this, so it stands last.
  BlueZConnection connection_;
  std::unique_ptr<BlueZMonitor> monitor_;
  std::unique_ptr<BlueZWatch> watch_;
};

}  // namespace platform
