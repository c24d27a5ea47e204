// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <rapidjson/document.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

#include "BrivaneSDK/BrivaneSDK.h"

/// The library's records made with the JSON libraries that a user would pick.
namespace bench {

struct Nlohmann {
  using Value = nlohmann::json;

  static Value parse(const std::string& body) { return Value::parse(body); }
  static const Value* find(const Value* object, const char* key) {
    if (object == nullptr) return nullptr;
    const auto found = object->find(key);
    return found == object->end() ? nullptr : &*found;
  }
  static const Value& list(const Value& list) { return list; }
  static std::optional<std::string> text(const Value* object, const char* key) {
    const Value* const value = find(object, key);
    if (value == nullptr || !value->is_string()) return std::nullopt;
    return value->get_ref<const std::string&>();
  }
  static double real(const Value* object, const char* key) {
    const Value* const value = find(object, key);
    return value == nullptr || !value->is_number() ? 0.0 : value->get<double>();
  }
};

struct RapidJSON {
  using Value = rapidjson::Value;

  static rapidjson::Document parse(const std::string& body) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseValidateEncodingFlag>(body.data(), body.size());
    if (document.HasParseError()) throw std::runtime_error("no JSON");
    return document;
  }
  static const Value* find(const Value* object, const char* key) {
    if (object == nullptr || !object->IsObject()) return nullptr;
    const auto found = object->FindMember(key);
    return found == object->MemberEnd() ? nullptr : &found->value;
  }
  static Value::ConstArray list(const Value& list) { return list.GetArray(); }
  static std::optional<std::string> text(const Value* object, const char* key) {
    const Value* const value = find(object, key);
    if (value == nullptr || !value->IsString()) return std::nullopt;
    return std::string(value->GetString(), value->GetStringLength());
  }
  static double real(const Value* object, const char* key) {
    const Value* const value = find(object, key);
    return value == nullptr || !value->IsNumber() ? 0.0 : value->GetDouble();
  }
};

template <typename JSON>
struct Peer {
  using Value = typename JSON::Value;

  static std::shared_ptr<const BVAPIResolve> resolve(const std::string& body) {
    const auto reply = JSON::parse(body);
    const Value* const source = JSON::find(&reply, "beacon");
    const Value* const beacon = JSON::find(source, "waybeacon");
    auto waybeacon = std::make_shared<BVWaybeacon>();
    waybeacon->setUuid(JSON::text(beacon, "uuid"));
    waybeacon->setName(JSON::text(beacon, "name"));
    waybeacon->setLatitude(JSON::real(beacon, "latitude"));
    waybeacon->setLongitude(JSON::real(beacon, "longitude"));
    waybeacon->setLocation(JSON::text(beacon, "location"));
    waybeacon->setAccesibility(JSON::text(beacon, "accesibility"));
    waybeacon->setUrl(JSON::text(beacon, "url"));
    // The one member that the benchmark's replies attach.
    waybeacon->setPayload(platform::JSONValue::Object{
        {"floor", static_cast<int>(JSON::real(JSON::find(beacon, "payload"), "floor"))}});
    auto record = std::make_shared<BVAPIResolve>();
    record->setRssi(static_cast<std::int64_t>(JSON::real(source, "rssi")));
    record->setProximity(JSON::text(source, "proximity"));
    record->setUuid(JSON::text(source, "match"));
    record->setWaybeacon(std::move(waybeacon));
    return record;
  }

  static std::shared_ptr<const BVWaybeaconDistance::List> nearest(const std::string& body) {
    const auto reply = JSON::parse(body);
    BVWaybeaconDistance::List places;
    for (const auto& element : JSON::list(*JSON::find(&reply, "beacons"))) {
      const Value* const dict = JSON::find(&element, "local");
      auto local = std::make_shared<BVLocal>();
      local->setName(JSON::text(dict, "name"));
      local->setAddress(JSON::text(dict, "address"));
      local->setCategory(JSON::text(dict, "category"));
      local->setCity(JSON::text(dict, "city"));
      local->setEmail(JSON::text(dict, "email"));
      local->setWeb(JSON::text(dict, "web"));
      local->setPhone(JSON::text(dict, "phone"));
      local->setZip(static_cast<std::int64_t>(JSON::real(dict, "zip")));
      auto place = std::make_shared<BVWaybeaconDistance>();
      place->setDistance(JSON::real(&element, "distance"));
      place->setLocal(std::move(local));
      places.push_back(std::move(place));
    }
    return std::make_shared<const BVWaybeaconDistance::List>(std::move(places));
  }
};

}  // namespace bench
