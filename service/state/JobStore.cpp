#include "service/state/JobStore.h"

#include "service/state/StateTables.h"

namespace Service {
namespace {

using HostKit::Connection;
using HostKit::Statement;

std::int64_t Cell(std::uint64_t number) {
  return static_cast<std::int64_t>(number);
}

std::optional<std::int64_t> Cell(const std::optional<std::uint64_t>& number) {
  return number ? std::optional(Cell(*number)) : std::nullopt;
}

// Keeps the place of a job that is stored already.
void WriteJob(Connection& connection, const StoredJob& job) {
  connection
      .Prepare(
          "INSERT INTO host_jobs VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?) ON CONFLICT (id) DO UPDATE "
          "SET user = excluded.user, state = excluded.state, ended = excluded.ended, "
          "result = excluded.result")
      .Bind(job.m_Id)
      .Bind(job.m_SerialNumber)
      .Bind(job.m_Operation)
      .Bind(std::int64_t{job.m_IsDryRun})
      .Bind(job.m_Origin)
      .Bind(job.m_User)
      .Bind(job.m_State)
      .Bind(Cell(job.m_Started))
      .Bind(Cell(job.m_Ended))
      .Bind(job.m_Result)
      .Step();
}

void RemoveOldJobs(Connection& connection) {
  connection
      .Prepare(
          "DELETE FROM host_jobs WHERE state <> 'RUNNING' AND rowid <= "
          "(SELECT MAX(rowid) FROM host_jobs) - ?")
      .Bind(Cell(std::uint64_t{JobStore::kMaxJobs}))
      .Step();
}

StoredJob JobOf(const Statement& row) {
  StoredJob job;
  job.m_Id = row.Text(0);
  job.m_SerialNumber = row.Text(1);
  job.m_Operation = row.Text(2);
  job.m_IsDryRun = row.Integer(3) != 0;
  job.m_Origin = row.Text(4);
  job.m_User = row.Text(5);
  job.m_State = row.Text(6);
  job.m_Started = static_cast<std::uint64_t>(row.Integer(7));
  if (const auto ended = row.OptionalInteger(8)) job.m_Ended = static_cast<std::uint64_t>(*ended);
  job.m_Result = row.Text(9);
  return job;
}

void WriteResponse(Connection& connection, const char* verb, const StoredResponse& response) {
  connection.Prepare(std::string(verb) + " INTO host_responses VALUES (?, ?, ?, ?, ?, ?, ?)")
      .Bind(response.m_Key)
      .Bind(response.m_Content)
      .Bind(Cell(response.m_Begun))
      .Bind(std::int64_t{response.m_Status})
      .Bind(response.m_ContentType)
      .Bind(response.m_Body)
      .Bind(response.m_Location)
      .Step();
}

// Keeps the response that `WriteJob` wrote to the same request: the key may have been used before,
// and that response removed.
void RemoveResponse(Connection& connection, const std::string& key, const StoredResponse& kept) {
  connection.Prepare("DELETE FROM host_responses WHERE key = ? AND NOT (key = ? AND begun = ?)")
      .Bind(key)
      .Bind(kept.m_Key)
      .Bind(Cell(kept.m_Begun))
      .Step();
}

StoredResponse ResponseOf(const Statement& row) {
  StoredResponse response;
  response.m_Key = row.Text(0);
  response.m_Content = row.Text(1);
  response.m_Begun = static_cast<std::uint64_t>(row.Integer(2));
  response.m_Status = static_cast<unsigned>(row.Integer(3));
  response.m_ContentType = row.Text(4);
  response.m_Body = row.Text(5);
  response.m_Location = row.Text(6);
  return response;
}

}  // namespace

void JobStore::Prepare(Connection& connection) {
  if (m_Prepared == connection.Number() || connection.IsReadOnly()) return;
  PrepareStateTables(connection);
  m_Prepared = connection.Number();
}

std::string JobStore::Try(const std::function<void()>& work) {
  std::string reason;
  try {
    work();
    return {};
  } catch (const std::exception& failure) {
    reason = failure.what();
  }
  if (reason.empty()) reason = "unknown error";
  bool isNew = false;
  {
    const Base::MutexLock lock(m_Lock);
    isNew = m_Reported.insert(reason).second;
  }
  if (isNew && m_OnFailure) m_OnFailure(reason);
  return reason;
}

std::string JobStore::Change(const HostKit::OwnTablesUse& use) {
  const std::string reason = Try([&] {
    HostKit::WithOwnTables([&](Connection& connection) {
      Prepare(connection);
      InTransaction(connection, [&] { use(connection); });
    });
  });
  if (!reason.empty()) return reason;
  const Base::MutexLock lock(m_Lock);
  m_Reported.clear();
  return {};
}

void JobStore::Read(const HostKit::OwnTablesUse& use) {
  Try([&] {
    HostKit::ReadOwnTables([&](Connection& connection) {
      Prepare(connection);
      use(connection);
    });
  });
}

std::string JobStore::Write(const StoredJob& job, const StoredResponse* response) {
  return Change([&](Connection& connection) {
    WriteJob(connection, job);
    RemoveOldJobs(connection);
    if (response != nullptr) WriteResponse(connection, "INSERT OR REPLACE", *response);
  });
}

std::vector<StoredJob> JobStore::Jobs() {
  std::vector<StoredJob> jobs;
  Read([&](Connection& connection) {
    jobs.clear();
    Statement statement = connection.Prepare("SELECT * FROM host_jobs ORDER BY rowid");
    while (statement.Step()) jobs.push_back(JobOf(statement));
  });
  return jobs;
}

std::string JobStore::Write(const StoredResponse& response,
                            const std::vector<std::string>& removedKeys) {
  return Change([&](Connection& connection) {
    for (const std::string& key : removedKeys) RemoveResponse(connection, key, response);
    WriteResponse(connection, "INSERT OR IGNORE", response);
  });
}

std::vector<StoredResponse> JobStore::Responses() {
  std::vector<StoredResponse> responses;
  Read([&](Connection& connection) {
    responses.clear();
    Statement statement = connection.Prepare("SELECT * FROM host_responses ORDER BY begun, rowid");
    while (statement.Step()) responses.push_back(ResponseOf(statement));
  });
  return responses;
}

}  // namespace Service
