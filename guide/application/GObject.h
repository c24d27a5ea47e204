// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib-object.h>

#include <memory>

namespace guide {

struct Unref {
  void operator()(gpointer object) const { g_object_unref(object); }
};

/// A reference to an object of GLib's, given back at the end. Within a function, g_autoptr does.
template <typename Type>
using Ref = std::unique_ptr<Type, Unref>;

/// Connects `signal` of `object` to the member function `method` of `target`, which lives as long
/// as the object and gets nothing of what the signal bears.
template <auto method, typename Target>
void connect(gpointer object, const char* signal, Target& target) {
  const auto call = +[](gpointer self) { (static_cast<Target*>(self)->*method)(); };
  g_signal_connect_swapped(object, signal, G_CALLBACK(call), &target);
}

}  // namespace guide
