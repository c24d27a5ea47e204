// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/utsname.h>

#include "platform/JSONValue.h"
#include "platform/UUID.h"
#include "platform/posix/SerialQueue.h"
#include "platform/posix/SystemRandomUUID.h"
#include "platform/posix/UnameDeviceModel.h"

namespace {

using platform::JSONValue;
using platform::UUID;

TEST(UUIDTest, ReadsItsCanonicalFormAlone) {
  const char* const canonical = "5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F385";
  const auto upper = UUID::initWithUUIDString(canonical);
  ASSERT_TRUE(upper);
  EXPECT_EQ(upper->UUIDString(), canonical);
  EXPECT_EQ(UUID::initWithUUIDString("5c8e3d7a-41b2-4f60-9e0b-27d1a6c4f385"), upper);
  for (const char* text : {"5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F38", "5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F3855",
                           "5C8E3D7AA41B2-4F60-9E0B-27D1A6C4F385", "5C8E3D7A-41B2-4F60-9E0B-27D1A6C4F38G"}) {
    EXPECT_FALSE(UUID::initWithUUIDString(text)) << text;
  }
}

TEST(PosixTest, TellsTheMachineAndMakesVersionFourIdentifiers) {
  utsname names{};
  uname(&names);
  EXPECT_EQ(platform::UnameDeviceModel().model(), names.machine);
  platform::SystemRandomUUID random;
  const UUID one = random.generate();
  EXPECT_NE(one, random.generate());
  EXPECT_EQ(one.bytes()[6] >> 4U, 4);  // the version
  EXPECT_EQ(one.bytes()[8] >> 6U, 2);  // the variant
}

TEST(SerialQueueTest, DropsAtOnceWhatComesAfterItsEnd) {
  platform::SerialQueue queue(nullptr);
  queue.close();
  const auto held = std::make_shared<int>();
  queue.post([held] {});
  EXPECT_EQ(held.use_count(), 1);
}

template <typename Value>
concept LendsViews = requires(Value value) {
  std::forward<Value>(value).list();
}
|| requires(Value value) { std::forward<Value>(value).members(); }
|| requires(Value value) { std::forward<Value>(value).find("key"); };
static_assert(LendsViews<JSONValue&> && !LendsViews<JSONValue> && !LendsViews<const JSONValue>);
static_assert(!std::is_constructible_v<JSONValue, int*> && !std::is_constructible_v<JSONValue, std::nullptr_t>);

TEST(JSONValueTest, SharesFindsAndCompares) {
  const JSONValue object(JSONValue::Object{{"a", 1}, {"a", 2}, {"list", JSONValue::List{"x", {}}}});
  const JSONValue copy = object;
  EXPECT_EQ(copy.find("list"), object.find("list"));
  EXPECT_EQ(object.find("a")->integer(), 1);  // the first of equal keys
  EXPECT_EQ(object.find("b"), nullptr);
  EXPECT_EQ(object, JSONValue(JSONValue::Object{{"a", 1}, {"a", 2}, {"list", JSONValue::List{"x", {}}}}));
  EXPECT_FALSE(JSONValue(1) == JSONValue(1.0));
  EXPECT_THROW(JSONValue("text").integer(), std::bad_variant_access);
  JSONValue list(JSONValue::List{1});
  const JSONValue taken = std::move(list);
  EXPECT_EQ(taken.list().size(), 1);
  EXPECT_TRUE(list.isNull());  // NOLINT(bugprone-use-after-move): what it promises
}

}  // namespace
