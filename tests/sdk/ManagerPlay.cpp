#include "tests/sdk/ManagerPlay.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <utility>

namespace {

/// Of the operations; those above are replies, which therefore come more often.
constexpr unsigned kLastBeforeReplies = 14;
constexpr unsigned kOperations = 18;

}  // namespace

template <typename Side>
void ManagerPlay::play(Side& side, const Step& step) {
  switch (step.operation) {
    case 0:
      if (step.number < 4) side.create(step.slot, step.delegate, step.number < 2);
      return;
    case 1:
      return side.start(step.slot);
    case 2:
      return side.stop(step.slot);
    case 3:
      return side.setDelegate(step.slot, step.delegate);
    case 4:
      return side.setEnabledGPS(step.slot, step.number > 3);
    case 5:
      return side.nearest(step.slot);
    case 6:
      return side.payload(step.slot);
    case 7:
      return side.regionState(step.slot, step.number % 4);
    case 8:
      return side.authorizationChanged(step.slot);
    case 9:
      return side.crossingsAndFailures(step.slot);
    case 10:
      return side.positions(step.slot, step.number % 3);
    case 11:
      if (step.number == 0) side.drop(step.slot);
      return;
    case 12:
    case 13:
    case 14:
      return side.range(step.slot, step.beacons);
    default:
      return side.reply(step.request, step.answer);
  }
}

template <typename Side>
void ManagerPlay::react(Side& side, const Step& step) {
  switch (step.reaction) {
    case 0:
      return side.stop(step.other);
    case 1:
      return side.start(step.other);
    case 2:
      return side.setDelegate(step.other, step.delegate);
    case 3:
      return side.drop(step.other);
    case 4:
      throw std::runtime_error("a host's own");
    default:
      return;
  }
}

template <typename Side>
std::string ManagerPlay::seenOf(Side& side, const Step& step) {
  side.reaction = [this, &side, &step] { react(side, step); };
  std::string seen;
  try {
    play(side, step);
  } catch (const std::exception&) {
    seen = "threw ";
  }
  side.reaction = nullptr;
  seen += side.take();
  for (const std::string& request : side.takeRequests()) seen += "\n  " + request;
  return seen;
}

ManagerPlay::Step ManagerPlay::chooseStep() {
  const char delegates[] = {0, 'A', 'B'};
  const std::int32_t identifiers[] = {0, 7, 65535};
  Step step{.operation = choose_(kOperations),
            .slot = choose_(ManagerModel::kSlots),
            .number = choose_(16),
            .delegate = delegates[choose_(3)],
            .beacons = std::vector<HeardBeacon>(choose_(4)),
            .request = choose_(4),
            .answer = {static_cast<Answer::Kind>(std::min(choose_(8), 4U)), ++answers_},
            .reaction = choose_(12),
            .other = choose_(ManagerModel::kSlots)};
  for (HeardBeacon& beacon : step.beacons) {
    beacon = {identifiers[choose_(3)], identifiers[choose_(3)], -static_cast<std::int32_t>(choose_(100))};
  }
  return step;
}

void ManagerPlay::changeSurroundings() {
  model_.surroundings = {.authorization = choose_(3) == 0 ? 4 : 3,
                         .enabled = choose_(4) != 0,
                         .offersAlways = choose_(2) != 0,
                         .hasCredentials = choose_(8) != 0,
                         .hasUsageText = choose_(8) != 0};
  real_.surround(model_.surroundings);
}

std::string ManagerPlay::step() {
  changeSurroundings();
  Step step = chooseStep();
  if (step.operation > kLastBeforeReplies && step.request >= model_.pending()) return "";
  const std::string expected = seenOf(model_, step);
  const std::string seen = seenOf(real_, step);
  return seen == expected ? "" : "expected: " + expected + "\nseen:     " + seen;
}
