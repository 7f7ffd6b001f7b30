// The function that each trace line shows, which is the function that the line is about even if a
// helper writes it. The table lists every line that the sources can write, and the scenarios below
// reach all of them.

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Corvane/Src/Corvane.h"
#include "hostkit/Inspect.h"
#include "orm/storage.h"
#include "tests/support/HeldCall.h"
#include "tests/support/NullHandleSeam.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using NAMESPACE_Corvane::g_p_IPLUGINAPI_IMPL;
using NAMESPACE_Corvane::IPLUGINAPI_IMPL;
using testing::IsEmpty;

// A trace message with its placeholders, and all functions that write it.
struct Row {
  const char* m_Text;
  std::vector<const char*> m_Functions;
};

using Table = std::map<std::string, std::vector<Row>>;  // by source file

const Table TABLE = {
    {"Corvane",
     {
         {"Before m_DataLock.Wait (sg)",
          {"GetProperties", "GetProperty", "SetProperty", "GetOperations", "CheckOperation",
           "ExecuteOperation"}},
         {"After m_DataLock.Wait (sg)",
          {"GetProperties", "GetProperty", "SetProperty", "GetOperations", "CheckOperation",
           "ExecuteOperation"}},
         {"GetProperties() Adapter = %d", {"GetProperties"}},
         {"GetProperties() PhysicalDrives = %d", {"GetProperties"}},
         {"GetProperty() Adapter = %d", {"GetProperty"}},
         {"GetProperty() PhysicalDrives = %d", {"GetProperty"}},
         {"ENTER GetOperations object=0x%x", {"GetOperations"}},
         {"ENTER GetOperations ret=%d", {"GetOperations"}},
         {"ENTER CheckOperation operation=%d", {"CheckOperation"}},
         {"LEAVE CheckOperation(%d)", {"CheckOperation"}},
     }},
    {"CorvanePlugin",
     {
         {"LEAVE Initialize() m_DataLock.Init() -> PI::ERR_LOCK_INITIALIZATION_FAILED %d",
          {"Initialize"}},
         {"LEAVE Initialize() m_PrivateEventsLock.Init() -> PI::ERR_LOCK_INITIALIZATION_FAILED %d",
          {"Initialize"}},
         {"LEAVE Initialize() m_ForceWorker.Init() -> PI::ERR_LOCK_INITIALIZATION_FAILED %d",
          {"Initialize"}},
         {"LEAVE Initialize() m_StopRequest.Init() -> PI::ERR_LOCK_INITIALIZATION_FAILED %d",
          {"Initialize"}},
         {"LEAVE Initialize() m_PrivateEvent.Init() -> PI::ERR_LOCK_INITIALIZATION_FAILED %d",
          {"Initialize"}},
         {"LEAVE Initialize() -> PI::ERR_NO_SUPPORTED_HARDWARE", {"Initialize"}},
         {"LEAVE Initialize() -> PI::ERR_API_INITIALIZATION_FAILED", {"Initialize"}},
         {"LEAVE Initialize() -> %d", {"Initialize"}},
         {"Initialize, vsl_init = %d (%s)", {"Initialize"}},
         {"ScanSystem() ret = %d m_PhysicalDrives=%d", {"Initialize"}},
         {"Before m_DataLock.Wait (sg)", {"Initialize", "GetTopology"}},
         {"After m_DataLock.Wait (sg)", {"Initialize", "GetTopology"}},
         {"ENTER DeInitialize", {"DeInitialize"}},
         {"LEAVE DeInitialize", {"DeInitialize"}},
         {"Wait for termination... (Worker)", {"DeInitialize"}},
         {"Wait for termination... (Attach)", {"DeInitialize"}},
         {"Wait for termination... (Detach)", {"DeInitialize"}},
         {"Kill Worker", {"DeInitialize"}},
         {"Kill Attach", {"DeInitialize"}},
         {"Kill Detach", {"DeInitialize"}},
         {"ENTER ScanSystem(%d) PhyDrive=%d", {"ScanSystem"}},
         {"LEAVE ScanSystem() -> %d", {"ScanSystem"}},
         {"ScanSystem, vsl_iom_create_by_name = %d (%s)", {"ScanSystem"}},
         {"ScanSystem, vsl_open = %d (%s)", {"ScanSystem"}},
         {"ScanSystem, vsl_iom_format_create = %d (%s)", {"ScanSystem"}},
         {"ScanSystem, vsl_has_first_use_ts = %d", {"ScanSystem"}},
         {"ScanSystem, vsl_has_origin_ts = %d", {"ScanSystem"}},
         {"ScanSystem, vsl_has_reserve_warning_threshold_percent = %d", {"ScanSystem"}},
         {"The drive is not found yet!", {"ScanSystem"}},
         {"ENTER Worker()", {"Worker"}},
         {"LEAVE Worker()", {"Worker"}},
         {"Worker() m_PrivateEvent event received", {"Worker"}},
         {"Worker() timeout event received", {"Worker"}},
         {"Worker() m_ForceWorker event received, force scan", {"Worker"}},
         {"Worker() something else perhaps m_StopRequest", {"Worker"}},
         {"Worker() before restart interval", {"Worker"}},
         {"Worker() after bscan", {"Worker"}},
         {"Worker, vsl_iom_create_by_name = %d (%s)", {"Worker"}},
         {"Worker, vsl_open = %d (%s)", {"Worker"}},
         {"Before ScanSystem()", {"Worker"}},
         {"After ScanSystem() ret = %d", {"Worker"}},
         {"Before UpdateSystem()", {"Worker"}},
         {"After UpdateSystem() ret = %d", {"Worker"}},
         {"Before m_DataLock.Wait(INFINITE)", {"Worker", "Attach", "Detach", "ForceDetach"}},
         {"After m_DataLock.Wait(INFINITE)", {"Worker", "Attach", "Detach", "ForceDetach"}},
         {"Before m_DataLock.Release ()", {"Worker", "Attach", "Detach", "ForceDetach"}},
         {"After m_DataLock.Release ()", {"Worker", "Attach", "Detach", "ForceDetach"}},
         {"Before m_EventsLock.Wait(INFINITE)", {"Worker", "GetEvents"}},
         {"After m_EventsLock.Wait(INFINITE)", {"Worker", "GetEvents"}},
         {"Before m_EventsLock.Release ()", {"Worker"}},
         {"After m_EventsLock.Release ()", {"Worker"}},
         {"Before m_EventsLock.Release()", {"GetEvents"}},
         {"After m_EventsLock.Release()", {"GetEvents"}},
         {"Before m_EventsLock.Wait (sg)", {"UpdateSystem", "Attach", "Detach", "ForceDetach"}},
         {"After m_EventsLock.Wait (sg)", {"UpdateSystem", "Attach", "Detach", "ForceDetach"}},
         {"ENTER UpdateSystem for %d adapter, %d physicalDrives", {"UpdateSystem"}},
         {"LEAVE UpdateSystem ret = %d", {"UpdateSystem"}},
         {"ENTER GetTopology", {"GetTopology"}},
         {"LEAVE GetTopology", {"GetTopology"}},
         {"GetTopology() Adapter m_ID=0x%x", {"GetTopology"}},
         {"GetTopology() m_Adapters = %d", {"GetTopology"}},
         {"GetTopology() PhysicalDrive m_ID=0x%x", {"GetTopology"}},
         {"GetTopology() m_PhysicalDrives = %d", {"GetTopology"}},
         {"ENTER ExecutePluginOperation()", {"ExecutePluginOperation"}},
         {"LEAVE ExecutePluginOperation() -> %d", {"ExecutePluginOperation"}},
         {"ENTER GetEvents()", {"GetEvents"}},
         {"LEAVE GetEvents() -> %d", {"GetEvents"}},
         {"Plugin FusionIO inserted to db.", {"InsertObjectToDatabase"}},
         {"Plugin FusionIO inserted to db. (%s)", {"InsertObjectToDatabase"}},
         {"Plugin SanDisk removed from db.", {"DeleteObjectFromDatabase"}},
         {"Exception thrown during removing SanDisk plugin object from db. (%s)",
          {"DeleteObjectFromDatabase"}},
         {"ENTER Attach(%s)", {"Attach"}},
         {"ENTER Detach(%s)", {"Detach"}},
         {"ENTER ForceDetach(%s)", {"ForceDetach"}},
         {"LEAVE Attach()", {"Attach"}},
         {"LEAVE Detach()", {"Detach"}},
         {"LEAVE ForceDetach()", {"ForceDetach"}},
         {"Attach, vsl_iom_create_by_name = %d (%s)", {"Attach"}},
         {"Attach, vsl_iom_attach_create = %d (%s)", {"Attach"}},
         {"Attach, vsl_op_start = %d (%s)", {"Attach"}},
         {"Attach, vsl_op_wait_for_result = %d (%s)", {"Attach"}},
         {"Detach, vsl_iom_create_by_name = %d (%s)", {"Detach"}},
         {"Detach, vsl_iom_detach_create = %d (%s)", {"Detach"}},
         {"Detach, vsl_op_start = %d (%s)", {"Detach"}},
         {"Detach, vsl_op_wait_for_result = %d (%s)", {"Detach"}},
         {"ForceDetach, vsl_iom_create_by_name = %d (%s)", {"ForceDetach"}},
         {"ForceDetach, vsl_iom_detach_create = %d (%s)", {"ForceDetach"}},
         {"ForceDetach, vsl_iom_detach_set_force = %d (%s)", {"ForceDetach"}},
         {"ForceDetach, vsl_op_start = %d (%s)", {"ForceDetach"}},
         {"ForceDetach, vsl_op_wait_for_result = %d (%s)", {"ForceDetach"}},
     }},
    {"CorvaneAdapter",
     {
         {"ENTER AdapterGetProperties (%d)",
          {"GetAdapterProperties", "SetDatabaseObjectProperties"}},
         {"LEAVE AdapterGetProperties -> %d", {"GetAdapterProperties"}},
         {"GetAdapterProperties, vsl_has_reserve_space_pct = %d", {"GetAdapterProperties"}},
         {"GetAdapterProperties, vsl_has_reserve_status = %d", {"GetAdapterProperties"}},
         {"GetAdapterProperties, vsl_has_total_physical_bytes_read = %d",
          {"GetAdapterProperties", "SetDatabaseObjectProperties"}},
         {"GetAdapterProperties, vsl_has_total_physical_bytes_written = %d",
          {"GetAdapterProperties"}},
         {"GetAdapterProperties, vsl_has_rated_endurance_percent = %d",
          {"GetAdapterProperties", "SetDatabaseObjectProperties"}},
         {"ENTER CheckAdapterOperation operation=%d", {"CheckAdapterOperation"}},
         {"LEAVE CheckAdapterOperation -> %d", {"CheckAdapterOperation"}},
         {"CheckAdapterOperation, vsl_iom_create_by_name = %d (%s)", {"CheckAdapterOperation"}},
         {"ENTER ExecuteAdapterOperation(%d) (%d)", {"ExecuteAdapterOperation"}},
         {"LEAVE AdapterExecuteOperation() -> %d", {"ExecuteAdapterOperation"}},
         {"ExecuteAdapterOperation, vsl_iom_create_by_name = %d (%s)", {"ExecuteAdapterOperation"}},
         {"ExecuteAdapterOperation, vsl_set_beacon_state = %d (%s)", {"ExecuteAdapterOperation"}},
         {"ExecuteAdapterOperation(), OP_ATTACH, start Attach thread", {"ExecuteAdapterOperation"}},
         {"ExecuteAdapterOperation(), OP_DETACH, start Detach thread", {"ExecuteAdapterOperation"}},
         {"ExecuteAdapterOperation(), OP_FORCE_DETACH, start ForceDetach thread",
          {"ExecuteAdapterOperation"}},
         {"ExecuteAdapterOperation() OpCode(%d)", {"ExecuteAdapterOperation"}},
         {"Adapter (%s) (%d) inserted to db.", {"InsertObjectToDatabase"}},
         {"Storage query exception thrown during inserting Adapter (%s) (%d) to db. (%s)",
          {"InsertObjectToDatabase"}},
         {"Adapter (%s) (%d) entry updated in db.", {"UpdateObjectInDatabase"}},
         {"Storage query exception thrown during updating Adapter (%s) (%d) entry updated in db. "
          "(%s)",
          {"UpdateObjectInDatabase"}},
         {"Adapter (%s) (%d) removed from db.", {"DeleteObjectFromDatabase"}},
         {"Storage query exception thrown during removing Adapter (%s) (%d) removed from db. (%s)",
          {"DeleteObjectFromDatabase"}},
     }},
    {"CorvanePhysicalDrive",
     {
         {"ENTER GetPhysicalDriveProperties()", {"GetPhysicalDriveProperties"}},
         {"GetPhysicalDriveProperties() set status property of disk to %d",
          {"GetPhysicalDriveProperties"}},
         {"ENTER CheckPhysicalDriveOperation()", {"CheckPhysicalDriveOperation"}},
         {"LEAVE CheckPhysicalDriveOperation() -> %d", {"CheckPhysicalDriveOperation"}},
         {"CheckPhysicalDriveOperation, vsl_iom_create_by_name = %d (%s)",
          {"CheckPhysicalDriveOperation"}},
         {"ENTER ExecutePhysicalDriveOperation()", {"ExecutePhysicalDriveOperation"}},
         {"LEAVE ExecutePhysicalDriveOperation() -> %d", {"ExecutePhysicalDriveOperation"}},
         {"ExecutePhysicalDriveOperation, vsl_iom_create_by_name = %d (%s)",
          {"ExecutePhysicalDriveOperation"}},
         {"ExecutePhysicalDriveOperation, vsl_set_vsu_state = %d (%s)",
          {"ExecutePhysicalDriveOperation"}},
         {"ExecutePhysicalDriveOperation, vsl_iom_format_create = %d (%s)",
          {"ExecutePhysicalDriveOperation"}},
         {"ExecutePhysicalDriveOperation, vsl_iom_format_set_sector_size_bytes = %d (%s)",
          {"ExecutePhysicalDriveOperation"}},
         {"ExecutePhysicalDriveOperation, vsl_iom_format_set_size_mode = %d (%s)",
          {"ExecutePhysicalDriveOperation"}},
         {"ExecutePhysicalDriveOperation, vsl_iom_format_set_size_bytes = %d (%s)",
          {"ExecutePhysicalDriveOperation"}},
         {"ExecutePhysicalDriveOperation, vsl_iom_format_set_size_pct = %d (%s)",
          {"ExecutePhysicalDriveOperation"}},
         {"ExecutePhysicalDriveOperation, vsl_op_start = %d (%s)",
          {"ExecutePhysicalDriveOperation"}},
         {"ExecutePhysicalDriveOperation, vsl_op_wait_for_result = %d (%s)",
          {"ExecutePhysicalDriveOperation"}},
         {"ENTER SetDatabaseObjectProperties (PhysicalDisk) ()", {"SetDatabaseObjectProperties"}},
         {"PD (%s) inserted to db.", {"InsertObjectToDatabase"}},
         {"Storage query exception thrown during inserting PD (%s) to db. (%s)",
          {"InsertObjectToDatabase"}},
         {"PD (%s) updated in db.", {"UpdateObjectInDatabase"}},
         {"Storage query exception thrown during updating PD (%s) in db. (%s)",
          {"UpdateObjectInDatabase"}},
     }},
};

