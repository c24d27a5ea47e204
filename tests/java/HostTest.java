// SPDX-License-Identifier: Apache-2.0
import java.io.File;
import java.lang.management.ManagementFactory;
import java.lang.ref.WeakReference;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ConcurrentLinkedQueue;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import javax.management.ObjectName;
import org.brivane.BVAPIResolve;
import org.brivane.BVError;
import org.brivane.BVException;
import org.brivane.BVManager;
import org.brivane.BVManagerDelegate;
import org.brivane.BVWaybeaconDistance;
import org.brivane.Brivane;
import org.brivane.FilePreferences;
import org.brivane.HTTPClient;
import org.brivane.HttpsClient;
import org.brivane.LiveLocation;
import org.brivane.Services;

/** A host in Java against the development service: usage: HostTest CAPTURE HOST:PORT CA.pem PREFERENCES */
final class HostTest implements LiveLocation.Host, HTTPClient {
  /** A delegate that throws from each call, once it has kept what it heard. */
  private static final class Thrower implements BVManagerDelegate {
    volatile BVManager manager; // one that holds its manager, as most do
    volatile boolean isReady = false;
    final Set<String> heard = ConcurrentHashMap.newKeySet();

    @Override
    public void didIsReady() {
      isReady = true;
      throw new IllegalStateException("ready");
    }

    @Override
    public void didErrorFound(BVError error) {
      heard.add("error " + error.code + " " + error.text);
      throw new IllegalStateException("error");
    }

    @Override
    public void didBVMatch(BVAPIResolve match) {
      heard.add("match " + match.waybeacon.name);
      throw new AssertionError("match");
    }

    @Override
    public void didNearestWaybeacons(List<BVWaybeaconDistance> places) {
      heard.add("nearest " + (places == null ? "none" : places.get(0).local.name));
      throw new IllegalStateException("nearest");
    }

    long places() {
      return heard.stream().filter(it -> it.startsWith("match ")).count();
    }
  }

  private interface Condition {
    boolean holds() throws Exception;
  }

  private static final int MANAGERS = 10_000;

  private final AtomicInteger underWay = new AtomicInteger();
  private final ConcurrentLinkedQueue<HTTPClient.Completion> held = new ConcurrentLinkedQueue<>();
  private final Set<String> logged = ConcurrentHashMap.newKeySet();
  private HTTPClient service;
  private LiveLocation live;
  private volatile boolean holds = false;
  private volatile boolean listens = false;
  private volatile long now = 0;
  private String usage = null;

  @Override
  public void execute(Request request, Completion completion) {
    if (holds) {
      held.add(completion);
      return;
    }
    underWay.incrementAndGet();
    service.execute(request, completion);
  }

  @Override
  public void wake() {}

  @Override
  public long now() {
    return now;
  }

  @Override
  public void listen(List<String> networks, boolean everyFrame) {
    listens = true;
    check(networks.isEmpty() || networks.get(0).equals(Brivane.proximityUUID()), "other networks");
  }

  @Override
  public void stopListening() {
    listens = false;
    throw new IllegalStateException("deaf");
  }

  @Override
  public boolean hasPositions() {
    return true;
  }

  private static void check(boolean holds, String complaint) {
    if (!holds) throw new AssertionError(complaint);
  }

  private void await(Condition condition) throws Exception {
    while (!condition.holds()) { // for ever: the test's own limit ends it
      live.run();
      Thread.sleep(1);
    }
  }

  private void install(String address, File trusted, File preferences) throws Exception {
    service = HttpsClient.connectedTo(address, trusted, (path, status, fault) -> underWay.decrementAndGet());
    live = new LiveLocation(this);
    Services services = new Services().http(this).preferences(new FilePreferences(preferences)).location(live);
    try {
      services.install();
      throw new AssertionError("installed without a property list");
    } catch (IllegalArgumentException e) {
      check(e.getMessage().equals("property_list is missing"), e.getMessage());
    }
    Map<String, String> list = Map.of("BrivaneAPIKey", "dev-key", "BrivaneAPISecret", "dev-secret");
    services.propertyList(key -> key.endsWith("UsageDescription") ? usage : list.get(key));
    services.log(line -> logged.add(line)).install();
    try {
      BVManager.create(null);
      throw new AssertionError("a manager without its usage description");
    } catch (BVException e) {
      check(e.name.equals("BVCoreLocationAuthError"), e.name);
    }
    usage = "¿Dónde? 😀";
  }

