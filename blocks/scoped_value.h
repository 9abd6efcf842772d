#pragma once

// Gives a variable another value until the end of a scope, however the scope is left.
template <class T>
class ScopedValue {
 public:
  ScopedValue(T& variable, T value) : mVariable(variable), mBefore(variable) { mVariable = value; }
  ~ScopedValue() { mVariable = mBefore; }
  ScopedValue(const ScopedValue&) = delete;
  ScopedValue& operator=(const ScopedValue&) = delete;

 private:
  T& mVariable;
  T mBefore;
};
