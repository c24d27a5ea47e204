// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

/// For a program whose cases use the library's services and session, which belong to the process: a second case would
/// begin where the first left. CTest runs one a process.
class OneCase final : public testing::Environment {
  void SetUp() override {
    if (testing::UnitTest::GetInstance()->test_to_run_count() == 1) return;
    std::cerr << "Each case needs a process of its own: run ctest, or name one with --gtest_filter.\n";
    std::exit(2);
  }
};
inline const auto* const kOneCase = testing::AddGlobalTestEnvironment(new OneCase);
