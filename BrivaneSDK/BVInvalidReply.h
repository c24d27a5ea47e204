// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>

#include "platform/Export.h"

/// A reply of the service that is JSON but not of the form that a record is read from: a list where
/// a number belongs, say. Leaves a record's `parse`; no record is built. The client of the service
/// ends it with a line in the log, so only who calls `parse` meets it.
class BRIVANE_EXPORT BVInvalidReply : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  ~BVInvalidReply() override;
};
