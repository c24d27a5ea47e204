// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

#include "platform/JSONValue.h"
#include "platform/Preferences.h"

namespace brivane::testing {

/// What platform/Preferences.h promises. `Harness` has one store, empty when it is made:
///
///   /// The store, as each start of the application opens it.
///   std::shared_ptr<platform::Preferences> open();
template <typename Harness>
class PreferencesContract : public ::testing::Test {
 protected:
  Harness harness;
};

TYPED_TEST_SUITE_P(PreferencesContract);

TYPED_TEST_P(PreferencesContract, KeepsTextsAtOnceAndForLater) {
  const auto now = this->harness.open();
  EXPECT_FALSE(now->objectForKey("installUUID"));
  EXPECT_FALSE(now->stringForKey("installUUID"));
  const std::string texts[] = {"5C8E3D7A", "", " lead\nline\ttab\\ \xC3\xB1=;[x]%41"};
  for (const std::string& text : texts) {
    now->setValue_forKey("before", "k" + text);
    now->setValue_forKey(text, "k" + text);
    EXPECT_EQ(now->objectForKey("k" + text), platform::JSONValue(text));
  }
  ASSERT_TRUE(now->synchronize());
  const auto later = this->harness.open();
  for (const std::string& text : texts) EXPECT_EQ(later->stringForKey("k" + text), text);
  EXPECT_FALSE(later->stringForKey("another"));
}

TYPED_TEST_P(PreferencesContract, BearsManyThreads) {
  const auto preferences = this->harness.open();
  std::vector<std::future<void>> threads;
  for (const std::string key : {"a", "b", "c"}) {
    threads.push_back(std::async(std::launch::async, [&preferences, key] {
      for (int i = 0; i < 50; ++i) {
        preferences->setValue_forKey(key, key);
        EXPECT_EQ(preferences->stringForKey(key), key);
      }
      EXPECT_TRUE(preferences->synchronize());
    }));
  }
  threads.clear();  // waits for each
  for (const std::string key : {"a", "b", "c"}) EXPECT_EQ(preferences->stringForKey(key), key);
}

REGISTER_TYPED_TEST_SUITE_P(PreferencesContract, KeepsTextsAtOnceAndForLater, BearsManyThreads);

}  // namespace brivane::testing
