// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/MainContext.h"
#include "platform/linux/SystemBus.h"

namespace platform {

/// The way to BlueZ: connects to the system bus, waits for the daemon, asks what it has, and tells
/// its listener that and each change. When the bus or the daemon goes it begins anew, by itself,
/// until it is closed. Lives on the thread of its context; never destroyed from inside one of its
/// own calls.
class BlueZConnection {
 public:
  static constexpr const char* kAdapter = "org.bluez.Adapter1";
  static constexpr const char* kDevice = "org.bluez.Device1";
  static constexpr const char* kMonitorManager = "org.bluez.AdvertisementMonitorManager1";

  enum class Stage {
    kConnecting,
    /// The bus cannot be reached; tried again every two seconds.
    kNoBus,
    kNoDaemon,
    /// The daemon is there and has been asked for its objects.
    kAsking,
    /// It refused to name them, or failed to; the way is gone again after a while.
    kUnanswered,
    /// It has named them.
    kKnown,
  };

  class Listener {
   public:
    /// Nothing of what was told holds any more, and no call may be made. The listener must not
    /// close the connection here.
    virtual void onForgotten() = 0;
    /// Another stage has been reached. Its objects have been told before kKnown is.
    virtual void onStage() = 0;
    /// The daemon has the object at `path`, with these interfaces (a{sa{sv}}).
    virtual void onObject(const std::string& path, GVariant* interfaces) = 0;
    /// The daemon has just made it.
    virtual void onNewObject(const std::string& path, GVariant* interfaces) = 0;
    /// The object at `path` has lost these interfaces.
    virtual void onRemoved(const std::string& path, const gchar* const* interfaces) = 0;
    /// Properties of kAdapter or kDevice have changed (a{sv}) or are not valid any more (as).
    virtual void onAdapterChanged(const std::string& path, GVariant* changed) = 0;
    virtual void onDeviceChanged(const std::string& path, GVariant* changed,
                                 GVariant* invalidated) = 0;

   protected:
    ~Listener() = default;
  };

  /// Nothing is told before this returns.
  BlueZConnection(MainContext context, Listener& listener);

  /// Ends it at once; nothing is told afterwards. May be called from inside its own calls, except
  /// for onForgotten.
  void close();
  /// Gives the connection up and makes another, when the context runs next.
  void renew() { reopenIn(Duration(0)); }

  Stage stage() const { return stage_; }
  /// Why the bus or the answer failed; for a person.
  const std::string& reason() const { return reason_; }
  /// Whether the answer was withheld by policy.
  bool isRefused() const { return refused_; }

  /// Whether changes of all devices are told, as at first, or only of those that were asked for.
  void tellOfAllDevices(bool all);

  // Between kAsking and onForgotten:

  /// Changes of one device are told while what this returns is held.
  SystemBus::Registration tellOfDevice(const std::string& path) {
    return subscribeToDevices(path.c_str());
  }
  /// What the daemon has now, as the type a{oa{sa{sv}}} in a tuple.
  void askForObjects(std::function<void(const BusReply&)> answered);
  /// The properties of the device at `path`, as the type a{sv} in a tuple.
  void askForDevice(const std::string& path, std::function<void(const BusReply&)> answered);
  static void forEachObject(GVariant* objects,
                            const std::function<void(const std::string&, GVariant*)>& each);

  SystemBus& bus() { return *bus_; }
  /// Unique name of the daemon on the bus.
  const std::string& daemon() const { return daemon_; }

 private:
  void open();
  void forget();
  void reopenIn(Duration pause);
  void enter(Stage stage);
  void onBusLost(const std::string& reason);
  void onDaemonAppeared(const std::string& daemon);
  void subscribe();
  SystemBus::Registration subscribeToDevices(const char* path);
  SystemBus::Registration subscribeToChanges(
      const char* path, const char* interface,
      std::function<void(const char* path, GVariant* changed, GVariant* invalidated)> told);
  void readObjects(const BusReply& reply);

  const MainContext context_;
  Listener& listener_;
  Timer reopening_;
  Stage stage_ = Stage::kConnecting;
  std::string reason_;
  bool refused_ = false;
  std::string daemon_;
  /// Counts the daemons that were met: the answer of an earlier one is of no use.
  int epoch_ = 0;
  std::unique_ptr<SystemBus> bus_;
  SystemBus::Registration watch_;
  std::vector<SystemBus::Registration> signals_;
  bool tellsOfAllDevices_ = true;
  SystemBus::Registration devices_;
};

/// Whether a D-Bus error says that policy forbids the call.
bool isDenied(const std::string& error);

}  // namespace platform
