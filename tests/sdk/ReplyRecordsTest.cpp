#include <gtest/gtest.h>

#include <chrono>
#include <clocale>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "tests/sdk/FakeServices.h"

namespace {

constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::string inBody(const char* key, const std::string& value) { return std::string("{\"") + key + "\":" + value + "}"; }

TEST(Records, ReadNumbersAndBooleansFromWhateverTheServiceSends) {
  FakeServices::get();
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);  // where 4,5 is a number
  struct Row {
    const char* json;
    std::int64_t integer;
    double real;
    bool boolean;
  };
  const Row rows[] = {
      {"0", 0, 0, false},
      {"-71.9", -71, -71.9, true},
      {"0.3", 0, 0.3, true},
      {"1e300", kLargest, 1e300, true},
      {"18446744073709551615", kLargest, 18446744073709551615.0, true},
      {"true", 1, 1, true},
      {"false", 0, 0, false},
      {R"("")", 0, 0, false},
      {R"("042")", 42, 42, true},
      {R"(" \t\n\f\r\u000b+8 steps")", 8, 8, true},
      {R"("-9")", -9, -9, true},
      {R"("+-9")", 0, 0, false},
      {R"("- 9")", 0, 0, false},
      {R"("4,5")", 4, 4, true},
      {R"("41.38")", 41, 41.38, true},
      {R"(".2")", 0, 0.2, false},
      {R"("12.e4")", 12, 120000, true},
      {R"("1e2.3")", 1, 100, true},
      {R"(".e12")", 0, 0, false},
      {R"("0x1A")", 0, 0, false},
      {R"("inf")", 0, 0, false},
      {R"("-nan")", 0, 0, false},
      {R"("1e999")", 1, kInfinity, true},
      {R"("-0.1e999")", 0, -kInfinity, false},
      {R"("1e-999")", 1, 0, true},
      {R"("0e99999")", 0, 0, false},
      {R"("99999999999999999999")", kLargest, 99999999999999999999.0, true},
      {R"("-99999999999999999999")", -kLargest - 1, -99999999999999999999.0, true},
      {R"(" +000Yes")", 0, 0, true},
      {R"("00t")", 0, 0, true},
      {R"("yes")", 0, 0, true},
      {R"("no")", 0, 0, false},
      {R"("x1")", 0, 0, false},
      {R"("0Ñ")", 0, 0, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.json);
    EXPECT_EQ(BVAPIResolve::parse(inBody("rssi", row.json))->rssi(), row.integer);
    EXPECT_EQ(BVWaybeaconDistance::parse(inBody("distance", row.json))->distance(), row.real);
    EXPECT_EQ(BVAPISync::parse(inBody("internal", row.json))->internal(), row.boolean);
  }
}

