// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace guide {

/// What the command line says.
struct Options {
  /// The network's property list; empty for the one that was imported.
  std::string info;
  /// HOST:PORT that connections go to in place of the API host; empty for the API host itself.
  std::string connect;
  /// File of the certificates to trust; empty for the system's.
  std::string ca;
  /// A btsnoop file that is played in place of the radio, and a GPX file for it; empty for none.
  std::string capture;
  std::string track;
  /// Times the recorded pace.
  double speed = 1.0;
  /// Started by the bus, which says what to do next.
  bool service = false;

  /// Whether another process, which guides already, would have to begin anew for them.
  bool hasSource() const {
    return !(info.empty() && connect.empty() && ca.empty() && capture.empty());
  }
};

}  // namespace guide
