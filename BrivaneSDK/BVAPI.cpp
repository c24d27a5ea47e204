// SPDX-License-Identifier: Apache-2.0
#include "BrivaneSDK/BVAPI.h"

#include <utility>

#include "BrivaneSDK/BVInvalidReply.h"
#include "BrivaneSDK/BVNetwork.h"
#include "BrivaneSDK/BVUtil.h"
#include "BrivaneSDK/Guarded.h"
#include "BrivaneSDK/LogLine.h"
#include "BrivaneSDK/LossyASCII.h"
#include "BrivaneSDK/NullText.h"
#include "BrivaneSDK/NumberText.h"
#include "BrivaneSDK/Session.h"
#include "BrivaneSDK/UnsetIdentifier.h"
#include "platform/JSON.h"
#include "platform/RealText.h"
#include "platform/Services.h"

using namespace brivane::internal;

namespace {

std::string valueText(const BVAPI::Value& value) {
  struct Rendering {
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(std::int64_t integer) const { return std::to_string(integer); }
    std::string operator()(double real) const { return platform::realText(real); }
  };
  return std::visit(Rendering{}, value);
}

void addDevice(BVAPI::Parameters& parameters) {
  parameters["model"] = BVUtil::getModel();
  parameters["installID"] = std::string(orNull(BVUtil::getInstallationID()));
}

/// The record that a reply holds; null, with a line in the log, when there is none. A reply of the
/// wrong form ends here, so that no HTTP client has to know of it.
template <typename Record>
auto read(const std::optional<std::string>& body) -> decltype(Record::parse(body)) {
  try {
    return Record::parse(body);
  } catch (const BVInvalidReply& fault) {
    logLine("Error reading the reply: ", fault.what());
    return nullptr;
  }
}

}  // namespace

struct BVAPI::State {
  Guarded<std::weak_ptr<BVAPIDelegate>> delegate;
};

std::shared_ptr<BVAPI> BVAPI::init() { return std::shared_ptr<BVAPI>(new BVAPI); }

BVAPI::BVAPI() : state_(std::make_unique<State>()) {}

BVAPI::~BVAPI() = default;

std::shared_ptr<BVAPIDelegate> BVAPI::delegate() const { return state_->delegate.get().lock(); }

void BVAPI::setDelegate(std::weak_ptr<BVAPIDelegate> delegate) {
  state_->delegate.set(std::move(delegate));
}

bool BVAPI::isReady() const { return session().state == SessionState::kSynced; }

std::string BVAPI::getEPURL(std::string_view endpoint) {
  return std::string("https://").append(BVNetwork::apiHost()).append("/api/v1/").append(endpoint);
}

std::string BVAPI::dictToString(const Parameters& parameters) {
  std::string body;
  for (const auto& [key, value] : parameters) {
    if (!body.empty()) body += '&';
    body.append(key).append("=").append(valueText(value));
  }
  return body;
}

void BVAPI::request_withData_withCallback(std::string_view url, const Parameters& parameters,
                                          platform::HTTPClient::Completion callback) {
  platform::HTTPRequest request;
  request.url = getEPURL(url);
  request.method = "POST";
  const auto token = session().token.get();
  if (token && !token->empty()) request.headers.emplace_back("Authorization", "Bearer " + *token);
  request.body = lossyASCII(dictToString(parameters));
  request.headers.emplace_back("Content-Length",
                               int32Text(static_cast<std::int64_t>(request.body.size())));
  platform::services().http->execute(std::move(request), std::move(callback));
}

template <typename Record>
void BVAPI::ask(std::string_view url, const Parameters& parameters,
                std::function<void(const std::shared_ptr<const Record>&)> received) {
  request_withData_withCallback(url, parameters,
                                [self = shared_from_this(), received = std::move(received)](
                                    const auto& /*response*/, const auto& body) {
                                  if (const auto record = read<Record>(body)) received(record);
                                });
}

