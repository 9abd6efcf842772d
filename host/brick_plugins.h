#pragma once

#include <functional>
#include <map>
#include <string>

#include "blocks/four_cc.h"
#include "host/host_export.h"
#include "sdk/brick.h"

// The plug-ins of the process: which file offers the bricks of which signature, and where the files
// are. All threads share the registrations and the loaded files, and every function may be called
// on any thread; factories and the observer are called on the thread that asks for a brick.
namespace brick_plugins {

using Factory = std::function<CBrick*(TBrickConfig*)>;

// Makes bricks of `signature` come from the plug-in file `fileName` ("zel3parser.so"), loaded when
// first asked for. The reader ('Zel3') and the reference parser ('Pars') are known from the start.
BRICK_HOST_API void RegisterFile(Tag signature, const std::string& fileName);

// Makes bricks of `signature` come from a function; it wins over a file. An empty function offers
// no such bricks.
BRICK_HOST_API void RegisterFactory(Tag signature, Factory factory);

// Forgets all registrations but those known from the start.
BRICK_HOST_API void ResetRegistrations();

// The known plug-in files (names or paths) by the signature of their bricks.
BRICK_HOST_API std::map<Tag, std::string> KnownFiles();

// The path of the file that bricks of `signature` would come from. Files are looked for in the
// plug-in folder of the settings in force on this thread, then in the folder that the environment
// variable ZEL3_PLUGIN_FOLDER names, then beside the program and in the folder lib beside the
// program's own, then where an installation has them: in the folder zel3 beside the host's library.
// An empty folder name is skipped. Throws std::runtime_error, with one line for people, when there
// is no such file.
BRICK_HOST_API std::string FileFor(Tag signature);

// Loads that file unless it is loaded already. Throws std::runtime_error also when it cannot be
// loaded or is not a plug-in.
BRICK_HOST_API void Load(Tag signature);

// Calls `onRequest` with the signature of each brick that is asked for, before it is made. Pass an
// empty function to stop.
BRICK_HOST_API void SetObserver(std::function<void(Tag)> onRequest);

// Why the last CBrickLoader::CreateBrick on this thread returned null: one line for people. Empty
// after a success.
BRICK_HOST_API std::string LastError();

// Unloads every loaded plug-in file. REQUIRES: no brick and no block of theirs is alive on any
// thread, and none is being made; releasing one later would call code that is gone.
BRICK_HOST_API void UnloadAll();

}  // namespace brick_plugins
