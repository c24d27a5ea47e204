// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** The service's answer: which beacon of the network, or which place, the device is at. */
public final class BVAPIResolve {
  public final BVWaybeacon waybeacon;

  /** Signal strength as the service returned it, dBm; not the present reading. */
  public final long rssi;

  /** How near the beacon is, in the service's words; may be null. */
  public final String proximity;

  /** The identifier that the service matched; may be null. */
  public final String uuid;

  BVAPIResolve(Texts texts, double latitude, double longitude, long rssi) {
    waybeacon = new BVWaybeacon(texts, latitude, longitude);
    proximity = texts.next();
    uuid = texts.next();
    this.rssi = rssi;
  }
}
