#pragma once

#include <cstdlib>

// How often a test does its work: a moderate number, or a large one when the environment variable
// ZEL3_LONG is set.
inline int Scaled(int usual, int large) {
  return std::getenv("ZEL3_LONG") != nullptr ? large : usual;
}
