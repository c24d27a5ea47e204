// SPDX-License-Identifier: Apache-2.0
#include "platform/offline/OfflineHTTPClient.h"

#include <atomic>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/HostCall.h"
#include "platform/offline/Question.h"
#include "platform/offline/Replies.h"
#include "platform/offline/Sessions.h"
#include "platform/offline/SilentExit.h"
#include "platform/posix/SerialQueue.h"

namespace platform {
namespace {

using Kind = Question::Kind;
using Source = TransferOutcome::Source;
using Clock = SerialQueue::Clock;

constexpr int kOK = 200;

/// A request that somebody waits on, or whose reply may still come.
struct Asked {
  Question question;
  /// Of a login, the account alone.
  std::optional<Sessions::Session> session;
  /// What is told of it.
  TransferOutcome outcome;
  /// Empty once it has been called.
  HTTPClient::Completion completion;
  Clock::time_point begun = Clock::now();
};

OfflineHTTPClient::Options checked(OfflineHTTPClient::Options options) {
  if (!options.inner || !options.store || !options.json) {
    throw std::invalid_argument(
        "OfflineHTTPClient: the inner client, the store or JSON is missing");
  }
  return options;
}

}  // namespace

struct OfflineHTTPClient::State : std::enable_shared_from_this<OfflineHTTPClient::State> {
  using Reply = std::optional<HTTPResponse>;
  using Body = std::optional<std::string>;

  explicit State(Options given) : options(std::move(given)) {}

  std::shared_ptr<Asked> note(const HTTPRequest& request, Completion completion) const;
  void send(const std::shared_ptr<Asked>& asked, HTTPRequest request);
  void sendProbe(HTTPRequest request);

  // The rest is for the queue's thread alone.

  void begin(const std::shared_ptr<Asked>& asked);
  void awaitReply(const std::shared_ptr<Asked>& asked);
  void takeReply(const std::shared_ptr<Asked>& asked, const Reply& response, Body body);
  void learnFrom(const Asked& asked, const Reply& response, const Body& body);
  /// A reply, or a failure, that came `at` that time to what was sent at `begun`.
  void noteReply(Clock::time_point begun, Clock::time_point at, bool hasAnswered);
  void noteNetwork(bool isThere);
  /// Completes a request with what can be said without the service; false when that is nothing.
  bool offer(const std::shared_ptr<Asked>& asked);
  bool offerKept(const std::shared_ptr<Asked>& asked);
  void complete(const std::shared_ptr<Asked>& asked, const Reply& response, Body body,
                Source source = Source::kService);
  void fail(const std::shared_ptr<Asked>& asked, const char* fault);
  void failAll();

