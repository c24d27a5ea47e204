// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gio/gio.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/MainContext.h"

namespace platform {

struct UnrefVariant {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};
using Variant = std::unique_ptr<GVariant, UnrefVariant>;

/// The answer to a D-Bus call: a value, or an error.
struct BusReply {
  /// Null for an error.
  Variant value;
  /// D-Bus name of the error, "org.bluez.Error.NotReady"; its text for a person.
  std::string error;
  std::string message;
};

/// The life of what holds it. Answers may come after who asked for them has gone.
class Life {
 public:
  /// `function`, but nothing once this has gone.
  template <typename Function>
  auto guard(Function function) const {
    return [weak = std::weak_ptr<const void>(life_),
            function = std::move(function)](const auto&... arguments) {
      if (!weak.expired()) function(arguments...);
    };
  }

 private:
  const std::shared_ptr<const void> life_ = std::make_shared<char>();
};

/// A connection of our own to the system bus: what a daemon does for us ends with it, also when
/// this process is killed. Lives on the thread of its context; nothing blocks, and nothing is
/// called back after `close`, which may be called from inside any of its calls.
class SystemBus {
 public:
  struct Call {
    const char* destination;
    std::string path;
    const char* interface;
    const char* method;
    /// May be floating; null for none.
    GVariant* arguments = nullptr;
    /// Type of the answer; one of another type counts as an error. Null for any.
    const char* answer = nullptr;
    std::chrono::milliseconds timeout = std::chrono::seconds(10);
    /// Whether a daemon that does not run is started for this.
    bool starts = false;
  };

  /// What a signal is to match; null matches all. Its arguments must be of the type `arguments`.
  struct Match {
    const char* sender;
    const char* path;
    const char* interface;
    const char* member;
    const char* arguments;
    const char* firstArgument = nullptr;
  };
  /// Arguments of org.freedesktop.DBus.Properties.PropertiesChanged.
  static constexpr const char* kChangedProperties = "(sa{sv}as)";
  static constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
  static constexpr const char* kObjectManager = "org.freedesktop.DBus.ObjectManager";

  using OnSignal = std::function<void(const char* path, GVariant* arguments)>;

  /// Ends what it stands for when it goes. Not to outlive its bus.
  using Registration = std::shared_ptr<void>;

  /// Connects. `opened` is called once it stands; `lost`, with the reason, when it cannot be made
  /// or has broken.
  SystemBus(MainContext context, std::function<void()> opened,
            std::function<void(const std::string&)> lost);
  ~SystemBus();
  SystemBus(const SystemBus&) = delete;
  SystemBus& operator=(const SystemBus&) = delete;

  void close();

  // What follows: once it stands.

  void call(const Call& call, std::function<void(const BusReply&)> answered);

  /// `heard` is called for each such signal.
  Registration subscribe(const Match& match, OnSignal heard);

  /// Calls `appeared` with the unique name of whoever owns `name`, now and later, and `vanished`
  /// while nobody does.
  Registration watch(const char* name, std::function<void(const std::string&)> appeared,
                     std::function<void()> vanished);

  void emit(const char* path, const char* interface, const char* signal, GVariant* arguments);

  /// Offers an object to others. `called` gets each call of its methods and returns the answer,
  /// which may be floating; `read` gives its properties and may be null.
  Registration offer(const char* path, const char* interfaceXML,
                     std::function<GVariant*(const char* method, GVariant* arguments)> called,
                     std::function<GVariant*(const char* property)> read);

 private:
  void connected(GDBusConnection* connection, const std::string& fault);
  static void onClosed(GDBusConnection* connection, gboolean byPeer, GError* error, gpointer bus);

  const MainContext context_;
  const std::function<void()> opened_;
  const std::function<void(const std::string&)> lost_;
  const std::shared_ptr<GCancellable> cancellable_;
  std::shared_ptr<GDBusConnection> connection_;
  gulong closedHandler_ = 0;
};

}  // namespace platform
