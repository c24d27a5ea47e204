// SPDX-License-Identifier: Apache-2.0
package org.brivane;

import java.util.List;

/**
 * What the application hears from its manager. Calls come on two threads, perhaps at the same time:
 * one of the library's own, for what a reply brought, and the thread that created the manager, for
 * what the location service brought. An exception that leaves one ends there, with a line in the
 * log. Any operation of the manager may be called from inside one.
 */
public interface BVManagerDelegate {
  /**
   * Detection can be started from now on. Either thread; it may come before {@link
   * BVManager#create} has returned.
   */
  void didIsReady();

  /** Detection has started, but not all of it. From inside {@link BVManager#startDetection}. */
  void didErrorFound(BVError error);

  /** About once a second for each beacon in range, and for positions. Either thread. */
  void didBVMatch(BVAPIResolve match);

  /** The places that were asked for, in the service's order; null when there are none. */
  void didNearestWaybeacons(List<BVWaybeaconDistance> places);
}
