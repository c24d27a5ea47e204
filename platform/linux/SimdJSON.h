#pragma once

#include "platform/Export.h"
#include "platform/JSON.h"

namespace platform {

/// JSON read by simdjson, and written by hand in the shortest form.
class BRIVANE_EXPORT SimdJSON final : public JSON {
 public:
  std::variant<JSONValue, JSONError> read(std::string_view bytes) const override;
  std::variant<std::string, JSONError> write(const JSONValue& value) const override;
};

}  // namespace platform
