// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** A place with its distance from the coordinate that was asked for. */
public final class BVWaybeaconDistance {
  /** In the unit that the service sends. */
  public final double distance;

  public final BVLocal local;

  BVWaybeaconDistance(Texts texts, double distance, long zip) {
    this.distance = distance;
    local = new BVLocal(texts, zip);
  }
}