  const Options options;
  Sessions sessions;
  std::atomic<bool> isShut = false;
  std::atomic<bool> isAway = false;
  /// Whether a request is under way for nothing but to learn whether the network is back.
  std::atomic<bool> isProbing = false;
  Clock::time_point latestAnswer;
  /// Those whose completion is still to be called.
  std::set<std::shared_ptr<Asked>> open;
  SerialQueue queue{options.log};
  const SilentExit silentExit{queue};
};

OfflineHTTPClient::OfflineHTTPClient(Options options)
    : state_(std::make_shared<State>(checked(std::move(options)))) {}

OfflineHTTPClient::~OfflineHTTPClient() { shutdown(); }

void OfflineHTTPClient::execute(HTTPRequest request, Completion completion) {
  if (state_->isShut) return;
  const auto asked = state_->note(request, std::move(completion));
  state_->queue.post([state = state_, asked] { state->begin(asked); });
  if (!asked->session || !asked->session->isOffline) {
    state_->send(asked, std::move(request));
  } else if (asked->question.kind == Kind::kLasting) {
    state_->sendProbe(std::move(request));
  }
}

bool OfflineHTTPClient::isOffline() const { return state_->sessions.isOffline(); }

void OfflineHTTPClient::shutdown() {
  state_->isShut = true;
  state_->queue.post([state = state_] { state->failAll(); });
  state_->queue.close();
}

std::shared_ptr<Asked> OfflineHTTPClient::State::note(const HTTPRequest& request,
                                                      Completion completion) const {
  auto asked = std::make_shared<Asked>();
  asked->question = Question::of(request);
  asked->outcome.endpoint = endpointOf(request.url);
  asked->completion = std::move(completion);
  if (asked->question.kind == Kind::kLogin) {
    asked->session.emplace().account = accountOf(asked->question.network, request.body);
  } else {
    asked->session = sessions.find(request);
  }
  return asked;
}

void OfflineHTTPClient::State::send(const std::shared_ptr<Asked>& asked, HTTPRequest request) {
  options.inner->execute(std::move(request), [self = shared_from_this(), asked](
                                                 const Reply& response, Body body) {
    self->queue.post([self, asked, response, body = std::move(body), at = Clock::now()]() mutable {
      self->noteReply(asked->begun, at, isAnswer(response));
      self->takeReply(asked, response, std::move(body));
    });
  });
}

/// A made-up token is not sent: without one the service refuses, which says that it is there.
void OfflineHTTPClient::State::sendProbe(HTTPRequest request) {
  if (!isAway || isProbing.exchange(true)) return;
  std::erase_if(request.headers, [](const auto& field) { return field.first == "Authorization"; });
  options.inner->execute(std::move(request), [self = shared_from_this(), begun = Clock::now()](
                                                 const Reply& response, const Body&) {
    self->queue.post([self, begun, at = Clock::now(), response] {
      self->isProbing = false;
      self->noteReply(begun, at, isAnswer(response));
    });
  });
}

void OfflineHTTPClient::State::begin(const std::shared_ptr<Asked>& asked) {
  open.insert(asked);
  if (asked->session && asked->session->isOffline) {
    if (!offer(asked)) fail(asked, "there is no network, and no answer is kept");
  } else if (asked->question.kind != Kind::kLasting || !isAway || !offer(asked)) {
    awaitReply(asked);
  }
}

void OfflineHTTPClient::State::awaitReply(const std::shared_ptr<Asked>& asked) {
  if (asked->question.kind == Kind::kOther) return;
  const auto patience =
      asked->question.kind == Kind::kLasting ? options.patience : options.loginPatience;
  queue.postAt(asked->begun + patience, [self = shared_from_this(), asked] {
    if (!asked->completion) return;
    self->noteReply(asked->begun, Clock::now(), false);
    self->offer(asked);
  });
}

void OfflineHTTPClient::State::takeReply(const std::shared_ptr<Asked>& asked, const Reply& response,
                                         Body body) {
  const bool isLate = !asked->completion;
  if (!isLate && !isAnswer(response) && offer(asked)) return;
  if (!isLate && asked->question.kind == Kind::kLogin && isSuccess(response) && body) {
    if (auto token = accessTokenIn(*options.json, *body)) {
      sessions.add({.token = *std::move(token), .account = asked->session->account});
    }
  }
  if (!isLate && !response) {
    fail(asked, "the transport failed");
  } else if (!isLate) {
    complete(asked, response, body);  // before the disk is waited for
  }
  learnFrom(*asked, response, body);
}

void OfflineHTTPClient::State::learnFrom(const Asked& asked, const Reply& response,
                                         const Body& body) {
  const auto& session = asked.session;
  if (!session) return;
  const Kind kind = asked.question.kind;
  if (isRefusal(response)) {
    sessions.refuse(session->token);
    if (kind == Kind::kLogin) options.store->forget(session->account);
    if (isForbidden(response)) options.store->forget(session->account, asked.question.key);
  } else if (kind == Kind::kLasting && isSuccess(response) && body) {
    const Worth worth = worthOf(*options.json, *body);
    if (worth == Worth::kNone) return;
    options.store->keep(session->account, asked.question.key, *body, worth == Worth::kUnknown);
  }
}

void OfflineHTTPClient::State::noteReply(Clock::time_point begun, Clock::time_point at,
                                         bool hasAnswered) {
  if (hasAnswered) latestAnswer = at;
  // A request that failed says nothing of a network that has answered since.
  if (hasAnswered || begun > latestAnswer) noteNetwork(hasAnswered);
}

void OfflineHTTPClient::State::noteNetwork(bool isThere) {
  if (isAway.exchange(!isThere) == !isThere || !options.onNetwork) return;
  callHost([&] { options.onNetwork(isThere); }, options.log.get());
}

bool OfflineHTTPClient::State::offer(const std::shared_ptr<Asked>& asked) {
  const Kind kind = asked->question.kind;
  if (kind == Kind::kLasting) return offerKept(asked);
  if (!options.allowOffline || !asked->session || kind == Kind::kOther) return false;
  complete(asked, HTTPResponse{kOK},
           kind == Kind::kLogin ? offlineLoginReply(sessions.addOffline(asked->session->account))
                                : offlineSyncReply(),
           Source::kClient);
  return true;
}

bool OfflineHTTPClient::State::offerKept(const std::shared_ptr<Asked>& asked) {
  const auto& session = asked->session;
  if (!session || sessions.isRefused(session->token)) return false;
  auto kept = options.store->find(session->account, asked->question.key);
  if (!kept) return false;
  asked->outcome.keptSince = kept->received;
  complete(asked, HTTPResponse{kOK}, std::move(kept->body), Source::kStore);
  return true;
}

void OfflineHTTPClient::State::complete(const std::shared_ptr<Asked>& asked, const Reply& response,
                                        Body body, Source source) {
  open.erase(asked);
  const Completion completion = std::exchange(asked->completion, nullptr);
  TransferOutcome& outcome = asked->outcome;
  if (response) outcome.status = response->statusCode;
  outcome.duration =
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - asked->begun);
  outcome.source = source;
  if (options.onTransfer) callHost([&] { options.onTransfer(outcome); }, options.log.get());
  if (completion) {
    callHost([&] { completion(response, std::move(body)); }, options.log.get());
  }
}

void OfflineHTTPClient::State::fail(const std::shared_ptr<Asked>& asked, const char* fault) {
  asked->outcome.fault = fault;
  complete(asked, std::nullopt, std::nullopt);
}

void OfflineHTTPClient::State::failAll() {
  while (!open.empty()) {
    const auto asked = *open.begin();
    fail(asked, "shut down");
  }
}

}  // namespace platform
