// The process that runs the plug-in. If the plug-in or the card library crashes or hangs, only
// this process is lost, and the service starts another one.
#pragma once

#include "console/plugin/PluginFiles.h"

namespace Service {

// Loads the plug-in, executes the commands that arrive on `socket` until the other end is closed,
// and stops the plug-in. Returns the exit code of the process, which must then exit, because a hung
// call may still be running.
//
// The service sends {"id": 1, "command": ..., "object": ..., "payload": ...} or, to read a table,
// {"id": 1, "rows": NAME}. This process first sends {"plugin": {...}} or {"failure": {...}}. It
// then replies to each request, in any order: {"id": 1, "result": ..., "payload": ...} to a
// command, and {"id": 1, "rows": [...]} or {"id": 1, "error": ...} to the other; each reply also
// has "failed_threads", "needs_restart" and "unresponsive", a list of
// {"serial_number": ..., "device_path": ..., "reason": ..., "omitted": ...}. It sends
// {"notified": true} when the plug-in notifies the host.
//
// The service may first send {"known_cards": [{"device_path": ..., "serial_number": ...}]}, the
// cards of the previous process, which get no reply.
int RunPluginProcess(const Console::PluginFiles& plugin, int socket);

}  // namespace Service