  private void logInAsStranger() throws Exception {
    holds = false;
    BVManager.create(null, "dev-key", "other").close();
    await(() -> logged.contains("DATA: {\"error\":\"invalid_client\"}"));
  }

  private void walk(List<Capture.Frame> frames) throws Exception {
    Thrower delegate = new Thrower();
    BVManager manager = BVManager.create(delegate);
    live.setRadio(true, LiveLocation.Consent.GRANTED, LiveLocation.RadioFault.NONE, null);
    live.setPositions(LiveLocation.Consent.SWITCHED_OFF, "off");
    manager.setEnabledGPS(true);
    await(() -> delegate.isReady && manager.startDetection());
    check(manager.enabledGPS() && manager.isScanning(), "not started");
    check(delegate.heard.contains("error 1 No location services enabled"), delegate.heard.toString());
    for (Capture.Frame frame : frames) {
      now = frame.time;
      live.hear(frame.company, frame.data, frame.rssi, frame.time);
      await(() -> underWay.get() == 0 && live.run() != 0);
    }
    await(() -> delegate.places() == 15);
    check(manager.getNearest(41.65210, -4.72850, 100), "no session");
    await(() -> delegate.heard.contains("nearest Puerta del Río"));
    manager.stopDetection();
    manager.close();
    manager.close();
    await(() -> !listens);
    for (String what : new String[] {"ready", "error", "match", "nearest", "deaf"}) {
      check(logged.stream().anyMatch(it -> it.matches("A callback failed: .*: " + what)), "unreported: " + what);
    }
    check(Brivane.installationID().length() == 36, "no installation");
  }

  private WeakReference<BVManager> abandoned() {
    Thrower delegate = new Thrower();
    delegate.manager = BVManager.create(delegate);
    check(delegate.manager.startDetection(), "the session of before is gone");
    return new WeakReference<>(delegate.manager);
  }

  private void collectUnderRequest() throws Exception {
    holds = true;
    WeakReference<BVManager> manager = abandoned();
    await(() -> listens && held.size() == 1);
    await(
        () -> {
          System.gc();
          return manager.get() == null && !listens;
        });
    held.remove().complete(200, "{\"access_token\":\"t\"}".getBytes());
  }

  private static long residentKiB() throws Exception {
    Matcher line = Pattern.compile("VmRSS:\\s+(\\d+)").matcher(Files.readString(Paths.get("/proc/self/status")));
    check(line.find(), "no VmRSS");
    return Long.parseLong(line.group(1));
  }

  /** How many objects of a class are there after a collection. */
  private static long count(String name) throws Exception {
    Object histogram =
        ManagementFactory.getPlatformMBeanServer()
            .invoke(
                new ObjectName("com.sun.management:type=DiagnosticCommand"),
                "gcClassHistogram",
                new Object[] {null},
                new String[] {String[].class.getName()});
    Matcher line = Pattern.compile(":\\s+(\\d+)\\s+\\d+\\s+" + Pattern.quote(name) + "\\s").matcher((String) histogram);
    return line.find() ? Long.parseLong(line.group(1)) : 0;
  }

  private void createMany() throws Exception {
    long before = 0;
    for (int i = 0; i < MANAGERS; ++i) {
      if (i == MANAGERS / 5) before = residentKiB();
      BVManager manager = BVManager.create(new Thrower());
      if (i % 2 == 0) manager.close();
      live.run();
      for (HTTPClient.Completion each; (each = held.poll()) != null; ) each.fail();
    }
    for (String name : new String[] {"BVManager", "BVManager$Link", "Handle", "HTTPClient$Completion"}) {
      await(() -> count("org.brivane." + name) < 100);
    }
    check(residentKiB() - before < 8 * 1024, "KiB more: " + (residentKiB() - before));
  }

  public static void main(String[] arguments) throws Exception {
    HostTest test = new HostTest();
    test.install(arguments[1], new File(arguments[2]), new File(arguments[3]));
    test.walk(Capture.read(new File(arguments[0])));
    test.collectUnderRequest();
    test.createMany();
    test.logInAsStranger();
  }
}
