// SPDX-License-Identifier: Apache-2.0
package org.brivane;

import java.lang.ref.WeakReference;

/**
 * Detects the network's beacons and tells the application which places are near: create it, wait
 * for {@link BVManagerDelegate#didIsReady}, call {@link #startDetection}.
 *
 * <p>Operations may be called on any thread, also from inside a delegate's call, and return at
 * once. Keep the manager: one that nobody holds any more is ended, as by {@link #close}. All
 * managers of a process share one detection state.
 */
public final class BVManager implements AutoCloseable {
  private static final int START = 0;
  private static final int STOP = 1;
  private static final int IS_SCANNING = 2;
  private static final int ENABLED_GPS = 3;
  private static final int ENABLE_GPS = 4;
  private static final int DISABLE_GPS = 5;
  private static final int PAYLOAD = 6;

  /** What the native manager holds: the delegate may hold the manager, and both can be collected. */
  static final class Link {
    private final WeakReference<BVManager> manager;

    Link(BVManager manager) {
      this.manager = new WeakReference<>(manager);
    }

    /** Null when there is none. */
    BVManagerDelegate delegate() {
      BVManager held = manager.get();
      return held == null ? null : held.delegate;
    }
  }

  private volatile BVManagerDelegate delegate;
  private final Handle handle;

  private BVManager(BVManagerDelegate delegate, String key, String secret) {
    this.delegate = delegate;
    long made = Bridge.createManager(new Link(this), Texts.bytes(key), Texts.bytes(secret));
    handle = new Handle(this, made, Bridge::destroyManager);
  }

  /**
   * A new manager with the credentials of the property list, whose login is on its way. What the
   * location service has to tell will come on the calling thread. {@code delegate} may be null.
   *
   * @throws BVException when the property list lacks something
   * @throws IllegalStateException when no services are installed
   */
  public static BVManager create(BVManagerDelegate delegate) {
    return new BVManager(delegate, null, null);
  }

  /** The same with credentials of the application's own. */
  public static BVManager create(BVManagerDelegate delegate, String key, String secret) {
    if (key == null || secret == null) throw new IllegalArgumentException("no key, or no secret");
    return new BVManager(delegate, key, secret);
  }

  /** May be null. */
  public BVManagerDelegate delegate() {
    return delegate;
  }

  public void setDelegate(BVManagerDelegate value) {
    delegate = value;
  }

  /** Whether starting also tracks the position; false at first. Counts from the next start. */
  public boolean enabledGPS() {
    return operate(ENABLED_GPS);
  }

  public void setEnabledGPS(boolean value) {
    operate(value ? ENABLE_GPS : DISABLE_GPS);
  }

  /** False, and nothing has changed, before the session is ready or without permission. */
  public boolean startDetection() {
    return operate(START);
  }

  /** Always true. */
  public boolean stopDetection() {
    return operate(STOP);
  }

  /** Whether detection was started and not stopped, whatever is in range. */
  public boolean isScanning() {
    return operate(IS_SCANNING);
  }

  /**
   * Asks for the places within so many metres of a coordinate in degrees. False when the session is
   * not ready; nothing will come then.
   */
  public boolean getNearest(double latitude, double longitude, long radius) {
    return handle.use(it -> Bridge.getNearest(it, latitude, longitude, radius));
  }

  /** Whether the session is ready. The payload is not sent; both arguments are ignored. */
  public boolean setPayload(String payload, BVWaybeacon waybeacon) {
    return operate(PAYLOAD);
  }

  /** Ends what this manager asked of the location service. Afterwards no operation may be called. */
  @Override
  public void close() {
    handle.close();
  }

  private boolean operate(int operation) {
    return handle.use(it -> Bridge.operate(it, operation));
  }
}
