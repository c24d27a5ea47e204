// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** Where log lines go. Any thread, several at once; must not call the library. */
public interface Log {
  void write(String line);
}
