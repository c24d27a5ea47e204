// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <utility>
#include <variant>

#include "BrivaneSDK/BVAPI.h"
#include "host/Announcer.h"
#include "host/Commands.h"
#include "host/Failure.h"
#include "host/Interrupt.h"
#include "host/RecordJSON.h"
#include "host/Screen.h"
#include "host/Session.h"
#include "platform/json/SimdJSON.h"

namespace host {
namespace {

platform::JSONValue readObject(const std::string& text) {
  const auto read = platform::SimdJSON().read(text);
  const auto* value = std::get_if<platform::JSONValue>(&read);
  if (value == nullptr || value->kind() != platform::JSONValue::Kind::kObject) {
    throw Failure(kUsageFailure, "JSON: '" + text + "' is not a JSON object");
  }
  return *value;
}

/// Keeps the answer to a payload. The manager reports none, so the service client is used directly.
class Receiver final : public BVAPIDelegate {
 public:
  std::shared_ptr<const BVAPIPayload> answer;

 private:
  void receivedLogin(const std::shared_ptr<const BVAPILogin>& /*login*/) override {}
  void receivedSync(const std::shared_ptr<const BVAPISync>& /*sync*/) override {}
  void receivedResolve_forRequest(
      const std::shared_ptr<const BVAPIResolve>& /*resolve*/,
      const std::shared_ptr<const BVAPIResolveRequest>& /*request*/) override {}
  void receivedPayload(const std::shared_ptr<const BVAPIPayload>& payload) override {
    answer = payload;
  }
  void receivedNearest(const std::shared_ptr<const BVAPINearest>& /*nearest*/) override {}
};

}  // namespace

void payload(const PayloadOptions& options, Screen& screen) {
  const platform::JSONValue object = readObject(options.payload);
  Session session(options.service, {}, screen);
  session.install(locationWithoutSources());
  const Interrupt interrupt([&session] { session.interrupt(); });
  const auto announcer =
      std::make_shared<Announcer>(screen, Announcer::Options{.now = [] { return 0.0; }});
  const auto manager = session.connect(announcer);
  if (!manager) return;
  const auto receiver = std::make_shared<Receiver>();
  const auto client = BVAPI::init();
  client->setDelegate(receiver);
  client->setPayload_forWaybeaconUUID(object, options.uuid);
  session.waitUntilAnswered();
  if (session.isInterrupted()) return;
  session.failUnlessAnswered("the payload was not taken");
  if (!receiver->answer) {
    throw Failure(kServiceFailure, "the service knows no beacon '" + options.uuid + "'");
  }
  const std::string line = jsonLine(
      {{"uuid", receiver->answer->uuid().value_or("")}, {"payload", receiver->answer->payload()}});
  screen.print(options.service.json ? line : "Attached: " + line);
}

}  // namespace host
