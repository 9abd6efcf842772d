#pragma once

#include <cstddef>
#include <cstring>

// The place of a virtual function in the table: a pointer to it holds that place in bytes, plus
// one.
template <class Function>
std::size_t SlotOf(Function function) {
  std::ptrdiff_t value = 0;
  std::memcpy(&value, &function, sizeof(value));
  return static_cast<std::size_t>(value - 1) / sizeof(void*);
}
