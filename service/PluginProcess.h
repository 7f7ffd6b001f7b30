// The process that runs the plug-in. If the plug-in or the card library crashes or hangs, only
// this process is lost, and the service starts another one.
#pragma once

#include <filesystem>

namespace Service {

// Loads the plug-in, executes the commands that arrive on `socket` until the other end is closed,
// and stops the plug-in. Returns the exit code of the process, which must then exit, because a hung
// call may still be running.
//
// The service sends {"id": 1, "command": ..., "object": ..., "payload": ...}. This process first
// sends {"plugin": {...}} or {"failure": {...}}; then {"id": 1, "result": ..., "payload": ...} for
// each command, in any order, and {"notified": true} when the plug-in notifies the host.
int RunPluginProcess(const std::filesystem::path& pluginFile, int socket);

}  // namespace Service
