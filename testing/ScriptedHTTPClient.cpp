// SPDX-License-Identifier: Apache-2.0
#include "testing/ScriptedHTTPClient.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "platform/HostCall.h"
#include "platform/Mutex.h"

namespace brivane::testing {
namespace {

std::string lineFor(const platform::HTTPRequest& request) {
  constexpr std::string_view kPrefix = "/v1/";
  const std::size_t prefix = request.url.rfind(kPrefix);
  std::string line = request.method + " ";
  line += prefix == std::string::npos ? request.url : request.url.substr(prefix + kPrefix.size());
  line += " " + request.body;
  for (const auto& [name, value] : request.headers) {
    if (name == "Authorization") line += " [" + value + "]";
  }
  return line;
}

}  // namespace

struct ScriptedHTTPClient::State {
  struct Waiting {
    platform::HTTPRequest request;
    Completion completion;
  };
  struct Scripted {
    std::string ending;
    Answer answer;
  };

  explicit State(std::shared_ptr<Journal> someJournal) : journal(std::move(someJournal)) {}

  void complete(const Completion& completion, Reply reply) const {
    if (!completion) return;
    const auto response =
        reply.body ? std::optional(platform::HTTPResponse{reply.status}) : std::nullopt;
    platform::callHost([&] { completion(response, std::move(reply.body)); }, journal.get());
  }

  Waiting take(std::size_t index) BRIVANE_REQUIRES(mutex) {
    if (index >= waiting.size()) {
      throw std::out_of_range("no request waits at place " + std::to_string(index));
    }
    Waiting taken = std::move(waiting[index]);
    waiting.erase(waiting.begin() + static_cast<std::ptrdiff_t>(index));
    return taken;
  }

  /// The answer that is scripted for `request`; empty when none is.
  Answer answerTo(const platform::HTTPRequest& request) const BRIVANE_REQUIRES(mutex) {
    const auto fitting = std::ranges::find_if(
        script, [&](const Scripted& each) { return request.url.ends_with(each.ending); });
    return fitting == script.end() ? nullptr : fitting->answer;
  }

  /// Answers the oldest request that is scripted; false when none is.
  bool deliverOne() {
    platform::MutexLock lock(mutex);
    for (std::size_t i = 0; i < waiting.size(); ++i) {
      const Answer answer = answerTo(waiting[i].request);
      if (!answer) continue;
      const Waiting taken = take(i);
      lock.unlock();
      complete(taken.completion, answer(taken.request));
      return true;
    }
    return false;
  }

  const std::shared_ptr<Journal> journal;
  platform::Mutex mutex;
  std::vector<platform::HTTPRequest> requests BRIVANE_GUARDED_BY(mutex);
  std::vector<Waiting> waiting BRIVANE_GUARDED_BY(mutex);
  std::vector<Scripted> script BRIVANE_GUARDED_BY(mutex);
  bool isShutDown BRIVANE_GUARDED_BY(mutex) = false;
};

ScriptedHTTPClient::ScriptedHTTPClient(std::shared_ptr<Journal> journal)
    : state_(std::make_unique<State>(std::move(journal))) {}

ScriptedHTTPClient::~ScriptedHTTPClient() { shutdown(); }

void ScriptedHTTPClient::execute(platform::HTTPRequest request, Completion completion) {
  std::erase_if(request.headers, [](const auto& header) {
    return (header.first + header.second).find_first_of("\r\n") != std::string::npos;
  });
  const platform::MutexLock lock(state_->mutex);
  if (state_->isShutDown) return;
  if (state_->journal) state_->journal->write(lineFor(request));
  state_->requests.push_back(request);
  state_->waiting.push_back({std::move(request), std::move(completion)});
}

void ScriptedHTTPClient::script(const std::string& ending, Answer answer) {
  const platform::MutexLock lock(state_->mutex);
  const auto present = std::ranges::find(state_->script, ending, &State::Scripted::ending);
  if (present != state_->script.end()) {
    present->answer = std::move(answer);
  } else {
    state_->script.push_back({ending, std::move(answer)});
  }
}

void ScriptedHTTPClient::script(const std::string& ending, Reply reply) {
  script(ending, [reply = std::move(reply)](const auto& /*request*/) { return reply; });
}

void ScriptedHTTPClient::deliver() {
  while (state_->deliverOne()) {
  }
}

void ScriptedHTTPClient::reply(Reply reply, std::size_t index) {
  platform::MutexLock lock(state_->mutex);
  const State::Waiting taken = state_->take(index);
  lock.unlock();
  state_->complete(taken.completion, std::move(reply));
}

std::size_t ScriptedHTTPClient::waiting() const {
  const platform::MutexLock lock(state_->mutex);
  return state_->waiting.size();
}

std::vector<platform::HTTPRequest> ScriptedHTTPClient::takeRequests() {
  const platform::MutexLock lock(state_->mutex);
  return std::exchange(state_->requests, {});
}

void ScriptedHTTPClient::shutdown() {
  platform::MutexLock lock(state_->mutex);
  state_->isShutDown = true;
  const auto left = std::exchange(state_->waiting, {});
  lock.unlock();
  for (const auto& each : left) state_->complete(each.completion, {});
}

}  // namespace brivane::testing
