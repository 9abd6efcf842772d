#include <gmock/gmock.h>

#include <QCoreApplication>
#include <cstdlib>
#include <filesystem>

#include "support/temp_folder.h"

// Cache names hold local times, and housekeeping deletes by pattern in the temporary folder: so the
// zone is fixed and every test program has temporary, settings and cache folders of its own.
int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  const TempFolder root;
  std::filesystem::create_directory(root / "tmp");
  std::filesystem::create_directory(root / "config");
  std::filesystem::create_directory(root / "cache");
  setenv("TZ", "UTC", 1);
  setenv("TMPDIR", (root / "tmp").c_str(), 1);
  setenv("XDG_CONFIG_HOME", (root / "config").c_str(), 1);
  setenv("XDG_CACHE_HOME", (root / "cache").c_str(), 1);
  QCoreApplication application(argc, argv);
  QCoreApplication::setApplicationName(QLatin1String("zel3"));
  return RUN_ALL_TESTS();
}