constexpr std::uint64_t PLUGIN = 0x0130000000000000;
constexpr std::uint64_t ADAPTER = PLUGIN + 1;
constexpr std::uint64_t DRIVE = PLUGIN + 2;
constexpr std::uint64_t UNKNOWN_OBJECT = PLUGIN + 99;

// Whether the line matches the message with any value in place of each placeholder.
bool Fits(const char* text, const char* line) {
  for (; *text != '\0'; ++text, ++line) {
    const std::string placeholder(text, 0, 2);
    const bool isText = std::string(text).rfind("%s", 0) == 0;
    const bool isNumber = std::string(text).rfind("%d", 0) == 0;
    const bool isHexadecimal = std::string(text).rfind("%x", 0) == 0;
    if (isText || isNumber || isHexadecimal) {
      const auto belongs = [&](char each) {
        return isText || std::isdigit(each) != 0 || (isHexadecimal && std::isxdigit(each) != 0);
      };
      const std::size_t minimum = isText ? 0 : 1;
      for (std::size_t length = 0;; ++length) {
        if (length >= minimum && Fits(text + 2, line + length)) return true;
        if (line[length] == '\0' || !belongs(line[length])) return false;
      }
    }
    if (*text != *line) return false;
  }
  return *line == '\0';
}

// While an instance exists, every database statement fails.
class FailingDatabase {
 public:
  FailingDatabase() : m_pStorage(getDatabasePointer()), m_pReal(m_pStorage->dao) {
    m_pStorage->dao = std::make_shared<FailingDAO>();
  }
  ~FailingDatabase() { m_pStorage->dao = m_pReal; }
  FailingDatabase(const FailingDatabase&) = delete;
  FailingDatabase& operator=(const FailingDatabase&) = delete;