/// The fields of a record that hold something, each behind its name.
class Fields {
 public:
  template <typename Value>
  Fields& add(const char* name, const Value& value) {
    std::ostringstream text;
    if constexpr (std::is_same_v<Value, std::optional<std::string>>) {
      text << value.value_or("");
    } else if constexpr (std::is_same_v<Value, platform::JSONValue>) {
      if (!value.isNull()) text << std::get<std::string>(platform::services().json->write(value));
    } else if (value != 0) {
      text << value;
    }
    if (!text.str().empty()) text_.append(" ").append(name).append("=").append(text.str());
    return *this;
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

std::string textOf(const BVAPIResolve& record) {
  const BVWaybeacon& beacon = *record.waybeacon();
  Fields fields;
  fields.add("rssi", record.rssi()).add("proximity", record.proximity()).add("match", record.uuid());
  fields.add("uuid", beacon.uuid()).add("name", beacon.name()).add("latitude", beacon.latitude());
  fields.add("longitude", beacon.longitude()).add("location", beacon.location()).add("url", beacon.url());
  return fields.add("accesibility", beacon.accesibility()).add("payload", beacon.payload()).text();
}
std::string textOf(const BVAPINearest& record) {
  if (!record.beacons()) return " none";
  Fields fields;
  for (const auto& place : *record.beacons()) {
    const BVLocal& local = *place->local();
    fields.add("distance", place->distance()).add("name", local.name()).add("uuid", local.uuid());
    fields.add("city", local.city()).add("category", local.category()).add("address", local.address());
    fields.add("phone", local.phone()).add("web", local.web()).add("email", local.email()).add("zip", local.zip());
  }
  return fields.text();
}
std::string textOf(const BVAPIPayload& record) {
  return Fields().add("uuid", record.uuid()).add("payload", record.payload()).text();
}
std::string textOf(const BVAPISync& /*record*/) { return ""; }
std::string textOf(const BVAPILogin& /*record*/) { return ""; }

/// What is logged of a reply, and the record.
template <typename Record>
std::string read(const std::optional<std::string>& body) {
  FakeServices& services = FakeServices::get();
  try {
    const auto record = Record::parse(body);
    return services.take() + (record ? textOf(*record) : "");
  } catch (const BVInvalidReply&) {
    return services.take() + " threw";
  }
}

TEST(Records, HoldWhatTheReplySays) {
  struct Row {
    std::string (*read)(const std::optional<std::string>&);
    std::string body, seen;
  };
  const auto resolve = read<BVAPIResolve>;
  const auto nearest = read<BVAPINearest>;
  const auto payload = read<BVAPIPayload>;
  const Row rows[] = {
      {resolve, R"({"rssi":-6,"proximity":"p","match":"m","uuid":"other","waybeacon":{"uuid":"a\u00e9","name":12.50,
                    "latitude":"41.38","longitude":2,"location":"l","accesibility":{"b":[true]},"accessibility":"other",
                    "url":"u","payload":{"a":1}}})",
       R"( rssi=-6 proximity=p match=m uuid=aé name=12.5 latitude=41.38 longitude=2 location=l url=u)"
       R"( accesibility={"b":[true]} payload={"a":1})"},
      {resolve, R"({"proximity":null,"waybeacon":{"name":null,"payload":null}})", ""},
      {resolve, R"({"status":false,"rssi":1})", "|Beacon not found"},
      {resolve, R"({"status":0})", "|Beacon not found"},
      {resolve, R"({"status":"no","beacon":{"rssi":1}})", "|Beacon not found"},
      {resolve, R"({"status":true,"beacon":null})", "|Beacon not found"},
      {resolve, R"({"status":true,"rssi":-5})", " rssi=-5"},
      {resolve, R"({"beacon":{"rssi":-6},"rssi":-5})", " rssi=-6"},
      {resolve, R"({"status":true,"beacon":{},"rssi":-5})", ""},
      {resolve, "17", "|Error parsing JSON"},
      {resolve, "[]", " threw"},
      {resolve, R"({"status":null})", " threw"},
      {resolve, R"({"beacon":null})", " threw"},
      {resolve, R"({"beacon":[]})", " threw"},
      {resolve, R"({"rssi":null})", " threw"},
      {resolve, R"({"rssi":[1]})", " threw"},
      {resolve, R"({"waybeacon":null})", " threw"},
      {resolve, R"({"waybeacon":{"latitude":{}}})", " threw"},
      {nearest, R"({"beacons":[{"distance":9,"local":{"name":"n","uuid":"never","city":"c","category":"k","address":"a",
                    "phone":93,"web":"w","email":"e","zip":"08002"}},{"distance":"1.5"},{"local":{"name":"b"}}]})",
       " distance=9 name=n city=c category=k address=a phone=93 web=w email=e zip=8002 distance=1.5 name=b"},
      {nearest, "{}", " none"},
      {nearest, R"({"beacons":[]})", " none"},
      {nearest, R"({"beacons":null})", " threw"},
      {nearest, R"({"beacons":{}})", " threw"},
      {nearest, R"({"beacons":[{},1]})", " threw"},
      {nearest, R"({"beacons":[{"local":7}]})", " threw"},
      {nearest, R"({"beacons":[{"local":{"zip":null}}]})", " threw"},
      {payload, R"({"status":1,"uuid":"u","payload":"x"})", R"( uuid=u payload="x")"},
      {payload, R"({"status":"f"})", "|Beacon not found"},
      {payload, R"({"status":{}})", " threw"},
      {read<BVAPILogin>, R"({"expires_in":[]})", " threw"},
      {read<BVAPISync>, R"({"offline":null})", " threw"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.read(row.body), "DATA: " + row.body + row.seen);
  for (const std::optional<std::string>& body : {std::optional<std::string>(), std::optional<std::string>("\xC0\x80"),
                                                 std::optional<std::string>("\xED\xA0\x80")}) {
    EXPECT_EQ(nearest(body), "DATA: (null)|Error parsing JSON");
  }
  EXPECT_EQ(BVWaybeacon::parse(platform::JSONValue()), nullptr);
}

TEST(Records, DateATokenFromNow) {
  FakeServices::get();
  const auto before = std::chrono::system_clock::now();
  const auto hour = BVAPILogin::parse(R"({"expires_in":"3600"})")->expires_date();
  EXPECT_GE(hour, before + std::chrono::hours(1));
  EXPECT_LE(hour, std::chrono::system_clock::now() + std::chrono::hours(1));
}

TEST(Records, TakeErrorsFromTheirTable) {
  EXPECT_EQ(BVError::newError(0)->errorString(), "No error");
  for (const int code : {-1, 2}) EXPECT_THROW(BVError::newError(code), std::out_of_range);
}

}  // namespace
