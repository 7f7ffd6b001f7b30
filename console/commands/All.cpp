#include "console/commands/All.h"

// In the order of the help; the commands of a group are adjacent. Each is in the source file of the
// same name.
// clang-format off
#define CONSOLE_COMMANDS(ROW) \
  ROW(List) \
  ROW(Tree) \
  ROW(Show) \
  ROW(Get) \
  ROW(Status) \
  ROW(Check) \
  ROW(Events) \
  ROW(History) \
  ROW(Watch) \
  ROW(Wait) \
  ROW(Rows) \
  ROW(Set) \
  ROW(Locate) \
  ROW(Attach) \
  ROW(Detach) \
  ROW(Format) \
  ROW(Online) \
  ROW(Offline) \
  ROW(Op) \
  ROW(Ack) \
  ROW(Unack) \
  ROW(Forget) \
  ROW(Serve) \
  ROW(Metrics) \
  ROW(Explain) \
  ROW(Completion) \
  ROW(Plugin) \
  ROW(Help) \
  ROW(Version) \
  ROW(Complete) \
  ROW(PluginProcess)
// clang-format on

namespace Console {

#define DECLARE(name) Command name##Command();
CONSOLE_COMMANDS(DECLARE)
#undef DECLARE

const CommandTable& AllCommands() {
#define CALL(name) name##Command(),
  static const CommandTable all({CONSOLE_COMMANDS(CALL)});
#undef CALL
  return all;
}

}  // namespace Console
