// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "BrivaneSDK/BVAPIDelegate.h"
#include "platform/Export.h"
#include "platform/HTTPClient.h"
#include "platform/JSONValue.h"

/// The client of the web service. Its calls return at once, on any thread; what a reply holds goes
/// to the delegate on the HTTP client's callback thread. A call that fails, for whatever reason, is
/// never reported: the delegate hears nothing. The access token and the session belong to the
/// process, not to one client.
class BRIVANE_EXPORT BVAPI final : public std::enable_shared_from_this<BVAPI> {
 public:
  /// One value of a form: a text as it is, a number in its shortest decimal form.
  using Value = std::variant<std::string, std::int64_t, double>;
  /// The fields of a request, by their keys.
  using Parameters = std::map<std::string, Value>;

  /// A new client without a delegate. Its calls need installed services.
  static std::shared_ptr<BVAPI> init();

  ~BVAPI();
  BVAPI(const BVAPI&) = delete;
  BVAPI& operator=(const BVAPI&) = delete;

  /// Null when there is none, or it is gone; held weakly.
  std::shared_ptr<BVAPIDelegate> delegate() const;
  /// Null for none.
  void setDelegate(std::weak_ptr<BVAPIDelegate> delegate);

  /// Asks for an access token; `receivedLogin`.
  void loginWithAPIKey_andSecret(const std::string& key, const std::string& secret);
  /// Announces this device; `receivedSync`.
  void sync();
  /// Whether the latest login has been followed by a sync.
  bool isReady() const;

  /// Asks which beacon was heard, `rssi` in dBm; `receivedResolve_forRequest`. A major or a minor
  /// of 65535 is no identity: nothing is sent for it.
  void resolve_withMajor_withMinor_withRSSI_withBattery(const std::string& uuid, std::int64_t major,
                                                        std::int64_t minor, std::int64_t rssi,
                                                        std::int64_t battery);
  /// Asks which place is at a position, degrees and metres; `receivedResolve_forRequest` without a
  /// request.
  void resolveWithLat_withLng_withAccuracy(double lat, double lng, double accuracy);
  /// Attaches `payload` to the beacon `uuid`; `receivedPayload`. A payload that is no object, or
  /// has no JSON form, is logged and not sent.
  void setPayload_forWaybeaconUUID(const platform::JSONValue& payload, const std::string& uuid);
  /// Asks for the places within `radius` metres of a coordinate in degrees; `receivedNearest`. Only
  /// the low 32 bits of the radius are sent.
  void getNearestForLat_withLng_insideRadius(double lat, double lng, std::int64_t radius);

  /// The URL of an endpoint, such as "sync/".
  static std::string getEPURL(std::string_view endpoint);
  /// The form body: "key=value" joined by "&", nothing escaped, because the service reads it so.
  static std::string dictToString(const Parameters& parameters);
  /// Posts `parameters`. The URL asked for is `getEPURL` of `url`, so a call that passes a URL of
  /// `getEPURL` asks for host and prefix twice: these are the service's addresses.
  void request_withData_withCallback(std::string_view url, const Parameters& parameters,
                                     platform::HTTPClient::Completion callback);

 private:
  struct State;

  BVAPI();

  /// Posts `parameters` to `url` and hands the reply's record, if it holds one, to `received`. The
  /// client lives until the reply has come.
  template <typename Record>
  void ask(std::string_view url, const Parameters& parameters,
           std::function<void(const std::shared_ptr<const Record>&)> received);

  const std::unique_ptr<State> state_;
};
