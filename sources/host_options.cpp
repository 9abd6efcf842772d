#include "sources/host_options.h"

#include "indexer/cache_housekeeping.h"

HostSettings SettingsOf(const HostOptions& host) {
  HostSettings settings{host.settingsFolder, host.pluginFolder};
  if (!host.limitsIndexes)
    settings.fixedValues[cache_limit_setting::kKey] = cache_limit_setting::kUnlimitedMegabytes;
  return settings;
}
