// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "platform/PropertyList.h"

namespace brivane::testing {

/// What platform/PropertyList.h promises. `Harness` makes a list:
///
///   /// "text" is the text "ñ & x"; "number" is 7, or absent where lists hold texts alone.
///   std::shared_ptr<platform::PropertyList> open();
template <typename Harness>
class PropertyListContract : public ::testing::Test {
 protected:
  Harness harness;
};

TYPED_TEST_SUITE_P(PropertyListContract);

TYPED_TEST_P(PropertyListContract, HasTextsByKey) {
  const auto list = this->harness.open();
  EXPECT_EQ(list->objectForInfoDictionaryKey("text"), "\xC3\xB1 & x");
  for (const char* key : {"number", "none", "", "tex", "Text"}) {
    EXPECT_FALSE(list->objectForInfoDictionaryKey(key)) << key;
  }
}

REGISTER_TYPED_TEST_SUITE_P(PropertyListContract, HasTextsByKey);

}  // namespace brivane::testing
