#include "command_line/version.h"

#include <QtGlobal>
#include <iostream>
#include <stdexcept>

#include "blocks/tags.h"
#include "host/brick_plugins.h"
#include "host/host_settings.h"
#include "system/failure.h"
#include "text/shown_text.h"

namespace {

void PrintPlugIn(const char* what, Tag signature) {
  std::cout << what << " plug-in ";
  try {
    std::cout << Escaped(brick_plugins::FileFor(signature)) << '\n';
  } catch (const std::runtime_error& absence) {
    std::cout << "is missing: " << Escaped(absence.what()) << '\n';
  }
}

}  // namespace

int RunVersion(const HostOptions& host) {
  std::cout << "zel3 " ZEL3_VERSION "\n";
  const HostSettings settings{host.settingsFolder, host.pluginFolder};
  const SettingsInForce inForce(settings);
  PrintPlugIn("reader", tag::kSignatureReader);
  PrintPlugIn("parser", tag::kSignatureParser);
  std::cout << "Qt " << qVersion() << " (built with " QT_VERSION_STR ")\n";
  return kExitDone;
}