void BVAPI::loginWithAPIKey_andSecret(const std::string& key, const std::string& secret) {
  const Parameters parameters = {
      {"grant_type", "client_credentials"}, {"client_id", key}, {"client_secret", secret}};
  ask<BVAPILogin>(getEPURL("oauth2/token/"), parameters, [this](const auto& login) {
    logLine("Access token: ", login->access_token());
    session().token.set(login->access_token());
    session().state = SessionState::kLoggedIn;
    if (const auto delegate = this->delegate()) delegate->receivedLogin(login);
  });
}

void BVAPI::sync() {
  Parameters parameters;
  addDevice(parameters);
  ask<BVAPISync>(getEPURL("sync/"), parameters, [this](const auto& sync) {
    logLine("Sync done");
    session().state = SessionState::kSynced;
    if (const auto delegate = this->delegate()) delegate->receivedSync(sync);
  });
}

void BVAPI::resolve_withMajor_withMinor_withRSSI_withBattery(const std::string& uuid,
                                                             std::int64_t major, std::int64_t minor,
                                                             std::int64_t rssi,
                                                             std::int64_t battery) {
  if (major == kUnsetIdentifier || minor == kUnsetIdentifier) return;
  logLine("Resolving...");
  Parameters parameters = {{"uuid", uuid},
                           {"major", int32Text(major)},
                           {"minor", int32Text(minor)},
                           {"rssi", int32Text(rssi)},
                           {"battery", int32Text(battery)}};
  addDevice(parameters);
  ask<BVAPIResolve>(
      getEPURL("resolve/"), parameters, [this, uuid, major, minor](const auto& resolve) {
        logLine("Resolve done");
        if (const auto delegate = this->delegate()) {
          delegate->receivedResolve_forRequest(
              resolve, BVAPIResolveRequest::initWithUUID_withMajor_withMinor(uuid, major, minor));
        }
      });
}

void BVAPI::resolveWithLat_withLng_withAccuracy(double lat, double lng, double accuracy) {
  Parameters parameters = {{"lat", fixedText(lat)},
                           {"lng", fixedText(lng)},
                           {"radius", truncatedInt32Text(accuracy)},
                           {"speed", "0"},
                           {"provider", "ios"}};
  addDevice(parameters);
  const std::string url = getEPURL("tracker/");
  logLine("URL: ", url);
  ask<BVAPIResolve>(url, parameters, [this](const auto& resolve) {
    logLine("Resolve GPS done");
    if (const auto delegate = this->delegate()) {
      delegate->receivedResolve_forRequest(resolve, nullptr);
    }
  });
}

void BVAPI::setPayload_forWaybeaconUUID(const platform::JSONValue& payload,
                                        const std::string& uuid) {
  if (payload.kind() != platform::JSONValue::Kind::kObject) {
    logLine("Error dumping json: ", "the payload is no object");
    return;
  }
  const auto written = platform::services().json->write(payload);
  if (const auto* error = std::get_if<platform::JSONError>(&written)) {
    logLine("Error dumping json: ", error->message);
    return;
  }
  const auto& json = std::get<std::string>(written);
  if (json.empty()) {
    logLine("No JSON data dumped");
    return;
  }
  ask<BVAPIPayload>(getEPURL("payload/"), {{"uuid", uuid}, {"payload", json}},
                    [this](const auto& reply) {
                      logLine("Payload set done");
                      if (const auto delegate = this->delegate()) delegate->receivedPayload(reply);
                    });
}

void BVAPI::getNearestForLat_withLng_insideRadius(double lat, double lng, std::int64_t radius) {
  const Parameters parameters = {{"lat", lat}, {"lng", lng}, {"radius", int32Text(radius)}};
  ask<BVAPINearest>(getEPURL("nearest/"), parameters, [this](const auto& nearest) {
    logLine("Nearest waybeacons received");
    if (const auto delegate = this->delegate()) delegate->receivedNearest(nearest);
  });
}
