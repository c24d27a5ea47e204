// SPDX-License-Identifier: Apache-2.0
#ifndef BRIVANE_ADAPTERS_H
#define BRIVANE_ADAPTERS_H

/// @file
/// The library's own services on Linux, for a host that brings none: HTTPS over libcurl, with what
/// the service answered before where there is no network, preferences and the property list in
/// files, and BlueZ and GeoClue, or a recording in their place.

#include <stdbool.h>

#include "brivane.h"

#ifdef __cplusplus
extern "C" {
#endif

/// What a host chooses of them.
typedef struct brivane_adapters_options {
  /// The file Info.plist.
  const char* info;
  /// Identifies the application, such as "org.example.Walk": names the folder of its preferences
  /// and its desktop file, by which GeoClue knows it.
  const char* application;
  /// Whether positions are wanted at all.
  bool positions;
  /// A log on standard error; it holds credentials and tokens.
  bool log;
  /// The Bluetooth adapter, as "hci0"; NULL for whichever there is.
  const char* adapter;

  /// A btsnoop file to be replayed, by `brivane_adapters_replay`; NULL to listen live.
  const char* capture;
  /// Recorded seconds a second; 0 for one.
  double speed;

  /// "HOST:PORT" in place of the web service, which must bear its certificate; NULL for the
  /// service.
  const char* connect_to;
  /// File of the certificates to trust, PEM; NULL for the system's.
  const char* ca_file;

  /// Whether what the service answers is kept, in the user's data, and given where it does not
  /// answer; without it a manager then becomes ready with what is kept. On such a session a host
  /// makes a new manager when `on_network` says that the network is back, after a random delay.
  bool offline;

  /// May be NULL.
  const brivane_observer* observer;
} brivane_adapters_options;

/// NULL on failure, which names the file. To be called on the thread that creates managers; to
/// listen live, a main loop of GLib runs there.
BRIVANE_C_EXPORT brivane_adapters* brivane_adapters_create(const brivane_adapters_options* options,
                                                           brivane_failure* failure);

/// Plays the recording, and calls delegates meanwhile, until one second after its end.
BRIVANE_C_EXPORT brivane_status brivane_adapters_replay(brivane_adapters* adapters,
                                                        brivane_failure* failure);

/// Ends every request, and returns when what they had to tell is told. Once it has returned no
/// reply brings a call any more. Then they are gone; what was installed stays and does nothing.
/// NULL is allowed. On the thread that made them, not from inside a callback.
BRIVANE_C_EXPORT void brivane_adapters_shutdown(brivane_adapters* adapters);

#ifdef __cplusplus
}
#endif

#endif
