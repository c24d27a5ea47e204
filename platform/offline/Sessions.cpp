// SPDX-License-Identifier: Apache-2.0
#include "platform/offline/Sessions.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace platform {
namespace {

/// A host has one manager, or few; tokens of before have expired.
constexpr std::size_t kMostSessions = 16;
constexpr std::size_t kBytesOfDigest = 32;

/// The token that `request` bears; empty when it bears none.
std::string_view tokenOf(const HTTPRequest& request) {
  constexpr std::string_view kBearer = "Bearer ";
  for (const auto& [name, value] : request.headers) {
    if (name == "Authorization" && value.starts_with(kBearer)) {
      return std::string_view(value).substr(kBearer.size());
    }
  }
  return {};
}

}  // namespace

std::string accountOf(std::string_view network, std::string_view credentials) {
  struct Free {
    void operator()(GChecksum* sum) const { g_checksum_free(sum); }
  };
  const std::unique_ptr<GChecksum, Free> sum(g_checksum_new(G_CHECKSUM_SHA256));
  for (const std::string_view part : {network, std::string_view("\n"), credentials}) {
    g_checksum_update(sum.get(), reinterpret_cast<const guchar*>(part.data()),
                      static_cast<gssize>(part.size()));
  }
  std::array<guint8, kBytesOfDigest> digest{};
  gsize size = digest.size();
  g_checksum_get_digest(sum.get(), digest.data(), &size);
  return {digest.begin(), digest.end()};
}

std::optional<Sessions::Session> Sessions::find(const HTTPRequest& request) const {
  const MutexLock lock(mutex_);
  const Session* const session = at(tokenOf(request));
  return session == nullptr ? std::nullopt : std::optional(*session);
}

bool Sessions::isRefused(const std::string& token) const {
  const MutexLock lock(mutex_);
  const Session* const session = at(token);
  return session == nullptr || session->isRefused;
}

void Sessions::add(Session session) {
  const MutexLock lock(mutex_);
  append(std::move(session));
}

void Sessions::refuse(const std::string& token) {
  const MutexLock lock(mutex_);
  for (Session& session : sessions_) {
    if (session.token == token) session.isRefused = true;
  }
}

std::string Sessions::addOffline(const std::string& account) {
  const MutexLock lock(mutex_);
  std::string token = "offline-" + std::to_string(++offlineSessions_);
  append({.token = token, .account = account, .isOffline = true});
  return token;
}

bool Sessions::isOffline() const {
  const MutexLock lock(mutex_);
  return !sessions_.empty() && sessions_.back().isOffline;
}

const Sessions::Session* Sessions::at(std::string_view token) const {
  const auto found = std::ranges::find(sessions_, token, &Session::token);
  return found == sessions_.end() ? nullptr : &*found;
}

void Sessions::append(Session session) {
  std::erase_if(sessions_, [&](const Session& other) { return other.token == session.token; });
  sessions_.push_back(std::move(session));
  if (sessions_.size() > kMostSessions) sessions_.pop_front();
}

}  // namespace platform
