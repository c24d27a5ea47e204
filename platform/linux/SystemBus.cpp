// SPDX-License-Identifier: Apache-2.0
#include "platform/linux/SystemBus.h"

#include <utility>

namespace platform {
namespace {

using Connection = std::shared_ptr<GDBusConnection>;

struct FreeError {
  void operator()(GError* error) const { g_error_free(error); }
};
using Error = std::unique_ptr<GError, FreeError>;

/// A function that C calls through a pointer, until GLib destroys it with `destroy`.
template <typename Function>
struct Callback {
  Function function;
  static Callback& at(gpointer pointer) { return *static_cast<Callback*>(pointer); }
  static void destroy(gpointer pointer) { delete static_cast<Callback*>(pointer); }
};

using Connected = std::function<void(GDBusConnection*, const std::string&)>;
using Answered = std::function<void(const BusReply&)>;

BusReply replyOf(GVariant* value, const GError* error) {
  BusReply reply;
  reply.value.reset(value);
  if (value != nullptr) return reply;
  if (gchar* const name = g_dbus_error_get_remote_error(error)) {
    reply.error = name;
    g_free(name);
  } else if (error->domain == G_IO_ERROR && error->code == G_IO_ERROR_TIMED_OUT) {
    reply.error = "org.freedesktop.DBus.Error.NoReply";
  }
  Error text(g_error_copy(error));
  g_dbus_error_strip_remote_error(text.get());
  reply.message = text->message;
  return reply;
}

bool isCancelled(const Error& error) {
  return error && g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED);
}

void onConnected(GObject* /*source*/, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Callback<Connected>> callback(&Callback<Connected>::at(data));
  GError* raw = nullptr;
  GDBusConnection* const connection = g_dbus_connection_new_for_address_finish(result, &raw);
  const Error error(raw);
  if (isCancelled(error)) return;
  callback->function(connection, error ? error->message : "");
}

void onAnswer(GObject* source, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Callback<Answered>> callback(&Callback<Answered>::at(data));
  GError* raw = nullptr;
  GVariant* const value = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &raw);
  const Error error(raw);
  if (!isCancelled(error)) callback->function(replyOf(value, error.get()));
}

struct Subscriber {
  std::string type;
  SystemBus::OnSignal heard;
};

void onSignal(GDBusConnection* /*connection*/, const gchar* /*sender*/, const gchar* path,
              const gchar* /*interface*/, const gchar* /*member*/, GVariant* arguments,
              gpointer data) {
  const Subscriber& subscriber = Callback<Subscriber>::at(data).function;
  if (g_variant_is_of_type(arguments, G_VARIANT_TYPE(subscriber.type.c_str())) != FALSE) {
    subscriber.heard(path, arguments);
  }
}

struct Watcher {
  std::function<void(const std::string&)> appeared;
  std::function<void()> vanished;
};

void onAppeared(GDBusConnection* /*connection*/, const gchar* /*name*/, const gchar* owner,
                gpointer data) {
  Callback<Watcher>::at(data).function.appeared(owner);
}

void onVanished(GDBusConnection* connection, const gchar* /*name*/, gpointer data) {
  // Null when the connection was lost, which `lost` tells of.
  if (connection != nullptr) Callback<Watcher>::at(data).function.vanished();
}

struct Object {
  std::function<GVariant*(const char*, GVariant*)> called;
  std::function<GVariant*(const char*)> read;
};

void onMethod(GDBusConnection* /*connection*/, const gchar* /*sender*/, const gchar* /*path*/,
              const gchar* /*interface*/, const gchar* method, GVariant* arguments,
              GDBusMethodInvocation* invocation, gpointer data) {
  g_dbus_method_invocation_return_value(
      invocation, Callback<Object>::at(data).function.called(method, arguments));
}

GVariant* onRead(GDBusConnection* /*connection*/, const gchar* /*sender*/, const gchar* /*path*/,
                 const gchar* /*interface*/, const gchar* property, GError** /*error*/,
                 gpointer data) {
  return Callback<Object>::at(data).function.read(property);
}

constexpr GDBusInterfaceVTable kObjectTable = {onMethod, onRead, nullptr, {}};

/// `function`, but nothing once `cancellable` is cancelled: what was on its way then is dropped.
template <typename... Arguments>
std::function<void(Arguments...)> until(std::shared_ptr<GCancellable> cancellable,
                                        std::function<void(Arguments...)> function) {
  return [cancellable = std::move(cancellable),
          function = std::move(function)](Arguments... arguments) {
    if (g_cancellable_is_cancelled(cancellable.get()) == FALSE) function(arguments...);
  };
}

}  // namespace