 private:
  struct FailingDAO : DatabaseWrapper::DatabaseDAO {
    std::vector<std::string> query(std::string) override {
      throw DBEXCEPTION::DatabaseException("rejected");
    }
  };
  const std::shared_ptr<DatabaseORM::storage_t> m_pStorage;
  const std::shared_ptr<DatabaseWrapper::DatabaseDAO> m_pReal;
};

// Provides access to the private event `m_ForceWorker`, which the plug-in never sets: access is not
// checked in an explicit instantiation.
struct ForceWorkerMember {
  using Type = MBX::Threading::CEvent IPLUGINAPI_IMPL::*;
  friend Type PointerTo(ForceWorkerMember);
};
template <class Member, typename Member::Type pointer>
struct PrivateMember {
  friend typename Member::Type PointerTo(Member) { return pointer; }
};
template struct PrivateMember<ForceWorkerMember, &IPLUGINAPI_IMPL::m_ForceWorker>;

PI::CProperty Choice(std::uint32_t name, int value) {
  PI::CProperty parameter(PI::Property::CHOICE_PARAM, true);
  parameter.m_NameID = name;
  parameter.SetValue(value, std::vector<int>{value});
  return parameter;
}

// Starts the worker. By default, it polls every two seconds and scans every six.
void StartPolling(SimulatedHost& host, int cards, const char* ini = "PollInterval=6\n") {
  host.WriteIni(ini);
  for (int i = 0; i < cards; ++i) host.AddCard();
  host.Cards().Set("card0", "volumes", R"([{"state": 0, "settable": true, "refuses": false}])");
  ASSERT_EQ(host.Start(), 0U);
}

