// SPDX-License-Identifier: Apache-2.0
package org.brivane;

import java.util.List;

/**
 * Live listening, fed by the application with what its radio hears: it monitors, ranges and filters
 * positions by itself. Everything happens inside {@link #run}, which the application calls on one
 * thread; managers are created on that thread.
 */
public final class LiveLocation {
  /** The application's loop of events, its radio and its positions. */
  public interface Host {
    /** {@link #run} is to be called soon, on its thread. Any thread; must not call it itself. */
    void wake();

    /** Microseconds on a clock that never goes back. Any thread. */
    default long now() {
      return System.nanoTime() / 1000;
    }

    /** For how many microseconds the device has slept in all while {@link #now} stood still. */
    default long slept() {
      return 0;
    }

    // Inside run.

    /**
     * Listen for beacons of these networks, or go on with what is wanted now. None: find out
     * whether listening would be allowed. Unless every frame is of use, one is enough, some seconds
     * after a beacon came in range at the latest, and the radio should cost as little as it can.
     */
    default void listen(List<String> networks, boolean everyFrame) {}

    default void stopListening() {}

    /** Asked once, when this is handed over: whether there are positions at all. */
    default boolean hasPositions() {
      return false;
    }

    /** Ask for permission, and report positions, about as fine as so many metres. */
    default void startPositions(double accuracy) {}

    default void stopPositions() {}

    /** Listening began or ceased, or there is a fault: one line for a person, else null. */
    default void radioChanged(boolean listening, RadioFault fault, String text) {}

    /** {@code reason} is one line for a person, what is missing, and null when all is granted. */
    default void permissionChanged(int authorization, boolean servicesEnabled, String reason) {}

    /** There are no positions; {@code reason} as above. */
    default void noPositions(String reason) {}
  }

  /** What keeps the radio from listening. */
  public enum RadioFault {
    NONE,
    NO_ADAPTER,
    SWITCHED_OFF,
    /** The device keeps it off: its airplane mode, or a switch of its own. */
    BLOCKED,
    OTHER
  }

  /** How the user or the system answers. */
  public enum Consent {
    PENDING,
    GRANTED,
    DENIED,
    /** By the device's configuration. Positions alone. */
    RESTRICTED,
    /** There are none on this device, or they are off for all. Positions alone. */
    SWITCHED_OFF
  }

  /** It stays for the life of the process: it is there to be installed. */
  private final long handle;

  public LiveLocation(Host host) {
    handle = Bridge.createLive(host, host.hasPositions());
  }

  long handle() {
    return handle;
  }

  /**
   * Does what is to be done now, which calls delegates. Returns after how many microseconds to call
   * it again, at the latest; -1 for when {@link Host#wake} asks. Always on one thread.
   */
  public long run() {
    return Bridge.runLive(handle);
  }

  // What the application tells. Each only notes it and wakes: any thread, any time.

  /**
   * An advertisement was heard: the company identifier, what follows it, and the signal strength in
   * dBm; {@code time} on the clock of {@link Host#now}, or negative for now.
   */
  public void hear(int company, byte[] data, int rssi, long time) {
    Bridge.hear(handle, company, data, rssi, time);
  }

  /** The device is at a coordinate in degrees, known to so many metres. */
  public void locate(double latitude, double longitude, double accuracy) {
    Bridge.locate(handle, latitude, longitude, accuracy);
  }

  /**
   * Whether the radio listens when it is asked to, and may; {@code text} is one line for a person
   * that says what to do, null while there is no fault. Holds until something else is told.
   */
  public void setRadio(boolean listening, Consent consent, RadioFault fault, String text) {
    Bridge.setRadio(handle, listening, consent.ordinal(), fault.ordinal(), Texts.bytes(text));
  }

  /** How the question for positions was answered. Holds until something else is told. */
  public void setPositions(Consent consent, String reason) {
    Bridge.setPositions(handle, consent.ordinal(), Texts.bytes(reason));
  }
}
