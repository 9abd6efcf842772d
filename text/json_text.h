#pragma once

#include <nlohmann/json.hpp>
#include <string>

// Keys keep the order in which they were set.
using Json = nlohmann::ordered_json;

// One JSON value on one line. Bytes of a text that are not UTF-8 become U+FFFD. What a terminal
// would obey, and what turns the direction of writing, is escaped, as in \u202e; to a parser that
// is the same text.
std::string JsonText(const Json& value);

// The same without these escapes, for what is to be shown as it is.
std::string PlainJsonText(const Json& value);
