#include "host/brick_plugins.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

#include "blocks/tags.h"
#include "sdk/brick_loader.h"

namespace fs = std::filesystem;

namespace brick_plugins {
namespace {

using EntryPoint = CBrick* (*)(TBrickConfig*);

struct Registry {
  std::map<Tag, std::string> files;
  std::map<Tag, Factory> factories;
  std::string searchFolder;
  std::string lastError;
  std::map<std::string, void*> loaded;  // handles by path
  std::function<void(Tag)> observer;
};

const std::map<Tag, std::string>& FilesKnownFromTheStart() {
  static const std::map<Tag, std::string> files{{tag::kSignatureReader, "zel3reader.so"},
                                                {tag::kSignatureParser, "zel3parser.so"}};
  return files;
}

Registry& TheRegistry() {
  static Registry registry{FilesKnownFromTheStart(), {}, {}, {}, {}, {}};
  return registry;
}

std::string Quoted(Tag signature) {
  const std::string text = FourCcText(signature);
  for (const char character : text) {
    if (character < ' ' || character > '~') return std::to_string(signature);
  }
  return "'" + text + "'";
}

// The folder of the host's library, which holds this very function.
fs::path LibraryFolder() {
  Dl_info place = {};
  if (dladdr(reinterpret_cast<void*>(&LibraryFolder), &place) == 0) return {};
  std::error_code ignored;
  return fs::canonical(place.dli_fname, ignored).parent_path();
}

std::vector<std::string> SearchFolders() {
  std::vector<std::string> folders;
  if (!TheRegistry().searchFolder.empty()) folders.push_back(TheRegistry().searchFolder);
  const char* const fromEnvironment = std::getenv("ZEL3_PLUGIN_FOLDER");
  if (fromEnvironment != nullptr && *fromEnvironment != '\0') folders.push_back(fromEnvironment);
  std::error_code ignored;
  const fs::path program = fs::read_symlink("/proc/self/exe", ignored);
  if (!program.empty()) {
    const fs::path folder = program.parent_path();
    folders.push_back(folder.string());
    folders.push_back((folder.parent_path() / "lib").string());
  }
  const fs::path library = LibraryFolder();
  if (!library.empty()) folders.push_back((library / "zel3").string());
  return folders;
}

std::string FindFile(const std::string& fileName) {
  std::string searched;
  for (const std::string& folder : SearchFolders()) {
    const std::string path = (fs::path(folder) / fileName).string();
    std::error_code ignored;
    if (fs::is_regular_file(path, ignored)) return path;
    searched += (searched.empty() ? "" : ", ") + folder;
  }
  throw std::runtime_error("no plug-in file " + fileName + " in " + searched);
}

std::string LoaderMessage() {
  const char* const message = dlerror();
  return message == nullptr ? "unknown reason" : message;
}

EntryPoint EntryPointOf(const std::string& path) {
  auto& loaded = TheRegistry().loaded;
  void*& handle = loaded[path];
  if (handle == nullptr) handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    loaded.erase(path);
    throw std::runtime_error("cannot load " + path + ": " + LoaderMessage());
  }
  void* const entryPoint = dlsym(handle, "CreateBrick");
  if (entryPoint == nullptr) {
    throw std::runtime_error(path + " is no plug-in: it offers no CreateBrick");
  }
  return reinterpret_cast<EntryPoint>(entryPoint);
}

Factory FactoryOf(Tag signature) {
  const auto& factories = TheRegistry().factories;
  const auto factory = factories.find(signature);
  if (factory == factories.end()) return EntryPointOf(FileFor(signature));
  if (factory->second) return factory->second;
  throw std::runtime_error("bricks of " + Quoted(signature) + " are switched off");
}

CBrick* Call(const Factory& factory, Tag signature, TBrickConfig& config) {
  try {
    return factory(&config);
  } catch (const std::exception& failure) {
    throw std::runtime_error("the plug-in for " + Quoted(signature) + " failed: " + failure.what());
  }
}

CBrick* MakeBrick(Tag signature, TBrickConfig& config) {
  if (TheRegistry().observer) TheRegistry().observer(signature);
  CBrick* const brick = Call(FactoryOf(signature), signature, config);
  if (brick == nullptr) {
    throw std::runtime_error("the plug-in for " + Quoted(signature) + " refused the configuration");
  }
  return brick;
}

void Remember(const char* reason) noexcept {
  try {
    TheRegistry().lastError = reason;
  } catch (...) {
    TheRegistry().lastError.clear();
  }
}

}  // namespace

void RegisterFile(Tag signature, const std::string& fileName) {
  TheRegistry().files[signature] = fileName;
}

void RegisterFactory(Tag signature, Factory factory) {
  TheRegistry().factories[signature] = std::move(factory);
}

void ResetRegistrations() {
  TheRegistry().factories.clear();
  TheRegistry().files = FilesKnownFromTheStart();
}

void SetSearchFolder(const std::string& folder) {
  TheRegistry().searchFolder = folder;
}

std::map<Tag, std::string> KnownFiles() {
  return TheRegistry().files;
}

std::string FileFor(Tag signature) {
  const auto& files = TheRegistry().files;
  const auto file = files.find(signature);
  if (file != files.end()) return FindFile(file->second);
  throw std::runtime_error("no plug-in is known for " + Quoted(signature));
}

void Load(Tag signature) {
  EntryPointOf(FileFor(signature));
}

void SetObserver(std::function<void(Tag)> onRequest) {
  TheRegistry().observer = std::move(onRequest);
}

std::string LastError() {
  return TheRegistry().lastError;
}

void UnloadAll() {
  for (const auto& entry : TheRegistry().loaded) dlclose(entry.second);
  TheRegistry().loaded.clear();
}

}  // namespace brick_plugins

CBrick* CBrickLoader::CreateBrick(unsigned long signature, TBrickConfig& config) {
  using brick_plugins::MakeBrick;
  using brick_plugins::Remember;
  try {
    CBrick* const brick = MakeBrick(static_cast<Tag>(signature), config);
    Remember("");
    return brick;
  } catch (const std::exception& failure) {
    Remember(failure.what());
  } catch (...) {
    Remember("the plug-in failed without a reason");
  }
  return nullptr;
}
