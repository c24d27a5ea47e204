// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** Whom a location manager reports to, on the thread that created it. */
public final class LocationReports {
  /** A beacon of a ranging report. */
  public static final class Beacon {
    /** 0 to 65535, as is the minor. */
    public final int major;

    public final int minor;

    /** 0 unknown, 1 immediate, 2 near, 3 far. */
    public final int proximity;

    /** Estimated distance, metres; negative when unknown. */
    public final double accuracy;

    /** dBm; 0 when there was no reading. */
    public final int rssi;

    public Beacon(int major, int minor, int proximity, double accuracy, int rssi) {
      this.major = major;
      this.minor = minor;
      this.proximity = proximity;
      this.accuracy = accuracy;
      this.rssi = rssi;
    }
  }

  /** States of the region. */
  public static final int UNKNOWN = 0;

  public static final int INSIDE = 1;
  public static final int OUTSIDE = 2;

  private static final int AUTHORIZATION = 0;
  private static final int CROSSING = 1;
  private static final int STATE = 2;
  private static final int POSITION = 3;
  private static final int FAILURE = 4;

  private final Handle handle;

  LocationReports(long reports) {
    handle = new Handle(this, reports, Bridge::destroyReports);
  }

  /** Once after the manager was created, and at each change. */
  public void authorizationChanged() {
    report(AUTHORIZATION, 0, 0, 0, 0, null);
  }

  /** The device entered the region, or left it. */
  public void crossed(boolean entered) {
    report(CROSSING, entered ? 1 : 0, 0, 0, 0, null);
  }

  /** After each crossing, and once for each state request. */
  public void state(int state) {
    report(STATE, state, 0, 0, 0, null);
  }

  /** About once a second while ranging; nearest first, none when none is in range. */
  public void ranged(Beacon... beacons) {
    int[] numbers = new int[4 * beacons.length];
    double[] accuracies = new double[beacons.length];
    for (int i = 0; i < beacons.length; ++i) {
      numbers[4 * i] = beacons[i].major;
      numbers[4 * i + 1] = beacons[i].minor;
      numbers[4 * i + 2] = beacons[i].proximity;
      numbers[4 * i + 3] = beacons[i].rssi;
      accuracies[i] = beacons[i].accuracy;
    }
    handle.use(
        it -> {
          Bridge.reportBeacons(it, numbers, accuracies);
          return null;
        });
  }

  /** Degrees; the accuracy is the radius of uncertainty in metres. */
  public void position(double latitude, double longitude, double accuracy) {
    report(POSITION, 0, latitude, longitude, accuracy, null);
  }

  /** One line for a person. */
  public void failed(String error) {
    report(FAILURE, 0, 0, 0, 0, error);
  }

  private void report(
      int kind, int value, double latitude, double longitude, double accuracy, String text) {
    handle.use(
        it -> {
          Bridge.report(it, kind, value, latitude, longitude, accuracy, Texts.bytes(text));
          return null;
        });
  }
}
