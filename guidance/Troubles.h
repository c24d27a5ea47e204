// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <initializer_list>
#include <map>
#include <optional>
#include <string>

#include "platform/location/Instant.h"

namespace guidance {

using platform::Duration;
using platform::Instant;

/// What a button beside a trouble does.
enum class Remedy { kNone, kSwitchBluetoothOn, kOpenSettings, kImportCredentials, kTryAgain };

/// What is wrong, gravest first.
enum class TroubleKind {
  kNoCredentials,
  kRefused,
  kNotRenewed,
  kNoPermission,
  kNoAdapter,
  kBluetoothOff,
  /// By the airplane mode, or a switch of the device.
  kBluetoothBlocked,
  kRadio,
  kService,
  kNoNetwork,
  kNoPositions,
  kNoSpeech,
};

struct Trouble {
  TroubleKind kind;
  /// One sentence that says what is wrong, and one that says what to do.
  std::string sentence;
  std::string advice;
  Remedy remedy = Remedy::kNone;
  /// Guiding does not go on while it lasts.
  bool endsGuiding = false;
};

/// What is wrong now, from the faults that guiding tells. Each is to be said once when it comes and
/// once when it has gone, and not again within two minutes. One thread.
class Troubles {
 public:
  /// What to say to a person of a change.
  struct News {
    std::string text;
    bool urgent = false;
  };

  /// `kind` is there, or is not; `detail` is one line that says more, where the kind needs it.
  /// What to say of that; absent for nothing.
  std::optional<News> set(TroubleKind kind, bool isThere, Instant now,
                          const std::string& detail = {});

  /// Of these kinds, of which one at a time can be there, it is `kind`, or none.
  std::optional<News> setOneOf(std::initializer_list<TroubleKind> kinds,
                               std::optional<TroubleKind> kind, Instant now,
                               const std::string& detail = {});

  /// The gravest; absent while all is well.
  std::optional<Trouble> gravest() const;
  bool has(TroubleKind kind) const { return there_.contains(kind); }

 private:
  struct There {
    std::string detail;
    /// Whether a person was told of it, and so is told when it has gone.
    bool isTold = false;
  };

  std::map<TroubleKind, There> there_;
  std::map<TroubleKind, Instant> told_;
};

}  // namespace guidance
