// The process that holds the plug-in. If the plug-in or the card library crashes or hangs, only
// this process is lost, and the service starts another one.
#pragma once

#include <filesystem>

namespace Service {

// Loads the plug-in and carries out the commands that arrive on `socket` until the other end is
// closed; then stops the plug-in. Returns the exit code of the process, which has to end then: a
// call that hangs may still be running.
//
// From the service: {"id": 1, "command": ..., "object": ..., "payload": ...}.
// To the service, first {"plugin": {...}} or {"failure": {...}}; then {"id": 1, "result": ...,
// "payload": ...} per command, in any order, and {"notified": true} when the plug-in has changes.
int RunPluginProcess(const std::filesystem::path& pluginFile, int socket);

}  // namespace Service
