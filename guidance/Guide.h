// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BrivaneSDK/BVWaybeaconDistance.h"
#include "guidance/Announcements.h"
#include "guidance/Connection.h"
#include "guidance/Nearby.h"
#include "guidance/Places.h"
#include "guidance/Sentences.h"
#include "guidance/Speech.h"
#include "guidance/Troubles.h"
#include "platform/Location.h"
#include "platform/TransferOutcome.h"
#include "platform/location/Permission.h"
#include "platform/location/Radio.h"

namespace guidance {

/// What the application shows and says, from what guiding brings. It reads no clock and owns no
/// thread; whoever shows it calls it on the thread on which it is fed.
class Guide {
 public:
  using Time = std::optional<std::chrono::system_clock::time_point>;

  /// How the person wants to be spoken to.
  struct Manner {
    /// Places and troubles are spoken as they come; else nothing is, but for what is asked for.
    bool speaksByItself = true;
    /// A screen reader runs: what it reads itself, which is what a key or a button brought up, is
    /// not spoken.
    bool screenReader = false;
    Detail detail = Detail::kWhere;
    /// Of the network's texts; empty when it is not known.
    std::string language = {};
  };

  /// `onChange` is called after whatever may have changed what is shown. `askNearby` asks the
  /// service, in whichever session there is.
  Guide(Speech& speech, Nearby::Ask askNearby, std::function<void()> onChange);

  void setManner(const Manner& manner);
  /// While a call or another voice is to be heard.
  void hush(bool hushed);

  const Places& places() const { return places_; }
  const std::vector<NearbyPlace>& nearby() const { return nearby_.places(); }
  /// What is wrong, the gravest of all; absent while all is well.
  std::optional<Trouble> trouble() const { return troubles_.gravest(); }
  Session session() const { return session_; }
  /// What was told last that is no place, as that Bluetooth works again; empty at first.
  const std::string& notice() const { return notice_; }
  /// The last that was said, or would have been; empty when nothing was.
  std::string lastSaid() const { return last_ ? last_->text : std::string(); }

  /// Says the last announcement again.
  void sayAgain();
  /// Says everything about the place that one is at, unless the screen reader does.
  void sayMore();
  /// The voice cannot be heard, for the reason in `fault`; empty when it can.
  void speechChanged(const std::string& fault, Instant now);

  // What guiding brings, with the time on guiding's own clock.

  /// Guiding begins anew: what was heard before is not true any more.
  void began();
  /// A ranging report, about once a second near beacons: the places that the service knows, nearest
  /// first.
  void reported(std::vector<Sighting> places, Instant now);
  /// The place with this identifier was named, from a store if `keptSince` says since when.
  void named(const std::string& place, Time keptSince);
  /// The device is there.
  void moved(const platform::CLLocation& position, Instant now);
  /// The answer to `askNearby`; null when there is no place.
  void found(const std::shared_ptr<const BVWaybeaconDistance::List>& places);
  void sessionChanged(Session session, Instant now);
  /// How a request to the service ended.
  void transferred(const platform::TransferOutcome& outcome, Instant now);
  void radioChanged(const platform::Radio::Status& status, Instant now);
  /// `reason` is empty when all is granted.
  void permissionChanged(const platform::Permission& permission, const std::string& reason,
                         Instant now);
  /// There are no positions, though they are wanted, for the reason in one line.
  void noPositions(const std::string& reason, Instant now);
  /// A recording is over; `fault` says, in one line, why before its end, and is empty at its end.
  void ended(const std::string& fault);

 private:
  void say(const Utterance& utterance);
  void tell(const std::optional<Troubles::News>& news);

  Speech& speech_;
  const std::function<void()> onChange_;
  Manner manner_;
  bool hushed_ = false;
  Places places_;
  Nearby nearby_;
  Announcements announcements_;
  Troubles troubles_;
  Session session_ = Session::kConnecting;
  std::string notice_;
  std::optional<Utterance> last_;
  int failures_ = 0;
  /// Of each place, whether its name is kept, and since when.
  std::map<std::string, Time> keptSince_;
};

}  // namespace guidance
