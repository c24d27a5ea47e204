// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

#include "platform/Export.h"

/// A fault in the host application's configuration. Thrown while a manager is created, and only
/// then; no manager exists afterwards.
class BRIVANE_EXPORT BVException : public std::runtime_error {
 public:
  /// An exception of this name, with its reason.
  BVException(std::string name, const std::string& reason);
  ~BVException() override;

  /// Which fault: "BVAPICredentialsNotFound" or "BVCoreLocationAuthError".
  const std::string& name() const { return name_; }
  /// What to mend, one line for the host's developer.
  const char* reason() const { return what(); }

 private:
  std::string name_;
};
