#include "service/FormBody.h"

#include <algorithm>
#include <cstddef>

namespace service {

Fields parseFormBody(std::string_view body, std::initializer_list<std::string_view> keys) {
  Fields fields;
  std::string* value = nullptr;
  while (!body.empty()) {
    const std::size_t next = std::min(body.find('&', 1), body.size());
    const std::string_view piece = body.substr(0, next);
    body.remove_prefix(next);
    const std::string_view pair = piece.starts_with('&') ? piece.substr(1) : piece;
    const std::size_t equals = pair.find('=');
    const std::string_view key = pair.substr(0, equals);
    const bool begins = equals != std::string_view::npos &&
                        std::find(keys.begin(), keys.end(), key) != keys.end() &&
                        !fields.contains(key);
    if (begins) {
      value = &(fields[std::string(key)] = pair.substr(equals + 1));
    } else if (value != nullptr) {
      value->append(piece);
    }
  }
  return fields;
}

}  // namespace service
