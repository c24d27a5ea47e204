// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** What this library is, and which network it serves. */
public final class Brivane {
  private Brivane() {}

  /** As "1.0.0". */
  public static String version() {
    return Texts.of(Bridge.info(0));
  }

  /** Host name of the web service. */
  public static String apiHost() {
    return Texts.of(Bridge.info(1));
  }

  /** Proximity UUID that every beacon of the network sends: 36 characters, upper-case. */
  public static String proximityUUID() {
    return Texts.of(Bridge.info(2));
  }

  /** The identifier of this installation; null before services are installed. */
  public static String installationID() {
    return Texts.of(Bridge.info(3));
  }
}
