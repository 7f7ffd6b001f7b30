#include "service/Collector.h"

#include <algorithm>
#include <utility>

#include "base/ThreadName.h"
#include "console/base/Failure.h"
#include "console/plugin/CardDevices.h"
#include "host/Database.h"
#include "hostkit/database/OwnTables.h"

namespace Service {

using std::chrono::milliseconds;

namespace {

// Returns empty if the log cannot be read; `EventLogClient` reports the error on its next write.
std::optional<std::int64_t> LogPosition() {
  try {
    return HostKit::NewestEventNumber();
  } catch (const DBEXCEPTION::DatabaseException&) {
    return std::nullopt;
  }
}

// Reads the bus only if it is needed for the places of omitted cards.
std::vector<Console::UnreadableCard> UnreadableCardsOf(const Snapshot& snapshot) {
  const std::vector<Console::UnresponsiveCard>& cards = snapshot.m_UnresponsiveCards;
  const bool isOmitted =
      std::any_of(cards.begin(), cards.end(), [](const auto& card) { return card.m_IsOmitted; });
  std::vector<std::string> unreported;
  if (isOmitted) {
    unreported = Console::UnreportedDevices(snapshot.m_Objects, Console::CardDevices());
  }
  return Console::UnreadableCards(cards, unreported);
}

// Maximum plug-in calls per step, each with its own timeout.
constexpr int kCallsAtStart = 4;    // load, initialize, number the adapters, read the topology
constexpr int kCallsAtRefresh = 4;  // events; topology for the plug-in ID, the events, the snapshot
// Maximum time to stop or kill a plug-in process.
constexpr std::chrono::seconds kMaxExitTime(40);
// Interval at which a wait checks whether the plug-in is still running.
constexpr milliseconds kCheckInterval(200);

}  // namespace

Collector::Collector(CollectorSettings settings, SnapshotStore& store)
    : m_Settings(std::move(settings)),
      m_Store(store),
      m_NextBackoff(m_Settings.m_InitialBackoff),
      m_Thread(&Collector::Run, this) {}

Collector::~Collector() {
  Stop();
}

void Collector::RequestStop() {
  m_IsStopping = true;
  m_Wake.Notify();
  if (const std::shared_ptr<Worker> worker = RunningWorker()) worker->RefuseFormats();
}

void Collector::Stop() {
  RequestStop();
  if (m_Thread.joinable()) m_Thread.join();
}

void Collector::Run() {
  Base::NameThread("collector");
  while (!m_IsStopping) {
    bool needsRestart = false;
    try {
      needsRestart = RunPlugin();
    } catch (const std::exception& failure) {
      PublishDown(failure.what());  // the plug-in could not be started
    }
    if (needsRestart) {
      m_NextBackoff = m_Settings.m_InitialBackoff;
    } else {
      BackOff();
    }
  }
}

// Runs a plug-in process until it exits or the collector stops. Returns true if the process works
// but must be restarted, because it has found no cards or omits a card that responds. It searches
// for cards only when it starts.
bool Collector::RunPlugin() {
  ++m_Starts;
  m_HasForwarded = false;
  m_Progress.Begin(kCallsAtStart * m_Settings.m_CallTimeout);
  const auto worker = std::make_shared<Worker>(m_Settings.m_Program, m_Settings.m_PluginFiles,
                                               Console::Deadline(m_Settings.m_CallTimeout));
  const SnapshotPtr previous = m_Store.Get();
  worker->SetKnownCards(previous->m_Objects, previous->m_UnresponsiveCards);
  Console::TimeLimits limits;
  limits.m_Call = m_Settings.m_CallTimeout;
  const bool hadUnlogged = m_EventLog.HasUnlogged();
  WorkerSession session(*worker, m_EventLog, limits);
  m_LedReader.Forget();
  ForwardEvents({}, hadUnlogged);
  bool needsRestart = false;
  try {
    RestoreLeds(session);
    // Published before the first call of a client, so that the client uses this process's objects.
    Publish(session, m_Refreshes);
    SetRunning(worker);
    needsRestart = Follow(*worker, session);
  } catch (const std::exception& failure) {
    PublishDown(failure.what());  // before `Finish`, because the process may take a while to exit
  }
  SetRunning(nullptr);
  if (needsRestart) AwaitCalls(worker);
  // Finish on this thread. Otherwise, the last caller to release the worker would have to wait for
  // the process to exit before replying, and the next process would already be starting.
  m_Progress.Begin(kMaxExitTime);
  worker->Finish();
  return needsRestart;
}

// Waits until the calls of other threads have returned, so that clients do not notice the restart
// of the plug-in process.
void Collector::AwaitCalls(const std::shared_ptr<Worker>& worker) {
  constexpr milliseconds kPause(5);
  m_Progress.Begin(m_Settings.m_CallTimeout);
  const Console::Deadline deadline(m_Settings.m_CallTimeout);
  while (worker.use_count() > 1 && !m_IsStopping && !deadline.HasPassed()) {
    std::this_thread::sleep_for(kPause);
  }
}

std::shared_ptr<Worker> Collector::RunningWorker() const {
  const Base::MutexLock lock(m_Lock);
  return m_pRunning;
}

void Collector::SetRunning(std::shared_ptr<Worker> worker) {
  const Base::MutexLock lock(m_Lock);
  m_pRunning = std::move(worker);
}

std::optional<Console::PluginReply> Collector::Call(const Console::PluginCommand& command,
                                                    const Console::Deadline& deadline,
                                                    CallEnd* end) const {
  const std::shared_ptr<Worker> worker = AwaitRunning(deadline);
  // `m_IsStopping` is checked after the lookup: if it is set later, `RequestStop` makes this worker
  // refuse formats.
  if (!worker || m_IsStopping) return std::nullopt;
  const SnapshotPtr snapshot = m_Store.Get();
  auto reply = worker->Call(command, deadline);
  RecordLed(*snapshot, command, reply);
  if (end != nullptr) *end = {worker->ProcessId(), !reply && !worker->IsAlive()};
  return reply;
}

// Records a successful operation on a locate LED. The snapshot was read before the operation.
void Collector::RecordLed(const Snapshot& snapshot, const Console::PluginCommand& command,
                          const std::optional<Console::PluginReply>& reply) const {
  const auto* operation = std::get_if<PI::COperation>(&command.m_Payload);
  const bool isExecuted = command.m_Command == PI::CMD_EXECUTE_OPERATION && operation != nullptr;
  if (!isExecuted || !reply || reply->m_Result != PI::SUCCESS) return;
  m_Leds.Record(SerialOf(snapshot, command.m_Object), operation->m_OperationID,
                snapshot.m_Plugin.m_Process);
  m_LedReader.Invalidate(command.m_Object);
}

void Collector::RestoreLeds(WorkerSession& session) {
  const auto calls = static_cast<int>(1 + 2 * m_Leds.Count());
  m_Progress.Begin(calls * m_Settings.m_CallTimeout);
  const auto omitted = OmittedSerials(session.UnresponsiveCards());
  m_Leds.Restore(session, omitted, session.ProcessId(), [this](const std::string& warning) {
    if (m_Settings.m_OnWarning) m_Settings.m_OnWarning(warning);
  });
}

std::optional<nlohmann::json> Collector::ReadRows(const std::string& table,
                                                  const Console::Deadline& deadline) const {
  const std::shared_ptr<Worker> worker = AwaitRunning(deadline);
  return worker ? worker->ReadRows(table, deadline) : std::nullopt;
}

bool Collector::IsStuck() const {
  if (!m_Progress.IsStuck()) return false;
  const std::shared_ptr<Worker> worker = RunningWorker();
  return !worker || !worker->MayWaitForFormat();
}

std::size_t Collector::FailedThreads() const {
  const std::shared_ptr<Worker> worker = RunningWorker();
  return worker ? worker->FailedThreads() : 0;
}

// While a plug-in without cards is restarted, the snapshot still shows it as running.
bool Collector::WillRun(const Snapshot& snapshot) const {
  return !m_IsStopping && (snapshot.m_Plugin.m_IsUp || IsRunning());
}

std::shared_ptr<Worker> Collector::AwaitRunning(const Console::Deadline& deadline) const {
  std::shared_ptr<Worker> worker = RunningWorker();
  SnapshotPtr snapshot = m_Store.Get();
  while (!worker && WillRun(*snapshot) && !deadline.HasPassed()) {
    snapshot = m_Store.AwaitNewer(snapshot->m_Number,
                                  Console::Deadline(deadline.Remaining(kCheckInterval)));
    worker = RunningWorker();
  }
  return worker;
}

bool Collector::Refresh(const Console::Deadline& deadline) const {
  const std::uint64_t request = ++m_Refreshes;
  m_Wake.Notify();
  SnapshotPtr snapshot = m_Store.Get();
  while (snapshot->m_Refreshes < request && WillRun(*snapshot) && !deadline.HasPassed()) {
    snapshot = m_Store.AwaitNewer(snapshot->m_Number,
                                  Console::Deadline(deadline.Remaining(kCheckInterval)));
  }
  return snapshot->m_Refreshes >= request;
}

void Collector::ForwardEvents(const std::vector<HostKit::LoggedEvent>& events,
                              bool hadUnlogged) const {
  const bool isLogged = hadUnlogged && !m_EventLog.HasUnlogged();
  if (m_Settings.m_OnEvents && (isLogged || !events.empty())) m_Settings.m_OnEvents(events);
}

// An attach or detach continues after the plug-in has replied, and a restart would end it.
bool Collector::NeedsRestart(const WorkerSession& session, const Worker& worker) const {
  const auto& hasJobs = m_Settings.m_HasRunningJobs;
  return !session.HasCards() || (worker.NeedsRestart() && !(hasJobs && hasJobs()));
}

// Publishes snapshots until the process exits, must be restarted, or the collector stops. Returns
// true if it must be restarted, because it has no cards or omits one that responds.
bool Collector::Follow(Worker& worker, WorkerSession& session) {
  const Console::Deadline stable(m_Settings.m_MaxBackoff);
  Console::WaitSet alsoWake;
  alsoWake.m_Readable = m_Wake.Number();
  for (;;) {
    m_Progress.Begin(m_Settings.m_RefreshInterval);
    session.WaitForNotification(m_Settings.m_RefreshInterval, alsoWake);
    m_Progress.Begin(kCallsAtRefresh * m_Settings.m_CallTimeout);
    m_Wake.Wait(milliseconds(0), {});
    const std::uint64_t refreshes = m_Refreshes;  // later requests wake this thread again
    if (!worker.IsAlive()) {
      PublishDown("the plug-in process has exited");
      return false;
    }
    // The plug-in is blocked until the format ends, and a refresh is requested then.
    if (worker.IsFormatting()) {
      if (m_IsStopping) return false;
      continue;
    }
    const bool hadUnlogged = m_EventLog.HasUnlogged();
    ForwardEvents(session.CollectEvents(), hadUnlogged);
    if (m_IsStopping) return false;
    if (NeedsRestart(session, worker)) return true;
    RestoreLeds(session);  // switched on by calls that ended during a restart
    Publish(session, refreshes);
    if (stable.HasPassed()) m_NextBackoff = m_Settings.m_InitialBackoff;
  }
}

void Collector::Publish(WorkerSession& session, std::uint64_t refreshes) {
  // Read before the objects. Empty while reported events are missing from the log: the observation
  // is then not forwarded, because comparing it with the log would log these events again.
  const auto logPosition = m_EventLog.HasUnlogged() ? std::nullopt : LogPosition();
  Snapshot snapshot;
  snapshot.m_Refreshes = refreshes;
  snapshot.m_HasCards = session.HasCards();
  snapshot.m_Objects = session.Topology();
  snapshot.m_Times = session.Times();
  // Before the unresponsive cards, so that a card that hangs now is one of them.
  snapshot.m_Cards.m_LocateLeds = m_LedReader.Read(session, snapshot.m_Objects);
  snapshot.m_UnresponsiveCards = session.UnresponsiveCards();
  snapshot.m_Cards.m_Unreadable = UnreadableCardsOf(snapshot);
  snapshot.m_Info = session.Info();
  snapshot.m_Plugin.m_IsUp = true;
  snapshot.m_Plugin.m_Starts = m_Starts;
  snapshot.m_Plugin.m_Process = session.ProcessId();
  snapshot.m_Plugin.m_FailedThreads = session.FailedThreads();
  snapshot.m_Plugin.m_StartDuration = session.StartDuration();
  if (snapshot.m_HasCards) {
    m_Leds.ForgetRemoved(snapshot.m_Objects, OmittedSerials(snapshot.m_UnresponsiveCards));
  }
  PublishSnapshot(std::move(snapshot));
  ForwardObservation(m_Store.Get(), logPosition);
}

void Collector::ForwardObservation(const SnapshotPtr& snapshot,
                                   std::optional<std::int64_t> logPosition) {
  if (!m_Settings.m_OnObservation || !logPosition) return;
  Observation observation;
  observation.m_Time = snapshot->m_Times.m_ObservedAt;
  observation.m_IsFirst = !m_HasForwarded;
  observation.m_LogPosition = *logPosition;
  observation.m_pObjects = {snapshot, &snapshot->m_Objects};
  observation.m_Omitted = OmittedSerials(snapshot->m_UnresponsiveCards);
  if (m_Settings.m_OnObservation(observation)) m_HasForwarded = true;
}

// Keeps the objects of the previous snapshot.
void Collector::PublishDown(const std::string& reason) {
  Snapshot snapshot = *m_Store.Get();
  snapshot.m_Plugin.m_IsUp = false;
  snapshot.m_Plugin.m_Reason = reason;
  snapshot.m_Plugin.m_Starts = m_Starts;
  PublishSnapshot(std::move(snapshot));
}

void Collector::PublishSnapshot(Snapshot snapshot) {
  if (m_Settings.m_BeforePublish) m_Settings.m_BeforePublish(snapshot);
  m_Store.Publish(std::move(snapshot));
}

// Waits before the next start. A request for a refresh does not shorten the wait.
void Collector::BackOff() {
  m_Progress.Begin(m_NextBackoff);
  const Console::Deadline deadline(m_NextBackoff);
  while (!m_IsStopping && !deadline.HasPassed()) m_Wake.Wait(deadline.Remaining(), {});
  m_NextBackoff = std::min(m_NextBackoff * 2, m_Settings.m_MaxBackoff);
}

}  // namespace Service
