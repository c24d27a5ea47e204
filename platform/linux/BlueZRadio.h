#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Log.h"
#include "platform/UUID.h"
#include "platform/linux/BlueZDevices.h"
#include "platform/linux/BlueZMonitor.h"
#include "platform/linux/DiscoverySchedule.h"
#include "platform/linux/MainContext.h"
#include "platform/linux/SystemBus.h"
#include "platform/location/Advertisement.h"

namespace platform {

/// The radio: hears beacons through BlueZ's daemon for as long as it lives, and goes on by itself
/// after anything that happens to the daemon, the adapter or the bus. Lives on the thread of its
/// context; never destroyed from inside one of its own calls.
class BlueZRadio {
 public:
  struct Status {
    bool listening = false;
    /// Why it does not, one line for a person that says what to do; empty while it is on the way.
    std::string fault;
    /// Whether policy forbids it; absent until the daemon has answered, or is known to be absent.
    std::optional<bool> refused;

    friend bool operator==(const Status&, const Status&) = default;
  };

  struct Options {
    /// "hci0" or an address; empty for whichever there is.
    std::string adapter;
    /// Networks that a monitor may watch for. When there is none, the daemon is asked whether it
    /// would listen, and nothing is begun.
    std::set<UUID> networks;
    /// For what is mended without the host's knowledge; may be null.
    std::shared_ptr<Log> log;
    std::function<void(const Advertisement&)> onHeard;
    std::function<void(const Status&)> onStatus;
  };

  BlueZRadio(MainContext context, Options options);

  const std::set<UUID>& networks() const { return options_.networks; }

  /// Ends it at once; nothing is called afterwards. May be called from inside its own calls.
  void close();

 private:
  struct Adapter {
    std::string address;
    bool powered = false;
    bool discovering = false;
    bool offersMonitor = false;
  };
  using Adapters = std::map<std::string, Adapter>;

  /// How far the way to an adapter has been gone.
  enum class Stage { kConnecting, kNoBus, kNoDaemon, kAsking, kKnown };

  void open();
  void onTimer();
  void onBusLost(const std::string& fault);
  void onDaemonAppeared(const std::string& daemon);
  void onDaemonVanished();
  void forgetDaemon();
  void reopenIn(Duration pause);
  void readObjects(const BusReply& reply);
  void readObject(const std::string& path, GVariant* interfaces);
  void onInterfacesAdded(GVariant* arguments);
  void onInterfacesRemoved(GVariant* arguments);
  void onDeviceChanged(const std::string& path, GVariant* arguments);
  void onAdapterChanged(const std::string& path, GVariant* arguments);
  void updateAdapter(const std::string& path, GVariant* properties);

  /// Decides which adapter serves, and whether it can.
  void chooseAdapter();
  /// How much is to be said for one; absent for one that does not come into question.
  std::optional<int> rank(const Adapters::value_type& adapter) const;
  void startMonitor();

  void proceed();
  void perform(DiscoverySchedule::Call call);
  void finish(DiscoverySchedule::Call call, const BusReply& reply);
  void hear(const std::string& path, const std::optional<Advertisement>& advertisement);
  void publish();
  std::string fault() const;
  void arm();
  void log(const std::string& line) const;

  const MainContext context_;
  const Options options_;
  Timer timer_;
  DiscoverySchedule schedule_;
  BlueZDevices devices_;
  Adapters adapters_;
  /// Path of the adapter that serves; empty when there is none.
  std::string adapter_;
  /// Address of the adapter that was chosen, or through which something was heard last: after a
  /// reset it may be back under another path, and later than others.
  std::string address_;
  bool provenHere_ = false;
  bool usable_ = false;
  Stage stage_ = Stage::kConnecting;
  /// Unique name of the daemon.
  std::string daemon_;
  /// Counts the reasons to forget what is under way.
  int epoch_ = 0;
  /// Why the latest attempt failed; empty when it did not.
  std::string failure_;
  std::optional<bool> refused_;
  Status status_;
  std::optional<Instant> reopenAt_;
  /// Until when the daemon may still find adapters.
  Instant adaptersDue_{};
  std::optional<Instant> armed_;
  bool closed_ = false;
  std::unique_ptr<SystemBus> bus_;
  SystemBus::Registration watch_;
  std::vector<SystemBus::Registration> signals_;
  std::unique_ptr<BlueZMonitor> monitor_;
};

}  // namespace platform
