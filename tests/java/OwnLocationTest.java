// SPDX-License-Identifier: Apache-2.0
import java.util.List;
import java.util.concurrent.CountDownLatch;
import org.brivane.BVAPIResolve;
import org.brivane.BVError;
import org.brivane.BVManager;
import org.brivane.BVManagerDelegate;
import org.brivane.BVWaybeaconDistance;
import org.brivane.HTTPClient;
import org.brivane.LocationManager;
import org.brivane.LocationReports;
import org.brivane.LocationService;
import org.brivane.Preferences;
import org.brivane.Services;

/** A host with a location service of its own, and with services that answer at once. */
final class OwnLocationTest
    implements BVManagerDelegate, HTTPClient, Preferences, LocationService, LocationManager {
  private static final String REPLY =
      "{\"access_token\":\"t\",\"status\":true,\"match\":\"m\",\"rssi\":-60,\"proximity\":\"near\","
          + "\"waybeacon\":{\"name\":\"caf\u00e9 \ud83d\ude00\",\"latitude\":41.5,\"payload\":{\"a\":[1]}}}";

  private final CountDownLatch ready = new CountDownLatch(1);
  private final CountDownLatch matched = new CountDownLatch(2);
  private final CountDownLatch closed = new CountDownLatch(1);
  private final StringBuffer seen = new StringBuffer();
  private int authorization = LocationService.DENIED;
  private LocationReports reports;

  private void see(String what) {
    seen.append(' ').append(what);
  }

  private void expect(String what) {
    if (!seen.toString().equals(what)) throw new AssertionError(seen + ", not" + what);
    seen.setLength(0);
  }

  private void run() throws Exception {
    new Services()
        .http(this)
        .preferences(this)
        .propertyList(key -> "x")
        .location(this)
        .deviceModel("phone")
        .install();
    BVManager manager = BVManager.create(this);
    expect(" request");
    if (manager.startDetection()) throw new AssertionError("started without permission");
    authorization = LocationService.AUTHORIZED_ALWAYS;
    while (!ready.await(10, java.util.concurrent.TimeUnit.MILLISECONDS)) reports.authorizationChanged();
    manager.setEnabledGPS(true);
    manager.startDetection();
    expect(" monitor state accuracy 10.0 filter 20.0 update");
    reports.crossed(true);
    reports.state(LocationReports.INSIDE);
    expect(" range");
    reports.ranged(new LocationReports.Beacon(1, 2, 3, 4.5, -60));
    reports.position(41.5, -4.7, 5.0);
    matched.await();
    reports.failed("no fix");
    manager.stopDetection();
    expect(" caf\u00e9 \ud83d\ude00 caf\u00e9 \ud83d\ude00 unmonitor unrange stop");
    manager.close();
    closed.await(); // a match may still be on its way out of the delegate
    expect(" close");
    reports.ranged();
  }

  @Override
  public void didIsReady() {
    ready.countDown();
  }

  @Override
  public void didErrorFound(BVError error) {}

  @Override
  public void didBVMatch(BVAPIResolve match) {
    boolean isWhole = match.rssi == -60 && match.uuid.equals("m") && match.proximity.equals("near");
    isWhole &= match.waybeacon.latitude == 41.5 && match.waybeacon.url == null;
    if (isWhole && match.waybeacon.payload.equals("{\"a\":[1]}")) see(match.waybeacon.name);
    matched.countDown();
  }

  @Override
  public void didNearestWaybeacons(List<BVWaybeaconDistance> places) {}

  @Override
  public void execute(Request request, Completion completion) {
    completion.complete(200, REPLY.getBytes(java.nio.charset.StandardCharsets.UTF_8));
    completion.fail(); // the first answer counts
  }

  @Override
  public String get(String key) {
    return null;
  }

  @Override
  public void set(String key, String value) {}

  @Override
  public boolean synchronize() {
    return true;
  }

  @Override
  public int authorization() {
    return authorization;
  }

  @Override
  public boolean servicesEnabled() {
    return true;
  }

  @Override
  public LocationManager createManager(LocationReports to) {
    reports = to;
    return this;
  }

  @Override
  public void requestAlwaysAuthorization() {
    see("request");
  }

  @Override
  public void startMonitoring() {
    see("monitor");
  }

  @Override
  public void stopMonitoring() {
    see("unmonitor");
  }

  @Override
  public void requestState() {
    see("state");
  }

  @Override
  public void startRanging() {
    see("range");
  }

  @Override
  public void stopRanging() {
    see("unrange");
  }

  @Override
  public void setDesiredAccuracy(double metres) {
    see("accuracy " + metres);
  }

  @Override
  public void setDistanceFilter(double metres) {
    see("filter " + metres);
  }

  @Override
  public void startUpdatingLocation() {
    see("update");
  }

  @Override
  public void stopUpdatingLocation() {
    see("stop");
  }

  @Override
  public void close() {
    see("close");
    closed.countDown();
  }

  public static void main(String[] arguments) throws Exception {
    new OwnLocationTest().run();
  }
}
