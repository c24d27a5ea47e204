#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/sdk/FakeServices.h"
#include "tests/sdk/ManagerModel.h"

/// The real managers, with the operations of ManagerModel.
class RealManagers {
 public:
  std::function<void()> reaction;

  std::string take();
  std::vector<std::string> takeRequests();

  void surround(const Surroundings& surroundings);
  void create(std::size_t slot, char delegate, bool fromPropertyList);
  void drop(std::size_t slot);
  void setDelegate(std::size_t slot, char delegate);
  void setEnabledGPS(std::size_t slot, bool enabled);
  void start(std::size_t slot);
  void stop(std::size_t slot);
  void nearest(std::size_t slot);
  void payload(std::size_t slot);
  void regionState(std::size_t slot, std::int64_t state);
  void authorizationChanged(std::size_t slot);
  void crossingsAndFailures(std::size_t slot);
  void range(std::size_t slot, const std::vector<HeardBeacon>& beacons);
  void positions(std::size_t slot, std::size_t count);
  void reply(std::size_t index, const Answer& answer);

 private:
  class Host;

  std::shared_ptr<BVManagerDelegate> host(char name);

  FakeServices& services_ = FakeServices::get();
  std::array<std::shared_ptr<BVManager>, ManagerModel::kSlots> slots_;
  std::map<char, std::shared_ptr<BVManagerDelegate>> hosts_;
  std::map<std::string, std::shared_ptr<const BVAPIResolve>> records_;
};

/// Plays steps on the real managers and on the model, and compares what is seen of the two after each.
class ManagerPlay {
 public:
  /// A number below another, by which each step is chosen.
  using Choose = std::function<unsigned(unsigned)>;

  explicit ManagerPlay(Choose choose) : choose_(std::move(choose)) {}

  /// What differed, both sides of it; empty when nothing did.
  std::string step();

 private:
  struct Step {
    unsigned operation;
    std::size_t slot;
    unsigned number;
    char delegate;
    std::vector<HeardBeacon> beacons;
    std::size_t request;  // the one answered
    Answer answer;
    unsigned reaction;  // what the host does when it is called, to which manager
    std::size_t other;
  };

  void changeSurroundings();
  Step chooseStep();
  template <typename Side>
  std::string seenOf(Side& side, const Step& step);
  template <typename Side>
  void play(Side& side, const Step& step);
  template <typename Side>
  void react(Side& side, const Step& step);

  const Choose choose_;
  int answers_ = 0;
  ManagerModel model_;
  RealManagers real_;
};
