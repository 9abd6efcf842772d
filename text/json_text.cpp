#include "text/json_text.h"

#include "text/json_escapes.h"

std::string JsonText(const nlohmann::ordered_json& value) {
  // In a JSON text such characters stand within strings only.
  return WithJsonEscapes(PlainJsonText(value));
}

std::string PlainJsonText(const nlohmann::ordered_json& value) {
  constexpr int kCompact = -1;
  constexpr bool kOnlyAscii = false;
  return value.dump(kCompact, ' ', kOnlyAscii, nlohmann::ordered_json::error_handler_t::replace);
}
