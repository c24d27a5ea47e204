// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>

namespace platform {

/// A Bluetooth adapter, as BlueZ tells of it.
struct BlueZAdapter {
  std::string address;
  bool powered = false;
  bool discovering = false;
  bool offersMonitor = false;
};

/// Chooses which of BlueZ's adapters serves. Makes no call and reads no clock: told what adapters
/// there are and which of them has heard something, it says which to use.
///
/// Where one was asked for, no other serves. Otherwise one with power is preferred, and among
/// those the one that has proven itself. An adapter is recognised by its address: after a reset
/// it may be back under another path, and later than others.
class AdapterChoice {
 public:
  /// `wanted` is a name, "hci0", or an address; empty for whichever adapter there is.
  explicit AdapterChoice(std::string wanted) : wanted_(std::move(wanted)) {}

  /// The adapter at an object path; one that is new there knows nothing of itself yet.
  BlueZAdapter& at(const std::string& path) { return adapters_[path]; }
  /// Null when there is none at the path.
  BlueZAdapter* find(const std::string& path);
  void remove(const std::string& path) { adapters_.erase(path); }
  /// The daemon is gone, and its adapters with it. Which one has proven itself is remembered.
  void removeAll() { adapters_.clear(); }

  /// Something was heard through the adapter at the path, which exists.
  void prove(const std::string& path) { address_ = adapters_.at(path).address; }

  /// Path of the adapter that serves; empty when there is none.
  std::string choose();

 private:
  using Entry = std::map<std::string, BlueZAdapter>::value_type;

  /// How well an adapter would serve, the higher the better; absent where it must not.
  std::optional<int> rank(const Entry& adapter) const;

  const std::string wanted_;
  std::map<std::string, BlueZAdapter> adapters_;
  /// Of the adapter that was asked for, once it was seen, or that has heard something last.
  std::string address_;
};

}  // namespace platform
