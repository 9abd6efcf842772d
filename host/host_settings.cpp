#include "host/host_settings.h"

namespace {

thread_local const HostSettings* ofThread = nullptr;

}  // namespace

SettingsInForce::SettingsInForce(const HostSettings& settings) : mBefore(ofThread) {
  ofThread = &settings;
}

SettingsInForce::~SettingsInForce() {
  ofThread = mBefore;
}

const HostSettings& SettingsInForce::Now() {
  // Never destroyed: threads may outlive main.
  static const HostSettings& defaults = *new HostSettings;
  return ofThread == nullptr ? defaults : *ofThread;
}
