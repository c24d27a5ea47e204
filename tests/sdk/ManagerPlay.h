#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/sdk/ManagerModel.h"
#include "tests/sdk/RealManagers.h"

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
