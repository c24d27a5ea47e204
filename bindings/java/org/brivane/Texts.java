// SPDX-License-Identifier: Apache-2.0
package org.brivane;

import java.nio.charset.StandardCharsets;

/** Texts as they cross to the native library, UTF-8, read one after another. */
final class Texts {
  private final byte[][] all;
  private int read = 0;

  Texts(byte[][] all) {
    this.all = all;
  }

  boolean hasNext() {
    return read < all.length;
  }

  String next() {
    return of(all[read++]);
  }

  static String of(byte[] text) {
    return text == null ? null : new String(text, StandardCharsets.UTF_8);
  }

  /** With the NUL that ends a text there. */
  static byte[] bytes(String text) {
    return text == null ? null : (text + '\0').getBytes(StandardCharsets.UTF_8);
  }
}
