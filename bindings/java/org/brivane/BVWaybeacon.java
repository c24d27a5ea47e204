// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** A beacon of the network as the service describes it. Texts are null where it sent none. */
public final class BVWaybeacon {
  /** The beacon's identifier at the service. */
  public final String uuid;

  public final String name;

  /** Where the beacon is, in words. */
  public final String location;

  /** Accessibility information, in words. Spelled as the service spells it. */
  public final String accesibility;

  public final String url;

  /** What is attached to the beacon, as JSON. */
  public final String payload;

  /** Degrees, as is the longitude; 0 where the service sent none. */
  public final double latitude;

  public final double longitude;

  BVWaybeacon(Texts texts, double latitude, double longitude) {
    uuid = texts.next();
    name = texts.next();
    location = texts.next();
    accesibility = texts.next();
    url = texts.next();
    payload = texts.next();
    this.latitude = latitude;
    this.longitude = longitude;
  }
}
