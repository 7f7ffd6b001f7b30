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
  if (!IsSocket(kSocket)) throw UsageFailure("plugin-process: only the service can start it");
  CommandResult result;
  result.m_Code = Service::RunPluginProcess(context.m_Arguments.front(), kSocket) == EXIT_SUCCESS
                      ? ExitCode::Done
                      : ExitCode::Failed;
  return result;
}

}  // namespace

Command PluginProcessCommand() {
  Command command;
  command.m_Group = Group::Hidden;
  command.m_Name = "plugin-process";
  command.m_Arguments = "FILE";
  command.m_MinArguments = 1;
  command.m_MaxArguments = 1;
  command.m_Summary = "run the plug-in for the service, which starts this process";
  command.m_OutputFormats = {"value"};
  command.m_Run = Run;
  return command;
}

}  // namespace Console
