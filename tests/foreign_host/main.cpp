#include <alloca.h>

#include <cstdlib>
#include <exception>
#include <iostream>

#include "counters.h"
#include "scheduler.h"
#include "service_checks.h"

namespace {

bool Check(const char* file, const std::string& folder) {
  Checks checks;
  {
    const Plugin plugin(file);
    for (const bool atOnce : {false, true}) {
      std::cout << (atOnce ? "Sends deliver at once:\n" : "Sends fill queues:\n");
      Scheduler::deliversAtOnce = atOnce;
      const std::string suffix = atOnce ? "_at_once" : "_queued";
      CheckFolder(plugin, folder + "/folder" + suffix, checks);
      CheckSingleFile(plugin, folder + "/file" + suffix, checks);
      CheckWithoutCaches(plugin, folder + "/no_caches" + suffix, checks);
    }
    CheckDeletionInDelivery(plugin, folder + "/deletion", checks);
  }
  Scheduler::deliversAtOnce = false;
  CheckUnloading(file, folder + "/unloading", checks);
  checks.Same("bricks that are left", Scheduler::BricksAlive(), 0u);
  return checks.AllSame();
}

// Moves the stack by this many bytes, as far as the compiler lets it.
__attribute__((noinline)) bool CheckDeeper(std::size_t bytes, const char* file,
                                           const char* folder) {
  void* const room = alloca(bytes);
  asm volatile("" : : "r"(room) : "memory");
  return Check(file, folder);
}

}  // namespace

// A host that shares nothing with the reference host loads the plug-in and compares its answers
// with what they must be.
//   foreign_host PLUGIN FOLDER BYTES
int main(int argumentCount, char** arguments) {
  if (argumentCount != 4) return 2;
  try {
    const std::size_t bytes = std::strtoul(arguments[3], nullptr, 10);
    return CheckDeeper(bytes, arguments[1], arguments[2]) ? 0 : 1;
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
}