void Stop(SimulatedHost& host) {
  host.DeInitialize();
  host.Release();
}

// The scenarios. Each of them reaches some of the lines.

void RequestEverything(SimulatedHost& host) {
  StartPolling(host, 2);
  host.Topology();
  for (const std::uint64_t object : {PLUGIN, ADAPTER, DRIVE, UNKNOWN_OBJECT}) {
    host.Properties(object);
    PI::CProperty property(PI::Property::UNDEFINED, false);
    host.Property(object, PI::Property::NAME, property);
    host.Operations(object);
  }
  host.SetPollInterval(7);
  SleepFor(1);
  host.Check(ADAPTER, PI::OP_LOCATE_DEVICE);
  host.Run(ADAPTER, PI::OP_LOCATE_DEVICE);
  host.Run(ADAPTER, PI::OP_FORMAT_DEVICE);
  host.Check(DRIVE, PI::OP_MAKE_ONLINE);
  host.Run(DRIVE, PI::OP_MAKE_ONLINE);
  host.CollectEvents();
  Stop(host);
}

void ChangeCards(SimulatedHost& host) {
  StartPolling(host, 2);
  host.Cards().Set("card0", "iom_state", "0");
  SleepFor(10000);
  for (const char* path : {"/dev/hidden", "/dev/fct1"}) {
    host.Cards().Set("card1", "device_path", std::string("\"") + path + '"');
    SleepFor(10000);
  }
  (g_p_IPLUGINAPI_IMPL->*PointerTo(ForceWorkerMember())).Set();
  SleepFor(1);
  Stop(host);
}

