// The address sanitizer asks the program for its options by this name. The reader copes with
// allocations that fail, so they must return to it.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options();

const char* __asan_default_options() {
  return "allocator_may_return_null=1";
}
