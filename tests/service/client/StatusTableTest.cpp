#include <gtest/gtest.h>

#include "service/client/StatusTable.h"

namespace {

using Console::ExitCode;

TEST(StatusTable, HasAStatusForEachExitCode) {
  const std::pair<ExitCode, unsigned> rows[] = {
      {ExitCode::Failed, 500},   {ExitCode::Usage, 400},          {ExitCode::NoObject, 404},
      {ExitCode::Refused, 409},  {ExitCode::PluginUnusable, 503}, {ExitCode::Permission, 403},
      {ExitCode::TimedOut, 504}, {ExitCode::Stopped, 500},
  };
  for (const auto& [code, status] : rows) EXPECT_EQ(status, Service::StatusOf(code, "ANY"));
  EXPECT_EQ(409U, Service::StatusOf(ExitCode::NoObject, "AMBIGUOUS"));
}

TEST(StatusTable, HasAnExitCodeForEachProblem) {
  struct Row {
    long m_Status;
    const char* m_Id;
    std::optional<ExitCode> m_Code;
  };
  const Row rows[] = {
      {403, "PERMISSION_DENIED", ExitCode::Permission},
      {409, "RESERVED", ExitCode::Refused},
      {500, "UNEXPECTED", ExitCode::Failed},
      {502, "ANY", ExitCode::Failed},
      {503, "PLUGIN_DOWN", ExitCode::PluginUnusable},
      {503, "STOPPING", ExitCode::Failed},
      {504, "TIMED_OUT", ExitCode::TimedOut},
      {302, "ANY", std::nullopt},
      {400, "BODY_INVALID", std::nullopt},
      {404, "NOT_FOUND", std::nullopt},
      {405, "METHOD_NOT_ALLOWED", std::nullopt},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(row.m_Code, Service::ExitCodeOf(row.m_Status, row.m_Id)) << row.m_Status << row.m_Id;
  }
}

}  // namespace
