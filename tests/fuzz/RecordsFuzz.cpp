#include "BrivaneSDK/BVInvalidReply.h"
#include "tests/fuzz/Input.h"
#include "tests/sdk/FakeServices.h"

/// A reply becomes a whole record, none, or a fault that says so.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FakeServices::get().take();
  const std::string body(textOf(data, size));
  const auto parse = [&body](auto* record) {
    try {
      std::remove_pointer_t<decltype(record)>::parse(body);
    } catch (const BVInvalidReply&) {
    }
  };
  parse(static_cast<BVAPILogin*>(nullptr));
  parse(static_cast<BVAPISync*>(nullptr));
  parse(static_cast<BVAPINearest*>(nullptr));
  parse(static_cast<BVAPIPayload*>(nullptr));
  parse(static_cast<BVWaybeaconDistance*>(nullptr));
  try {
    const auto resolve = BVAPIResolve::parse(body);
    require(!resolve || resolve->waybeacon());
  } catch (const BVInvalidReply&) {
  }
  return 0;
}
