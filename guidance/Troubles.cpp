// SPDX-License-Identifier: Apache-2.0
#include "guidance/Troubles.h"

#include <chrono>
#include <cstddef>
#include <utility>

#include "guidance/Text.h"

namespace guidance {
namespace {

constexpr Duration kLeastInterval = std::chrono::minutes(2);

struct Words {
  TroubleKind kind;
  const char* sentence;
  const char* advice;
  /// Said when it has gone.
  const char* mended;
  Remedy remedy;
  bool endsGuiding;
};

constexpr Words kWords[] = {
    {TroubleKind::kNoCredentials, N_("The network's property list is missing."),
     N_("Import the file that the network gave you."), N_("The property list is there."),
     Remedy::kImportCredentials, true},
    {TroubleKind::kRefused, N_("The network refuses the credentials."),
     N_("Import a newer file from the network."), N_("The network accepts the credentials."),
     Remedy::kImportCredentials, true},
    {TroubleKind::kNotRenewed, N_("The session with the network has ended."),
     N_("It is tried again by itself."), N_("The session with the network goes on."),
     Remedy::kTryAgain, false},
    {TroubleKind::kNoPermission, N_("This application may not use Bluetooth."),
     N_("Allow it in the settings."), N_("Bluetooth may be used."), Remedy::kOpenSettings, true},
    {TroubleKind::kNoAdapter, N_("There is no Bluetooth adapter."), N_("Plug one in."),
     N_("Bluetooth works again."), Remedy::kNone, true},
    {TroubleKind::kBluetoothOff, N_("Bluetooth is off."), N_("Switch it on."),
     N_("Bluetooth works again."), Remedy::kSwitchBluetoothOn, true},
    {TroubleKind::kBluetoothBlocked, N_("The device keeps Bluetooth off."),
     N_("End the airplane mode, or use the device's own switch."), N_("Bluetooth works again."),
     Remedy::kOpenSettings, true},
    {TroubleKind::kRadio, N_("Bluetooth does not listen."), N_("%1."), N_("Bluetooth works again."),
     Remedy::kNone, true},
    {TroubleKind::kService, N_("The network's service is out of order."),
     N_("It is tried again by itself."), N_("The network's service works again."),
     Remedy::kTryAgain, false},
    {TroubleKind::kNoNetwork, N_("The network cannot be reached."),
     N_("Known places are still named."), N_("The network is back."), Remedy::kTryAgain, false},
    {TroubleKind::kNoPositions, N_("There are no positions."),
     N_("Switch location on in the settings, and allow it."), N_("Positions work again."),
     Remedy::kOpenSettings, false},
    {TroubleKind::kNoSpeech, N_("There is no voice."),
     N_("Install or start speech-dispatcher; it is tried again by itself."),
     N_("The voice is back."), Remedy::kNone, false},
};

const Words& wordsOf(TroubleKind kind) { return kWords[static_cast<std::size_t>(kind)]; }

}  // namespace

std::optional<Troubles::News> Troubles::set(TroubleKind kind, bool isThere, Instant now,
                                            const std::string& detail) {
  const Words& words = wordsOf(kind);
  const auto known = there_.find(kind);
  if (!isThere) {
    if (known == there_.end()) return std::nullopt;
    const bool wasTold = known->second.isTold;
    there_.erase(known);
    return wasTold ? std::optional(News{.text = _(words.mended)}) : std::nullopt;
  }
  if (known != there_.end()) {
    known->second.detail = detail;
    return std::nullopt;
  }
  const auto told = told_.find(kind);
  const bool tells = told == told_.end() || now - told->second >= kLeastInterval;
  there_[kind] = {.detail = detail, .isTold = tells};
  if (!tells) return std::nullopt;
  told_[kind] = now;
  return News{.text = std::string(_(words.sentence)) + ' ' + filled(_(words.advice), {detail}),
              .urgent = words.endsGuiding};
}

std::optional<Troubles::News> Troubles::setOneOf(std::initializer_list<TroubleKind> kinds,
                                                 std::optional<TroubleKind> kind, Instant now,
                                                 const std::string& detail) {
  std::optional<News> gone;
  for (const TroubleKind other : kinds) {
    if (other == kind) continue;
    if (auto news = set(other, false, now)) gone = std::move(news);
  }
  return kind ? set(*kind, true, now, detail) : gone;
}

std::optional<Trouble> Troubles::gravest() const {
  if (there_.empty()) return std::nullopt;
  const auto& [kind, there] = *there_.begin();
  const Words& words = wordsOf(kind);
  return Trouble{.kind = kind,
                 .sentence = _(words.sentence),
                 .advice = filled(_(words.advice), {there.detail}),
                 .remedy = words.remedy,
                 .endsGuiding = words.endsGuiding};
}

}  // namespace guidance
