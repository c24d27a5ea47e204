// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BrivaneSDK/BVLocal.h"
#include "BrivaneSDK/BVWaybeaconDistance.h"
#include "platform/Location.h"

namespace guidance {

/// A place around the device's position.
struct NearbyPlace {
  std::shared_ptr<const BVLocal> local;
  double metres = 0.0;
  /// Where it lies, degrees from north, clockwise; absent while that is not known.
  std::optional<double> bearing = {};

  /// "120 metres to the north-east", for a person.
  std::string whereText() const;
};

/// The places around a coordinate. The service tells how far each is and not in which direction;
/// asked again for a point to the north and one to the east, it has told that too. One question is
/// asked at a time, because an answer does not say what it answers. One thread.
class Nearby {
 public:
  /// Asks for the places within so many metres of a point; false when it cannot.
  using Ask = std::function<bool(double latitude, double longitude, std::int64_t radius)>;

  explicit Nearby(Ask ask) : ask_(std::move(ask)) {}

  /// The device is there: asks anew, after the answer that is awaited, if there is one.
  void moved(const platform::CLLocation& position);
  /// The answer to the latest question. Whether `places` have changed.
  bool found(const std::shared_ptr<const BVWaybeaconDistance::List>& places);
  /// What became of the latest question: its answer follows, or none will. Whether `places` have
  /// changed.
  bool transferred(bool succeeded);

  /// Nearest first.
  const std::vector<NearbyPlace>& places() const { return places_; }

 private:
  bool abandon();
  bool publish();
  void askAnew();
  void ask();

  const Ask ask_;
  /// Where the device is, if that has not been asked for yet.
  std::optional<platform::CLLocationCoordinate2D> next_;
  platform::CLLocationCoordinate2D centre_;
  /// The distances of each place from the points asked for so far.
  std::map<std::string, std::array<double, 3>> metres_;
  /// Which point was asked for; absent while no answer is awaited.
  std::optional<std::size_t> awaited_;
  /// The answer has come, which is not to say that it could be read.
  bool answered_ = false;
  /// What the answers have told so far.
  std::vector<NearbyPlace> gathered_;
  std::vector<NearbyPlace> places_;
};

}  // namespace guidance
