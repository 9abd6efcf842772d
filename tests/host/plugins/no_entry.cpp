// A shared library that is no plug-in.
extern "C" __attribute__((visibility("default"))) int SomethingElse() {
  return 1;
}