void FillRowsThroughNullHandles(SimulatedHost& host) {
  NullHandleResults results;
  results.rated_endurance_tbytes = 80;
  results.total_physical_bytes_read = 1024;
  results.total_physical_bytes_written = 1024;
  host.AddCard();
  host.Initialize();
  Stop(host);
}

constexpr std::uint32_t JOBS[] = {PI::OP_ATTACH, PI::OP_DETACH, PI::OP_FORCE_DETACH};

// Runs each job once for each of its calls, with that call failing.
void FailJobs(SimulatedHost& host) {
  StartPolling(host, 1, "PollInterval=255\n");
  const char* const calls[] = {"vsl_iom_create_by_name", "vsl_iom_attach_create",
                               "vsl_iom_detach_create",  "vsl_iom_detach_set_force",
                               "vsl_op_start",           "vsl_op_wait_for_result"};
  for (const char* call : calls) {
    for (const std::uint32_t job : JOBS) {
      host.Cards().Set("card0", "iom_state", job == PI::OP_ATTACH ? "0" : "2");
      host.Cards().Fail(call, 5, "no");
      host.Run(ADAPTER, job);
      SleepFor(20000);
      host.Cards().ClearFailure(call);
    }
  }
  Stop(host);
}

void FailRequests(SimulatedHost& host) {
  StartPolling(host, 1);
  const auto failing = [&](const char* call, const std::function<void()>& requests) {
    host.Cards().Fail(call, 5, "no");
    requests();
    host.Cards().ClearFailure(call);
  };
  failing("vsl_iom_create_by_name", [&] {
    host.Check(ADAPTER, PI::OP_LOCATE_DEVICE);
    host.Run(ADAPTER, PI::OP_LOCATE_DEVICE);
    host.Check(DRIVE, PI::OP_MAKE_ONLINE);
    host.Run(DRIVE, PI::OP_MAKE_ONLINE);
  });
  failing("vsl_set_beacon_state", [&] { host.Run(ADAPTER, PI::OP_LOCATE_DEVICE); });
  for (const char* call :
       {"vsl_iom_format_create", "vsl_iom_format_set_sector_size_bytes",
        "vsl_iom_format_set_size_mode", "vsl_iom_format_set_size_bytes",
        "vsl_iom_format_set_size_pct", "vsl_op_start", "vsl_op_wait_for_result"}) {
    failing(call, [&] {
      host.Cards().Set("card0", "iom_state", "0");
      host.Run(DRIVE, PI::OP_FORMAT_DEVICE);
      host.Run(DRIVE, PI::OP_FORMAT_DEVICE,
               {Choice(PI::Property::FORMATTING, PI::Value::MAXIMUM_CAPACITY)});
    });
  }
  for (const char* call : {"vsl_iom_create_by_name", "vsl_open", "vsl_iom_format_create"}) {
    failing(call, [] { SleepFor(10000); });
    SleepFor(10000);
  }
  Stop(host);
}

