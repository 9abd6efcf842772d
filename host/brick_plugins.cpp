#include "host/brick_plugins.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "blocks/tags.h"
#include "host/host_settings.h"
#include "host/pipeline_state.h"
#include "sdk/brick_loader.h"

namespace fs = std::filesystem;

namespace brick_plugins {
namespace {

using EntryPoint = CBrick* (*)(TBrickConfig*);

struct Closing {
  void operator()(void* handle) const { dlclose(handle); }
};
using LoadedFile = std::unique_ptr<void, Closing>;
using LoadedFiles = std::map<std::string, LoadedFile>;  // by path

const std::map<Tag, std::string>& FilesKnownFromTheStart() {
  static const std::map<Tag, std::string> files{{tag::kSignatureReader, "zel3reader.so"},
                                                {tag::kSignatureParser, "zel3parser.so"}};
  return files;
}

struct Registry {
  std::mutex mutex;  // guards all else; not held while anything registered or loaded is called
  std::map<Tag, std::string> files = FilesKnownFromTheStart();
  std::map<Tag, Factory> factories;
  LoadedFiles loaded;
  std::function<void(Tag)> observer;
};

// Never destroyed: what is still loaded at the end of the process stays loaded, for blocks that
// outlive the rest.
Registry& TheRegistry() {
  static Registry& registry = *new Registry;
  return registry;
}

using Hold = std::lock_guard<std::mutex>;

std::string& LastErrorOfThread() {
  thread_local std::string reason;
  return reason;
}

std::string Quoted(Tag signature) {
  const std::string text = FourCcText(signature);
  for (const char character : text) {
    if (character < ' ' || character > '~') return std::to_string(signature);
  }
  return "'" + text + "'";
}

// The file of the host's library, which holds this very function.
const char* LibraryFile() {
  Dl_info place = {};
  return dladdr(reinterpret_cast<void*>(&LibraryFile), &place) == 0 ? "" : place.dli_fname;
}

fs::path LibraryFolder() {
  std::error_code ignored;
  return fs::canonical(LibraryFile(), ignored).parent_path();
}

// Plug-ins are not linked with a library of their host, so they find one only among the global
// symbols; a program may have loaded it with local ones.
void ShowLibraryToPlugins() {
  void* const library = dlopen(LibraryFile(), RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
  if (library != nullptr) dlclose(library);
}

std::vector<std::string> SearchFolders() {
  std::vector<std::string> folders;
  const std::string& ofTheHost = SettingsInForce::Now().pluginFolder;
  if (!ofTheHost.empty()) folders.push_back(ofTheHost);
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

void* HandleOf(const std::string& path) {
  Registry& registry = TheRegistry();
  {
    const Hold hold(registry.mutex);
    const auto known = registry.loaded.find(path);
    if (known != registry.loaded.end()) return known->second.get();
  }
  ShowLibraryToPlugins();
  LoadedFile file(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (file == nullptr) throw std::runtime_error("cannot load " + path + ": " + LoaderMessage());
  const Hold hold(registry.mutex);
  // When another thread came first, this handle is closed after the lock is released.
  const auto known = registry.loaded.find(path);
  if (known != registry.loaded.end()) return known->second.get();
  return registry.loaded.emplace(path, std::move(file)).first->second.get();
}

EntryPoint EntryPointOf(const std::string& path) {
  void* const entryPoint = dlsym(HandleOf(path), "CreateBrick");
  if (entryPoint == nullptr) {
    throw std::runtime_error(path + " is not a plug-in: it has no CreateBrick");
  }
  return reinterpret_cast<EntryPoint>(entryPoint);
}

std::optional<Factory> RegisteredFactory(Tag signature) {
  const Hold hold(TheRegistry().mutex);
  const auto& factories = TheRegistry().factories;
  const auto factory = factories.find(signature);
  if (factory == factories.end()) return std::nullopt;
  return factory->second;
}

Factory FactoryOf(Tag signature) {
  const std::optional<Factory> factory = RegisteredFactory(signature);
  if (!factory) return EntryPointOf(FileFor(signature));
  if (*factory) return *factory;
  throw std::runtime_error("bricks of " + Quoted(signature) + " are switched off");
}

std::function<void(Tag)> Observer() {
  const Hold hold(TheRegistry().mutex);
  return TheRegistry().observer;
}

CBrick* Call(const Factory& factory, Tag signature, TBrickConfig& config) {
  try {
    return factory(&config);
  } catch (const std::exception& failure) {
    throw std::runtime_error("the plug-in for " + Quoted(signature) + " failed: " + failure.what());
  }
}

CBrick* MakeBrick(Tag signature, TBrickConfig& config) {
  if (const auto observer = Observer()) observer(signature);
  CBrick* const brick = Call(FactoryOf(signature), signature, config);
  if (brick == nullptr) {
    throw std::runtime_error("the plug-in for " + Quoted(signature) + " refused the configuration");
  }
  return brick;
}

void Remember(const char* reason) noexcept {
  try {
    LastErrorOfThread() = reason;
  } catch (...) {
    LastErrorOfThread().clear();
  }
}

}  // namespace

void RegisterFile(Tag signature, const std::string& fileName) {
  const Hold hold(TheRegistry().mutex);
  TheRegistry().files[signature] = fileName;
}

void RegisterFactory(Tag signature, Factory factory) {
  const Hold hold(TheRegistry().mutex);
  TheRegistry().factories[signature] = std::move(factory);
}

void ResetRegistrations() {
  const Hold hold(TheRegistry().mutex);
  TheRegistry().factories.clear();
  TheRegistry().files = FilesKnownFromTheStart();
}

std::map<Tag, std::string> KnownFiles() {
  const Hold hold(TheRegistry().mutex);
  return TheRegistry().files;
}

std::string FileFor(Tag signature) {
  const std::map<Tag, std::string> files = KnownFiles();
  const auto file = files.find(signature);
  if (file != files.end()) return FindFile(file->second);
  throw std::runtime_error("no plug-in is known for " + Quoted(signature));
}

void Load(Tag signature) {
  EntryPointOf(FileFor(signature));
}

void SetObserver(std::function<void(Tag)> onRequest) {
  const Hold hold(TheRegistry().mutex);
  TheRegistry().observer = std::move(onRequest);
}

std::string LastError() {
  return LastErrorOfThread();
}

void UnloadAll() {
  LoadedFiles unloaded;
  const Hold hold(TheRegistry().mutex);
  unloaded.swap(TheRegistry().loaded);
}

}  // namespace brick_plugins

CBrick* CBrickLoader::CreateBrick(unsigned long signature, TBrickConfig& config) {
  using brick_plugins::MakeBrick;
  using brick_plugins::Remember;
  const SettingsInForce inForce(Pipeline::State::SettingsFor(config.ownerContext));
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
