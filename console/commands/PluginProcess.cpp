// plugin-process: the process in which a service runs the plug-in.
#include "service/PluginProcess.h"

#include <sys/stat.h>

#include "console/base/Failure.h"
#include "console/cli/CommandTable.h"
#include "console/report/CommandContext.h"

namespace Console {
namespace {

// The service passes its socket as the first descriptor after the standard streams.
constexpr int kSocket = 3;

bool IsSocket(int descriptor) {
  struct stat status = {};
  return fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
}

CommandResult Run(Context& context) {
  if (!IsSocket(kSocket)) throw UsageFailure("only the service can start it");
  CommandResult result;
  const PluginFiles plugin = {context.m_Arguments[0], context.m_Arguments[1]};
  result.m_Code = Service::RunPluginProcess(plugin, kSocket) == EXIT_SUCCESS ? ExitCode::Done
                                                                             : ExitCode::Failed;
  return result;
}

}  // namespace

Command PluginProcessCommand() {
  Command command;
  command.m_Group = Group::Hidden;
  command.m_Name = "plugin-process";
  command.m_Arguments = "PLUGIN CARD-LIBRARY";
  command.m_MinArguments = 2;
  command.m_MaxArguments = 2;
  command.m_Summary = "run the plug-in for the service, which starts this process";
  command.m_OutputFormats = {"value"};
  command.m_Run = Run;
  return command;
}

}  // namespace Console
