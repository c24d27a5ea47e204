// SPDX-License-Identifier: Apache-2.0
package org.brivane;

import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/**
 * Both ways between this package and the native library. Texts cross as UTF-8; what goes there ends
 * with a NUL. What leaves a function that is called from there ends in {@link #report(Throwable)}.
 */
final class Bridge {
  static {
    System.loadLibrary("brivane-jni");
  }

  private Bridge() {}

  /** Null when there is none. */
  static volatile Log log;

  // Into the native library.

  static native byte[] info(int which);

  static native void install(
      HTTPClient http,
      Preferences preferences,
      PropertyList propertyList,
      LocationService location,
      long live,
      Log log,
      byte[] deviceModel);

  static native void complete(long completion, int status, byte[] body);

  static native long createManager(BVManager.Link link, byte[] key, byte[] secret);

  static native void destroyManager(long manager);

  static native boolean operate(long manager, int operation);

  static native boolean getNearest(long manager, double latitude, double longitude, long radius);

  static native void report(
      long reports,
      int kind,
      int value,
      double latitude,
      double longitude,
      double accuracy,
      byte[] text);

  static native void reportBeacons(long reports, int[] numbers, double[] accuracies);

  static native void destroyReports(long reports);

  static native long createLive(LiveLocation.Host host, boolean positions);

  static native long runLive(long live);

  static native void hear(long live, int company, byte[] data, int rssi, long time);

  static native void locate(long live, double latitude, double longitude, double accuracy);

  static native void setRadio(long live, boolean listening, int consent, int fault, byte[] text);

  static native void setPositions(long live, int consent, byte[] reason);

  // Out of it.

  /** What a native function that failed throws. */
  static void raise(int status, byte[] text) {
    String reason = Texts.of(text);
    switch (status) {
      case 1:
        throw new IllegalArgumentException(reason);
      case 2:
        throw new IllegalStateException(reason);
      case 3:
        throw new BVException("BVAPICredentialsNotFound", reason);
      case 4:
        throw new BVException("BVCoreLocationAuthError", reason);
      default:
        throw new RuntimeException(reason);
    }
  }

  /** An exception left a function of the application's that was called from there. */
  static void report(Throwable fault) {
    Log sink = log;
    if (sink != null) sink.write("A callback failed: " + fault);
  }

  static void execute(HTTPClient http, byte[][] texts, byte[] body, long handle) {
    Texts all = new Texts(texts);
    String url = all.next();
    String method = all.next();
    Map<String, String> headers = new LinkedHashMap<>();
    while (all.hasNext()) headers.put(all.next(), all.next());
    HTTPClient.Completion completion = new HTTPClient.Completion(handle);
    try {
      http.execute(new HTTPClient.Request(url, method, headers, body), completion);
    } catch (RuntimeException | Error e) {
      completion.fail();
      throw e;
    }
  }

  static byte[] preference(Preferences preferences, byte[] key) {
    return Texts.bytes(preferences.get(Texts.of(key)));
  }

  static void setPreference(Preferences preferences, byte[] key, byte[] value) {
    preferences.set(Texts.of(key), Texts.of(value));
  }

  // Numbers and truths come back as long, as one kind of call brings them.

  static long synchronize(Preferences preferences) {
    return preferences.synchronize() ? 1 : 0;
  }

  static byte[] property(PropertyList propertyList, byte[] key) {
    return Texts.bytes(propertyList.get(Texts.of(key)));
  }

  static void log(Log log, byte[] line) {
    log.write(Texts.of(line));
  }

  static void didIsReady(BVManager.Link link) {
    BVManagerDelegate delegate = link.delegate();
    if (delegate != null) delegate.didIsReady();
  }

  static void didErrorFound(BVManager.Link link, int code, byte[] text) {
    BVManagerDelegate delegate = link.delegate();
    if (delegate != null) delegate.didErrorFound(new BVError(code, Texts.of(text)));
  }

  static void didBVMatch(
      BVManager.Link link, byte[][] texts, double latitude, double longitude, long rssi) {
    BVManagerDelegate delegate = link.delegate();
    if (delegate == null) return;
    delegate.didBVMatch(new BVAPIResolve(new Texts(texts), latitude, longitude, rssi));
  }

  static void didNearestWaybeacons(
      BVManager.Link link, byte[][] texts, double[] distances, long[] zips) {
    BVManagerDelegate delegate = link.delegate();
    if (delegate == null) return;
    Texts all = new Texts(texts);
    List<BVWaybeaconDistance> places = new ArrayList<>();
    for (int i = 0; i < zips.length; ++i) {
      places.add(new BVWaybeaconDistance(all, distances[i], zips[i]));
    }
    delegate.didNearestWaybeacons(places.isEmpty() ? null : places);
  }

  static long authorization(LocationService location) {
    return location.authorization();
  }

  static long servicesEnabled(LocationService location) {
    return location.servicesEnabled() ? 1 : 0;
  }

  static LocationManager createLocationManager(LocationService location, long reports) {
    return location.createManager(new LocationReports(reports));
  }

  static void operate(LocationManager manager, int operation, double metres) {
    switch (operation) {
      case 0:
        manager.requestAlwaysAuthorization();
        break;
      case 1:
        manager.startMonitoring();
        break;
      case 2:
        manager.stopMonitoring();
        break;
      case 3:
        manager.requestState();
        break;
      case 4:
        manager.startRanging();
        break;
      case 5:
        manager.stopRanging();
        break;
      case 6:
        manager.setDesiredAccuracy(metres);
        break;
      case 7:
        manager.setDistanceFilter(metres);
        break;
      case 8:
        manager.startUpdatingLocation();
        break;
      default:
        manager.stopUpdatingLocation();
    }
  }

  static void close(LocationManager manager) {
    manager.close();
  }

  static void wake(LiveLocation.Host host) {
    host.wake();
  }

  static long now(LiveLocation.Host host) {
    return host.now();
  }

  static long slept(LiveLocation.Host host) {
    return host.slept();
  }

  static void listen(LiveLocation.Host host, byte[][] networks, boolean everyFrame) {
    Texts all = new Texts(networks);
    List<String> names = new ArrayList<>();
    while (all.hasNext()) names.add(all.next());
    host.listen(names, everyFrame);
  }

  static void stopListening(LiveLocation.Host host) {
    host.stopListening();
  }

  static void startPositions(LiveLocation.Host host, double accuracy) {
    host.startPositions(accuracy);
  }

  static void stopPositions(LiveLocation.Host host) {
    host.stopPositions();
  }

  static void radioChanged(LiveLocation.Host host, boolean listening, int fault, byte[] text) {
    host.radioChanged(listening, LiveLocation.RadioFault.values()[fault], Texts.of(text));
  }

  static void permissionChanged(LiveLocation.Host host, int status, boolean on, byte[] reason) {
    host.permissionChanged(status, on, Texts.of(reason));
  }

  static void noPositions(LiveLocation.Host host, byte[] reason) {
    host.noPositions(Texts.of(reason));
  }
}
