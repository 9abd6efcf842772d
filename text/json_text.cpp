#include "text/json_text.h"

#include "text/json_escapes.h"

std::string JsonText(const Json& value) {
  // In a JSON text such characters occur only within strings.
  return WithJsonEscapes(PlainJsonText(value));
}

std::string PlainJsonText(const Json& value) {
  constexpr int kCompact = -1;
  constexpr bool kOnlyAscii = false;
  return value.dump(kCompact, ' ', kOnlyAscii, Json::error_handler_t::replace);
}
