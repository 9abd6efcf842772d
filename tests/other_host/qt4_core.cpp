#include <cstdio>
#include <cstdlib>

// Stands for the library of Qt 4: its symbols have no versions, and some have the same names as in
// Qt 5. Here this one does, and says that it was called.

class __attribute__((visibility("default"))) QString {
  struct Data;
  static Data* fromLatin1_helper(const char* text, int size);
};

QString::Data* QString::fromLatin1_helper(const char* /*text*/, int /*size*/) {
  std::fputs("Qt 4 has been called\n", stderr);
  std::_Exit(44);
}
