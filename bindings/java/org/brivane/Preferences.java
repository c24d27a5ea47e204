// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** The application's small store of texts that outlive it. Any thread, several at once. */
public interface Preferences {
  /** Null when there is none. */
  String get(String key);

  void set(String key, String value);

  /** Brings what was set to permanent storage; false when that failed. */
  boolean synchronize();
}
