// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "platform/Export.h"
#include "platform/JSON.h"

namespace platform {

/// JSON read by simdjson, one text after another, and written by hand in the shortest form. Any
/// thread. A text with more than 130,000 values is an error, so that reading 10 MiB costs at
/// most 64.
class BRIVANE_EXPORT SimdJSON final : public JSON {
 public:
  SimdJSON();
  ~SimdJSON() override;

  std::variant<JSONValue, JSONError> read(std::string_view bytes) const override;
  std::variant<std::string, JSONError> write(const JSONValue& value) const override;

 private:
  struct Parser;

  const std::unique_ptr<Parser> parser_;
};

}  // namespace platform
