// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** A condition that the application must know about. */
public final class BVError {
  /** 1: location services are off, so that positions are not tracked. */
  public final int code;

  /** One line in English. */
  public final String text;

  BVError(int code, String text) {
    this.code = code;
    this.text = text;
  }
}
