#include <new>

// What the C++ headers of newer systems expect to find in their libraries. A plug-in that brings
// these itself also runs with older libraries. They are visible to the plug-in only.

#define OF_THIS_PLUGIN __attribute__((visibility("hidden")))

// Whether reference counts may be changed without atomic instructions. 0 is right for any number of
// threads: the host may start one at any time, and nobody would update this variable then.
extern "C" {
extern char OF_THIS_PLUGIN __libc_single_threaded;
char __libc_single_threaded = 0;
}

// Called when a container is asked for more bytes than can be counted.
namespace std {
[[noreturn]] OF_THIS_PLUGIN void __throw_bad_array_new_length() {
  throw bad_array_new_length();
}
}  // namespace std
