#include "console/plugin/EventLogClient.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/TrustedPath.h"
#include "console/base/Failure.h"
#include "console/model/FieldTable.h"
#include "console/plugin/DatabaseAdvice.h"
#include "host/Database.h"
#include "hostkit/Paths.h"

namespace Console {
namespace {

// Returns the advice of the source, which is the database of this process if it is null.
std::vector<std::string> AdviceOf(const EventSource* source) {
  const auto* const adviser = dynamic_cast<const DatabaseAdviser*>(source);
  return adviser == nullptr ? DatabaseAdvice() : adviser->DatabaseAdvice();
}

// Checks the permissions of the file, because the database's error does not mention them. Skips
// this check for an untrusted file, because the kernel also denies access to other users' links in
// directories such as /tmp.
Failure LogFailure(const std::string& why, const EventSource* source) {
  const std::string file = HostKit::DatabaseFile().string();
  const bool isTrusted = Base::ResolveTrusted(file).m_TrustError.empty();
  const bool denied = isTrusted && access(file.c_str(), R_OK) != 0 && errno == EACCES;
  return Failure(denied || !isTrusted ? ExitCode::Permission : ExitCode::Failed, kNoEventLog,
                 fmt::format("cannot read the event log {}", file),
                 denied ? std::strerror(EACCES) : why,
                 {AdviceOf(source).back()});  // the text contains the file
}

}  // namespace

void EventLogClient::RememberObjects(const std::vector<PI::CObject>& topology) {
  const Model model(topology);
  for (const Object& object : model.Objects()) {
    m_Origins[object.m_ID] = {SerialOf(model, object), ObjectTypeOf(object.m_Kind)};
  }
}

bool EventLogClient::KnowsObjectsOf(const std::vector<PI::CEvent>& events) const {
  return std::all_of(events.begin(), events.end(), [this](const PI::CEvent& event) {
    return m_Origins.count(event.m_ObjectID) > 0;
  });
}

std::vector<LoggedEvent> EventLogClient::Record(const std::vector<PI::CEvent>& events) {
  std::vector<LoggedEvent> logged;
  for (const PI::CEvent& event : events) {
    const auto known = m_Origins.find(event.m_ObjectID);
    const Origin origin = known == m_Origins.end() ? Origin() : known->second;
    logged.push_back(HostKit::LogEntryFor(event));
    logged.back().m_SerialNumber = origin.m_SerialNumber;
    logged.back().m_ObjectType = origin.m_ObjectType;
  }
  m_Unlogged.insert(m_Unlogged.end(), logged.begin(), logged.end());
  AppendUnlogged();
  return logged;
}

void EventLogClient::AppendUnlogged() {
  if (m_Unlogged.empty()) return;
  try {
    HostKit::AppendEvents(m_Unlogged);
    m_Unlogged.clear();
  } catch (const DBEXCEPTION::DatabaseException& e) {
    ReportUnusable(e.what());
    const auto excess = static_cast<std::ptrdiff_t>(m_Unlogged.size()) - kMaxUnlogged;
    if (excess > 0) m_Unlogged.erase(m_Unlogged.begin(), m_Unlogged.begin() + excess);
  }
}

void EventLogClient::AppendOrDropUnlogged() {
  AppendUnlogged();
  m_Unlogged.clear();
}

std::vector<LoggedEvent> EventLogClient::ReadSource(std::uint64_t sinceMs, std::size_t limit) {
  if (m_pSource != nullptr) return m_pSource->ReadEvents(sinceMs, limit);
  return HostKit::ReadEvents(sinceMs, limit);
}

std::vector<LoggedEvent> EventLogClient::ReadOrThrow(std::uint64_t sinceMs, std::size_t limit) {
  try {
    return ReadSource(sinceMs, limit);
  } catch (const DBEXCEPTION::DatabaseException& e) {
    throw LogFailure(e.what(), m_pSource);
  }
}

std::vector<LoggedEvent> EventLogClient::Read(std::uint64_t sinceMs, std::size_t limit) {
  try {
    return ReadSource(sinceMs, limit);
  } catch (const DBEXCEPTION::DatabaseException& e) {
    ReportUnusable(e.what());
  } catch (const Failure& failure) {
    if (failure.m_Id != kNoEventLog) throw;
    ReportUnusable(failure.m_Text);
  }
  return {};
}

std::vector<HostKit::EventCount> EventLogClient::Count() {
  std::string why;
  try {
    return m_pSource != nullptr ? m_pSource->CountEvents() : HostKit::CountEvents();
  } catch (const DBEXCEPTION::DatabaseException& e) {
    why = e.what();
  } catch (const Failure& failure) {
    if (failure.m_Id != kNoEventLog) throw;
    why = failure.m_Text;
  }
  m_Diagnostics.Note("DATABASE_FAILED", fmt::format("the events cannot be counted: {}", why),
                     AdviceOf(m_pSource));
  return {};
}

void EventLogClient::ReportUnusable(const std::string& why) {
  if (m_IsReportedUnusable) return;
  m_IsReportedUnusable = true;
  m_Diagnostics.Note(kNoEventLog, fmt::format("cannot use the event log: {}", why),
                     AdviceOf(m_pSource));
}

std::vector<std::string> DatabaseAdvice() {
  return {fmt::format("Database file: {}", HostKit::DatabaseFile().string()),
          "Pass another database with --database."};
}

}  // namespace Console