void FailTheDatabase(SimulatedHost& host) {
  const FailingDatabase failingDatabase;
  StartPolling(host, 2);
  host.Cards().Set("card0", "iom_state", "0");
  host.Cards().Set("card1", "device_path", "\"/dev/hidden\"");
  SleepFor(10000);
  Stop(host);
}

void FailToStart(SimulatedHost& host) {
  host.Initialize();
  Stop(host);
  host.AddCard();
  CardSim::FailCall("vsl_init", 1, 5, "no");
  host.Initialize();
  Stop(host);
  host.Cards().Fail("vsl_open", 5, "no");
  host.Initialize();
  Stop(host);
  const FailingDatabase failingDatabase;
  host.Initialize();
  Stop(host);
}

template <void (*fail)(std::size_t), std::size_t ordinal>
void FailToInitialize(SimulatedHost& host) {
  host.AddCard();
  fail(ordinal);
  host.Initialize();
  Stop(host);
}

void FailALockWait(SimulatedHost& host) {
  StartPolling(host, 1);
  SleepFor(1);
  constexpr std::size_t eventsLock = 2;
  HostKit::FailLockWait(eventsLock, 1);
  SleepFor(10000);
  Stop(host);
}

void StopWhileJobsRun(SimulatedHost& host) {
  StartPolling(host, 2);
  host.Cards().Set("card0", "iom_state", "0");
  host.Cards().Set("card0", "attach_ms", "90000");
  host.Cards().Set("card1", "detach_ms", "90000");
  SleepFor(10000);
  host.Run(ADAPTER, PI::OP_ATTACH);
  host.Run(ADAPTER + 2, PI::OP_DETACH);
  SleepFor(1);
  CardSim::SetHook([](const CardSim::Call& call) {
    if (call.function == "vsl_open") SleepFor(60000);
  });
  SleepFor(10000);
  host.DeInitialize();
  SleepFor(100000);
  host.Release();
}

using Scenario = void (*)(SimulatedHost&);
const Scenario SCENARIOS[] = {
    RequestEverything,
    ChangeCards,
    FillRowsThroughNullHandles,
    FailJobs,
    FailRequests,
    FailTheDatabase,
    FailToStart,
    FailALockWait,
    StopWhileJobsRun,
    FailToInitialize<HostKit::FailLockInit, 1>,
    FailToInitialize<HostKit::FailLockInit, 2>,
    FailToInitialize<HostKit::FailEventInit, 1>,
    FailToInitialize<HostKit::FailEventInit, 2>,
    FailToInitialize<HostKit::FailEventInit, 3>,
};

