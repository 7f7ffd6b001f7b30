#include "service/client/StatusTable.h"

#include "console/model/SerialNumbers.h"

namespace Service {
namespace {

using Console::ExitCode;

// Several cards have the name, so the request conflicts with the state of the machine.
constexpr unsigned kAmbiguousStatus = 409;

struct Row {
  ExitCode m_Code;
  unsigned m_Status;
};

constexpr Row kRows[] = {
    {ExitCode::Usage, 400},   {ExitCode::NoObject, 404},       {ExitCode::Permission, 403},
    {ExitCode::Refused, 409}, {ExitCode::PluginUnusable, 503}, {ExitCode::TimedOut, 504},
};

// Distinguishes problems of the plug-in from other problems with the same status.
bool IsPluginProblem(const std::string& id) {
  return id.rfind("PLUGIN_", 0) == 0;
}

}  // namespace

unsigned StatusOf(ExitCode code, const std::string& id) {
  if (id == Console::kAmbiguous) return kAmbiguousStatus;
  for (const Row& row : kRows) {
    if (row.m_Code == code) return row.m_Status;
  }
  return 500;
}

std::optional<ExitCode> ExitCodeOf(long status, const std::string& id) {
  if (status >= 500 && status != 504 && !IsPluginProblem(id)) return ExitCode::Failed;
  if (id == Console::kAmbiguous) return ExitCode::NoObject;
  for (const Row& row : kRows) {
    const bool isAboutRequest = row.m_Code == ExitCode::Usage || row.m_Code == ExitCode::NoObject;
    if (static_cast<long>(row.m_Status) == status && !isAboutRequest) return row.m_Code;
  }
  return status >= 500 ? std::optional(ExitCode::Failed) : std::nullopt;
}

}  // namespace Service