SystemBus::SystemBus(MainContext context, std::function<void()> opened,
                     std::function<void(const std::string&)> lost)
    : context_(std::move(context)),
      opened_(std::move(opened)),
      lost_(std::move(lost)),
      cancellable_(g_cancellable_new(), g_object_unref) {
  const ThreadDefault scope(context_);
  // Reads an environment variable, so it does not block.
  gchar* const address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr);
  const auto flags =
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  g_dbus_connection_new_for_address(
      address, flags, nullptr, cancellable_.get(), onConnected,
      new Callback<Connected>{[this](GDBusConnection* connection, const std::string& fault) {
        connected(connection, fault);
      }});
  g_free(address);
}

SystemBus::~SystemBus() { close(); }

void SystemBus::connected(GDBusConnection* connection, const std::string& fault) {
  if (connection == nullptr) {
    lost_(fault);
    return;
  }
  connection_ = Connection(connection, g_object_unref);
  closedHandler_ = g_signal_connect(connection, "closed", G_CALLBACK(onClosed), this);
  opened_();
}

void SystemBus::onClosed(GDBusConnection* /*connection*/, gboolean /*byPeer*/, GError* error,
                         gpointer bus) {
  auto& self = *static_cast<SystemBus*>(bus);
  self.lost_(error != nullptr ? error->message : "closed");
}

void SystemBus::close() {
  g_cancellable_cancel(cancellable_.get());
  const Connection connection = std::exchange(connection_, nullptr);
  if (!connection) return;
  g_signal_handler_disconnect(connection.get(), closedHandler_);
  g_dbus_connection_close(connection.get(), nullptr, nullptr, nullptr);
}

void SystemBus::call(const Call& call, std::function<void(const BusReply&)> answered) {
  const ThreadDefault scope(context_);
  g_dbus_connection_call(connection_.get(), call.destination, call.path.c_str(), call.interface,
                         call.method, call.arguments,
                         call.answer != nullptr ? G_VARIANT_TYPE(call.answer) : nullptr,
                         call.starts ? G_DBUS_CALL_FLAGS_NONE : G_DBUS_CALL_FLAGS_NO_AUTO_START,
                         static_cast<gint>(call.timeout.count()), cancellable_.get(), onAnswer,
                         new Callback<Answered>{std::move(answered)});
}

SystemBus::Registration SystemBus::subscribe(const Match& match, OnSignal heard) {
  const ThreadDefault scope(context_);
  const guint id = g_dbus_connection_signal_subscribe(
      connection_.get(), match.sender, match.interface, match.member, match.path,
      match.firstArgument, G_DBUS_SIGNAL_FLAGS_NONE, onSignal,
      new Callback<Subscriber>{{match.arguments, until(cancellable_, std::move(heard))}},
      Callback<Subscriber>::destroy);
  return {nullptr, [connection = connection_, id](void*) {
            g_dbus_connection_signal_unsubscribe(connection.get(), id);
          }};
}

SystemBus::Registration SystemBus::watch(const char* name,
                                         std::function<void(const std::string&)> appeared,
                                         std::function<void()> vanished) {
  const ThreadDefault scope(context_);
  const guint id = g_bus_watch_name_on_connection(
      connection_.get(), name, G_BUS_NAME_WATCHER_FLAGS_NONE, onAppeared, onVanished,
      new Callback<Watcher>{
          {until(cancellable_, std::move(appeared)), until(cancellable_, std::move(vanished))}},
      Callback<Watcher>::destroy);
  return {nullptr, [id](void*) { g_bus_unwatch_name(id); }};
}

void SystemBus::emit(const char* path, const char* interface, const char* signal,
                     GVariant* arguments) {
  g_dbus_connection_emit_signal(connection_.get(), nullptr, path, interface, signal, arguments,
                                nullptr);
}

SystemBus::Registration SystemBus::offer(
    const char* path, const char* interfaceXML,
    std::function<GVariant*(const char* method, GVariant* arguments)> called,
    std::function<GVariant*(const char* property)> read) {
  const ThreadDefault scope(context_);
  GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(interfaceXML, nullptr);
  const guint id =
      g_dbus_connection_register_object(connection_.get(), path, node->interfaces[0], &kObjectTable,
                                        new Callback<Object>{{std::move(called), std::move(read)}},
                                        Callback<Object>::destroy, nullptr);
  g_dbus_node_info_unref(node);
  return {nullptr, [connection = connection_, id](void*) {
            g_dbus_connection_unregister_object(connection.get(), id);
          }};
}

}  // namespace platform
