// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** A log on standard error. Line breaks and other control characters are printed as "?". */
public final class StandardErrorLog implements Log {
  @Override
  public void write(String line) {
    System.err.println(line.replaceAll("\\p{Cntrl}", "?"));
  }
}
