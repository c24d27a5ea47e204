// SPDX-License-Identifier: Apache-2.0
package org.brivane;

/** The services through which the library reaches the outside. All but the log are needed. */
public final class Services {
  private HTTPClient http;
  private Preferences preferences;
  private PropertyList propertyList;
  private LocationService location;
  private LiveLocation live;
  private Log log;
  private String deviceModel;

  public Services http(HTTPClient value) {
    http = value;
    return this;
  }

  public Services preferences(Preferences value) {
    preferences = value;
    return this;
  }

  public Services propertyList(PropertyList value) {
    propertyList = value;
    return this;
  }

  /** The platform's own location service. */
  public Services location(LocationService value) {
    location = value;
    return this;
  }

  /** Or live listening, fed by the application. */
  public Services location(LiveLocation value) {
    live = value;
    return this;
  }

  /** Lines hold credentials and tokens in clear. */
  public Services log(Log value) {
    log = value;
    return this;
  }

  /** The device's hardware identifier; without one, what the kernel tells. */
  public Services deviceModel(String value) {
    deviceModel = value;
    return this;
  }

  /**
   * Gives them to the library for the life of the process: once, before the first manager.
   *
   * @throws IllegalArgumentException when one is missing
   * @throws IllegalStateException when some are installed already
   */
  public void install() {
    long listening = live == null ? 0 : live.handle();
    Bridge.install(
        http, preferences, propertyList, location, listening, log, Texts.bytes(deviceModel));
    Bridge.log = log;
  }
}
