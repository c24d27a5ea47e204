#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iostream>
#include <random>

#include "tests/sdk/ManagerPlay.h"

namespace {

constexpr unsigned kLives = 500;
constexpr int kSteps = 2000;

/// Whether a process's whole life goes as the model says.
bool live(unsigned seed) {
  std::mt19937 random(seed);
  ManagerPlay play([&random](unsigned below) { return static_cast<unsigned>(random() % below); });
  for (int step = 0; step < kSteps; ++step) {
    if (const std::string difference = play.step(); !difference.empty()) {
      std::cerr << "life " << seed << ", step " << step << "\n" << difference << "\n";
      return false;
    }
  }
  return true;
}

TEST(ManagerModel, AgreesOverAMillionSteps) {
  for (unsigned seed = 0; seed < kLives; ++seed) {
    // A life is a process, because nothing takes the library back to where it began.
    const pid_t child = fork();
    if (child == 0) _exit(live(seed) ? 0 : 1);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0) << "life " << seed;
  }
}

}  // namespace
