// SPDX-License-Identifier: Apache-2.0
import java.io.File;
import java.util.List;
import java.util.Map;
import java.util.concurrent.Semaphore;
import org.brivane.BVAPIResolve;
import org.brivane.BVError;
import org.brivane.BVManager;
import org.brivane.BVManagerDelegate;
import org.brivane.BVWaybeaconDistance;
import org.brivane.FilePreferences;
import org.brivane.HttpsClient;
import org.brivane.LiveLocation;
import org.brivane.Services;

/**
 * The smallest host in Java: names the places of a recorded walk, sixty times as fast.
 *
 * <p>usage: java Walk CAPTURE.btsnoop HOST:PORT CA.pem
 */
public final class Walk implements BVManagerDelegate, LiveLocation.Host {
  private static final int SPEED = 60;

  /** Released when the service lets this host in, and when a request fails. */
  private final Semaphore answered = new Semaphore(0);

  private final long start = System.nanoTime();
  private volatile boolean isReady = false;

  @Override
  public void didIsReady() {
    isReady = true;
    answered.release();
  }

  @Override
  public void didErrorFound(BVError error) {
    System.err.println("walk: " + error.text);
  }

  @Override
  public void didBVMatch(BVAPIResolve match) {
    if (match.waybeacon.name != null) System.out.println(match.waybeacon.name);
  }

  @Override
  public void didNearestWaybeacons(List<BVWaybeaconDistance> places) {}

  @Override
  public long now() {
    return (System.nanoTime() - start) / 1000 * SPEED;
  }

  @Override
  public void wake() {} // this host runs all the time

  private void noteTransfer(String endpoint, int status, String fault) {
    if (status == 200) return;
    System.err.println("walk: the service: " + (fault != null ? fault : "status " + status));
    answered.release();
  }

  private int walk(List<Capture.Frame> frames, String address, File trusted) throws Exception {
    LiveLocation live = new LiveLocation(this);
    new Services()
        .http(HttpsClient.connectedTo(address, trusted, this::noteTransfer))
        .preferences(new FilePreferences(new File(System.getProperty("user.home"), ".walk")))
        .propertyList(
            Map.of(
                    "BrivaneAPIKey", "dev-key",
                    "BrivaneAPISecret", "dev-secret",
                    "NSLocationAlwaysUsageDescription", "To tell which place you are near.")
                ::get)
        .location(live)
        .install();
    live.setRadio(true, LiveLocation.Consent.GRANTED, LiveLocation.RadioFault.NONE, null);
    try (BVManager manager = BVManager.create(this)) {
      while (!answered.tryAcquire()) {
        live.run();
        Thread.sleep(10);
      }
      if (!isReady) return 1;
      manager.startDetection();
      long begin = now();
      for (Capture.Frame frame : frames) {
        while (now() < begin + frame.time) Thread.sleep(1);
        live.hear(frame.company, frame.data, frame.rssi, -1);
        live.run();
      }
      manager.stopDetection();
    }
    return 0;
  }

  public static void main(String[] arguments) throws Exception {
    if (arguments.length != 3) {
      System.err.println("usage: java Walk CAPTURE.btsnoop HOST:PORT CA.pem");
      System.exit(2);
    }
    List<Capture.Frame> frames = Capture.read(new File(arguments[0]));
    System.exit(new Walk().walk(frames, arguments[1], new File(arguments[2])));
  }
}