std::vector<HostKit::TraceLine> LinesOfAllScenarios() {
  std::vector<HostKit::TraceLine> lines;
  for (const Scenario scenario : SCENARIOS) {
    SimulatedHost host;
    scenario(host);
    const auto traced = host.TraceLines();
    lines.insert(lines.end(), traced.begin(), traced.end());
  }
  return lines;
}

// One use of a trace macro in a source.
struct Site {
  int m_FirstLine;
  int m_LastLine;
  std::string m_Code;
};

// Returns the position of the matching parenthesis. No trace text contains an unmatched one.
std::size_t EndOfCall(const std::string& code, std::size_t begin) {
  int open = 0;
  for (std::size_t at = begin; at < code.size(); ++at) {
    if (code[at] == '(') ++open;
    if (code[at] == ')' && --open == 0) return at;
  }
  return code.size();
}

std::vector<Site> SitesOf(const std::string& source) {
  std::ifstream file(std::string(CORVANE_CHECKOUT) + "/Corvane/Src/" + source + ".cpp");
  std::stringstream text;
  text << file.rdbuf();
  const std::string code = text.str();
  const auto lineOf = [&code](std::size_t at) {
    return 1 +
           static_cast<int>(std::count(code.begin(), code.begin() + static_cast<long>(at), '\n'));
  };
  std::vector<Site> sites;
  for (std::size_t at = 0; (at = code.find("TRACE", at)) != std::string::npos; ++at) {
    const std::size_t open = code.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_", at);
    const std::string macro = code.substr(at, open - at);
    const bool writes = macro == "TRACE" || macro.rfind("TRACED_", 0) == 0;
    if (!writes || code[open] != '(') continue;
    const std::size_t end = EndOfCall(code, open);
    sites.push_back({lineOf(at), lineOf(end), code.substr(at, end + 1 - at)});
  }
  return sites;
}

class TraceFunction : public testing::Test {
 protected:
  // Runs the scenarios once for both tests, because they take several seconds.
  static const std::vector<HostKit::TraceLine>& Lines() {
    static const std::vector<HostKit::TraceLine> lines = LinesOfAllScenarios();
    return lines;
  }
};

TEST_F(TraceFunction, EachLineNamesTheExpectedFunction) {
  using Seen = std::set<std::string>;
  std::map<const Row*, Seen> seen;
  Seen unknown;
  for (const HostKit::TraceLine& line : Lines()) {
    const auto rows = TABLE.find(line.file);
    ASSERT_NE(rows, TABLE.end()) << line.file << ": " << line.text;
    // A placeholder matches any text, so the longest matching table text is used.
    const Row* found = nullptr;
    for (const Row& row : rows->second) {
      if (!Fits(row.m_Text, line.text.c_str())) continue;
      if (found == nullptr || std::string(row.m_Text).size() > std::string(found->m_Text).size()) {
        found = &row;
      }
    }
    if (found == nullptr) {
      unknown.insert(line.file + ": " + line.text);
    } else {
      seen[found].insert(line.function);
    }
  }
  EXPECT_THAT(unknown, IsEmpty()) << "lines that are not in the table";
  for (const auto& [source, rows] : TABLE) {
    for (const Row& row : rows) {
      EXPECT_EQ(seen[&row], Seen(row.m_Functions.begin(), row.m_Functions.end()))
          << source << ": " << row.m_Text;
    }
  }
}

// Detects a trace call that was added without a scenario that reaches it.
TEST_F(TraceFunction, EveryTraceCallIsReached) {
  for (const auto& [source, rows] : TABLE) {
    const std::vector<Site> sites = SitesOf(source);
    EXPECT_GE(sites.size(), 10U) << source;
    for (const Site& site : sites) {
      const auto isFromSite = [&source = source, &site](const HostKit::TraceLine& line) {
        return line.file == source && line.line >= site.m_FirstLine && line.line <= site.m_LastLine;
      };
      EXPECT_TRUE(std::any_of(Lines().begin(), Lines().end(), isFromSite))
          << source << ".cpp, line " << site.m_FirstLine << ": " << site.m_Code;
    }
  }
}

}  // namespace
}  // namespace CorvaneTest
