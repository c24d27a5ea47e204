// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/**
 * Monitors and ranges the network's region, all beacons with {@link Brivane#proximityUUID}, and
 * tracks the position. Operations may be called on any thread and take effect soon after.
 */
public interface LocationManager {
  /** Asks the user for permanent authorisation. */
  void requestAlwaysAuthorization();

  void startMonitoring();

  void stopMonitoring();

  /** Answered once, later, by {@link LocationReports#state}. */
  void requestState();

  void startRanging();

  void stopRanging();

  /** Metres. */
  void setDesiredAccuracy(double metres);

  /** How far the device must have moved since the last position, metres; -1 for no filter. */
  void setDistanceFilter(double metres);

  void startUpdatingLocation();

  void stopUpdatingLocation();

  /** Stops everything; what is still reported reaches nobody. Also from inside a report. */
  void close();
}
