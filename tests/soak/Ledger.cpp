#include "tests/soak/Ledger.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <utility>

#include "BrivaneSDK/BVAPIResolve.h"

namespace soak {
namespace {

constexpr int kMostRequests = 5;

/// The number behind `label`; -1 when there is none.
int numberBehind(std::string_view label, std::string_view text) {
  const std::size_t found = text.find(label);
  int number = -1;
  if (found != std::string_view::npos) {
    std::from_chars(text.data() + found + label.size(), text.data() + text.size(), number);
  }
  return number;
}

bool isMatch(const std::optional<std::string>& body) {
  const auto reply = nlohmann::json::parse(body.value_or(""), nullptr, false);
  return reply.is_object() && reply.value("status", false);
}

}  // namespace

void Ledger::execute(platform::HTTPRequest request, Completion completion) {
  const int major = numberBehind("major=", request.body);
  const auto beacon = static_cast<std::size_t>(Street::beacon(major, numberBehind("minor=", request.body)));
  const std::lock_guard lock(mutex_);
  ++requests_;
  if (major < 0) return inner_->execute(std::move(request), std::move(completion));
  if (++entries_.at(beacon).asked > kMostRequests) fail("asked for too often", beacon);
  inner_->execute(std::move(request), [this, beacon, completion = std::move(completion)](auto response, auto body) {
    {
      const std::lock_guard answering(mutex_);
      isMatch(body) ? entries_.at(beacon).answered = true : ++unanswered_;
    }
    completion(std::move(response), std::move(body));
  });
}

void Ledger::write(std::string_view line) {
  const bool opensReport = line == "Ranging beacons ok";
  if (opensReport) closeReport();
  const std::lock_guard lock(mutex_);
  if (opensReport) ++reports_;
  const int major = numberBehind("-> Major: ", line);
  if (major < 0) return;
  Entry& entry = entries_.at(static_cast<std::size_t>(Street::beacon(major, numberBehind("Minor: ", line))));
  entry.heard = true;
  entry.matched = false;
}

void Ledger::closeReport() {
  const std::lock_guard lock(mutex_);
  for (std::size_t beacon = 0; beacon < entries_.size(); ++beacon) {
    Entry& entry = entries_.at(beacon);
    if (entry.heard && entry.answered && !entry.matched) fail("answered and not told", beacon);
    entry.heard = false;
  }
}

void Ledger::restart() {
  const std::lock_guard lock(mutex_);
  for (Entry& entry : entries_) entry = {};
}

void Ledger::didErrorFound(const std::shared_ptr<const BVError>& error) {
  const std::lock_guard lock(mutex_);
  faults_.push_back("error " + std::to_string(error->errorCode()));
}

void Ledger::didBVMatch(const std::shared_ptr<const BVAPIResolve>& match) {
  const std::lock_guard lock(mutex_);
  ++matches_;
  const auto beacon = static_cast<std::size_t>(std::stoi(match->uuid().value()));
  Entry& entry = entries_.at(beacon);
  const auto known = entry.record.lock();
  if (known && known != match) fail("told with another object", beacon);
  entry.record = match;
  entry.matched = true;
}

void Ledger::fail(const std::string& fault, std::size_t beacon) {
  faults_.push_back("report " + std::to_string(reports_) + ": beacon " + std::to_string(beacon) + " " + fault);
}

}  // namespace soak
