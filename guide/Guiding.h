// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "guide/Listener.h"

namespace guide {

/// The library on its adapters, as a host that runs for days: it logs in, and again when the token
/// has expired or the network is back, listens live or plays a recording, and brings what comes on
/// its threads to the one thread of its listener. One in a process, which installs the services;
/// made, used and destroyed on the listener's thread. Nothing blocks that for longer than a file
/// takes to be written.
class Guiding {
 public:
  struct Options {
    /// HOST:PORT that connections go to in place of the API host; empty for the API host itself.
    std::string connect = {};
    /// File of the certificates to trust; empty for the system's.
    std::string ca = {};
    /// A btsnoop file that is played in place of the radio, and a GPX file for it; empty for none.
    std::string capture = {};
    std::string track = {};
    /// Times the recorded pace.
    double speed = 1.0;
    /// Identifier of the application: of its desktop file, and its folder of preferences.
    std::string application = "example.brivane.Guide";
    /// "hci0" or an address; empty for whichever there is.
    std::string adapter = {};
  };

  /// What a person may change.
  struct Wanted {
    /// The network's property list.
    std::string info;
    /// Positions too.
    bool positions = false;
  };

  /// Runs a task soon on the listener's thread. Any thread.
  using Post = std::function<void(std::function<void()>)>;

  /// Throws std::exception, one line for a person, for an option or a file that cannot be used.
  Guiding(const Options& options, Post post, Listener& listener);
  /// Nothing is told afterwards.
  ~Guiding();
  Guiding(const Guiding&) = delete;
  Guiding& operator=(const Guiding&) = delete;

  /// Guides until it is stopped; again with what is wanted now, if it does already.
  void start(const Wanted& wanted);
  void stop();
  bool isGuiding() const;
  /// Logs in at once, if it is waiting to try again.
  void tryAgain();

  /// Asks for the places within `radius` metres of a coordinate; false when there is no session,
  /// and nothing will come then.
  bool askNearby(double latitude, double longitude, std::int64_t radius);

  /// The language of the network's texts; empty when its property list does not say.
  std::string language() const;

 private:
  struct State;

  const std::unique_ptr<State> state_;
};

}  // namespace guide
