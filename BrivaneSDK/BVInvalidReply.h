// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

#include "platform/Export.h"

/// A reply of the service that is JSON but not of the form that a record is read from: a list where
/// a number belongs, say. Leaves a record's `parse`; no record is built. The HTTP client that
/// handed over the reply ends it there, so that a host never meets it in ordinary use.
class BRIVANE_EXPORT BVInvalidReply : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  ~BVInvalidReply() override;
};
