#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Little-endian integers at any address.
template <class Integer>
Integer LoadLittleEndian(const void* bytes) {
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "records and files are little-endian");
  Integer value;
  std::memcpy(&value, bytes, sizeof(value));
  return value;
}

template <class Integer>
void StoreLittleEndian(void* bytes, Integer value) {
  static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "records and files are little-endian");
  std::memcpy(bytes, &value, sizeof(value));
}

// Reads bytes that come from a file. Every read is checked against what is left, and moves on only
// when it succeeds. Borrows the bytes.
class ByteCursor {
 public:
  ByteCursor(const void* bytes, std::size_t size)
      : mNext(static_cast<const unsigned char*>(bytes)), mLeft(size) {}

  std::size_t Left() const { return mLeft; }
  const unsigned char* Next() const { return mNext; }

  template <class Integer>
  [[nodiscard]] bool Read(Integer* value) {
    if (mLeft < sizeof(Integer)) return false;
    *value = LoadLittleEndian<Integer>(mNext);
    Advance(sizeof(Integer));
    return true;
  }

  [[nodiscard]] bool Skip(std::size_t count) {
    if (mLeft < count) return false;
    Advance(count);
    return true;
  }

  // The length of the text that starts here: up to its NUL, or to the end of the bytes when there
  // is none.
  std::size_t TextLength() const {
    const void* const nul = std::memchr(mNext, 0, mLeft);
    return nul == nullptr
               ? mLeft
               : static_cast<std::size_t>(static_cast<const unsigned char*>(nul) - mNext);
  }

 private:
  void Advance(std::size_t count) {
    mNext += count;
    mLeft -= count;
  }

  const unsigned char* mNext;
  std::size_t mLeft;
};
