// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** The device's location service, for a platform that monitors and ranges beacons by itself. */
public interface LocationService {
  // The user's consent.
  int NOT_DETERMINED = 0;
  int RESTRICTED = 1;
  int DENIED = 2;
  int AUTHORIZED_ALWAYS = 3;
  int AUTHORIZED_WHEN_IN_USE = 4;

  /** The present authorisation. Any thread. */
  int authorization();

  /** Whether location services are on at all. Any thread. */
  boolean servicesEnabled();

  /** A new manager, which reports on the calling thread. */
  LocationManager createManager(LocationReports reports);
}
