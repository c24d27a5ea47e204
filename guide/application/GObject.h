// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib-object.h>

#include <memory>
#include <string>

namespace guide {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};

/// A reference to an object of GLib's, given back at the end.
template <typename Type>
using Ref = std::unique_ptr<Type, Unref>;

struct Free {
  void operator()(gpointer memory) const { g_free(memory); }
};

/// A text that GLib has allocated.
using Text = std::unique_ptr<char, Free>;

/// A GError to be filled in by a call.
class Fault {
 public:
  Fault() = default;
  ~Fault() { g_clear_error(&error_); }
  Fault(const Fault&) = delete;
  Fault& operator=(const Fault&) = delete;

  GError** out() { return &error_; }
  std::string message() const { return error_ != nullptr ? error_->message : ""; }

 private:
  GError* error_ = nullptr;
};

/// Connects `signal` of `object` to the member function `method` of `target`, which lives as long
/// as the object and gets nothing of what the signal bears.
template <auto method, typename Target>
void connect(gpointer object, const char* signal, Target& target) {
  const auto call = +[](gpointer self) { (static_cast<Target*>(self)->*method)(); };
  g_signal_connect_swapped(object, signal, G_CALLBACK(call), &target);
}

}  // namespace guide
