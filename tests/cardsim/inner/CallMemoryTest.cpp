// Calls the card library's functions repeatedly, each time with another allocation failing.
#include <stdio.h>

#include <cstring>
#include <set>
#include <type_traits>

#include "tests/cardsim/Fixture.h"
#include "tests/support/MemoryShortage.h"

namespace {

using CorvaneTest::Shortage;

// Handles for the calls; null if a call does not need them.
struct CallHandles {
  void* card = nullptr;      // opened
  void* job = nullptr;       // a format or detach job
  void* iterated = nullptr;  // the first card
  void* volume = nullptr;    // the first volume
  void* created = nullptr;   // a handle created by the call, or the card's adapter
  vsl_error_record err = {};
};

void CreateDetachJob(CallHandles& handles) {
  vsl_iom_detach_create(handles.card, &handles.job, &handles.err);
}
void CreateFormatJob(CallHandles& handles) {
  vsl_iom_format_create(handles.card, &handles.job, &handles.err);
}
void StartFormat(CallHandles& handles) {
  CreateFormatJob(handles);
  vsl_iom_format_set_size_pct(handles.job, 50, &handles.err);
  vsl_op_start(handles.job, &handles.err);
}

vsl_code CodeOf(bool succeeded) {
  return succeeded ? 0 : 1;
}

void NextVolume(CallHandles& handles) {
  vsl_vsu_iterate(handles.card, &handles.volume, 1, &handles.err);
}

// Sets an attribute of the open card and creates a handle for its adapter.
void SetAttribute(CallHandles& handles, const char* attribute, const char* value) {
  vsl_close(handles.card, &handles.err);
  CardSim::StateFile(CardSim::StateFile::DefaultPath()).Set("card0", attribute, value);
  vsl_open(handles.card, &handles.err);
  vsl_adapter_create(handles.card, &handles.created, &handles.err);
}
void SetFormatAttribute(CallHandles& handles, const char* attribute, const char* value) {
  SetAttribute(handles, attribute, value);
  CreateFormatJob(handles);
}

struct Call {
  std::string name;
  std::string function;
  const char* state;  // the card's `iom_state` before the call
  void (*prepare)(CallHandles&);
  vsl_code (*call)(CallHandles&);  // returns 0 if the call succeeds and returns the expected value
  bool needsMemory = true;         // whether the call must fail if an allocation fails
};

void NoPreparation(CallHandles&) {}

const Call kCalls[] = {
    {"Init", "vsl_init", "2", NoPreparation, [](CallHandles& h) { return vsl_init(0, &h.err); }},
    {"Iterate", "vsl_iom_iterate", "2", NoPreparation,
     [](CallHandles& h) { return CodeOf(vsl_iom_iterate(&h.iterated, 1, &h.err)); }},
    {"CreateByName", "vsl_iom_create_by_name", "2", NoPreparation,
     [](CallHandles& h) { return vsl_iom_create_by_name("/dev/fct0", &h.created, &h.err); }},
    {"Open", "vsl_open", "2",
     [](CallHandles& h) {
       vsl_close(h.card, &h.err);
       CardSim::StateFile(CardSim::StateFile::DefaultPath()).Raise("card1", "FLASHBACK");
     },
     [](CallHandles& h) { return vsl_open(h.card, &h.err); }},
    {"Adapter", "vsl_adapter_create", "2", NoPreparation,
     [](CallHandles& h) { return vsl_adapter_create(h.card, &h.created, &h.err); }},
    {"BeaconOn", "vsl_set_beacon_state", "2", NoPreparation,
     [](CallHandles& h) { return vsl_set_beacon_state(h.card, 1, &h.err); }},
    {"NextVolume", "vsl_vsu_iterate", "2", NextVolume,
     [](CallHandles& h) { return CodeOf(vsl_vsu_iterate(h.card, &h.volume, 1, &h.err)); }},
    {"SetVolume", "vsl_set_vsu_state", "2", NextVolume,
     [](CallHandles& h) { return vsl_set_vsu_state(h.volume, 0, &h.err); }},
    {"CreateAttach", "vsl_iom_attach_create", "0", NoPreparation,
     [](CallHandles& h) { return vsl_iom_attach_create(h.card, &h.created, &h.err); }},
    {"CreateDetach", "vsl_iom_detach_create", "2", NoPreparation,
     [](CallHandles& h) { return vsl_iom_detach_create(h.card, &h.created, &h.err); }},
    {"CreateFormat", "vsl_iom_format_create", "0", NoPreparation,
     [](CallHandles& h) { return vsl_iom_format_create(h.card, &h.created, &h.err); }},
    {"FormatSize", "vsl_iom_format_set_size_bytes", "0", CreateFormatJob,
     [](CallHandles& h) { return vsl_iom_format_set_size_bytes(h.job, 4096, &h.err); }},
    {"FormatPercent", "vsl_iom_format_set_size_pct", "0", CreateFormatJob,
     [](CallHandles& h) { return vsl_iom_format_set_size_pct(h.job, 50, &h.err); }},
    {"FormatMode", "vsl_iom_format_set_size_mode", "0", CreateFormatJob,
     [](CallHandles& h) { return vsl_iom_format_set_size_mode(h.job, 11, &h.err); }},
    {"StartAttach", "vsl_op_start", "0",
     [](CallHandles& h) { vsl_iom_attach_create(h.card, &h.job, &h.err); },
     [](CallHandles& h) { return vsl_op_start(h.job, &h.err); }},
    {"StartDetach", "vsl_op_start", "2", CreateDetachJob,
     [](CallHandles& h) { return vsl_op_start(h.job, &h.err); }},
    {"StartFormat", "vsl_op_start", "0", CreateFormatJob,
     [](CallHandles& h) { return vsl_op_start(h.job, &h.err); }},
    {"Close", "vsl_close", "2", NoPreparation,
     [](CallHandles& h) { return vsl_close(h.card, &h.err); }, false},
    {"PciDeviceId", "vsl_pci_device_id", "2",
     [](CallHandles& h) { SetAttribute(h, "pci_device_id", "4099"); },
     [](CallHandles& h) { return CodeOf(vsl_pci_device_id(h.card, &h.err) == 4099); }},
    {"ReserveStatus", "vsl_reserve_status", "2",
     [](CallHandles& h) {
       SetAttribute(h, "reserve_space_pct", "5");
       SetAttribute(h, "reserve_status", "1");
     },
     [](CallHandles& h) { return CodeOf(vsl_reserve_status(h.card, &h.err) == 1); }},
    {"HasVolumeState", "vsl_has_vsu_state", "2", NextVolume,
     [](CallHandles& h) { return CodeOf(vsl_has_vsu_state(h.volume, &h.err)); }},
    {"VolumeState", "vsl_vsu_state", "2", NextVolume,
     [](CallHandles& h) { return CodeOf(vsl_vsu_state(h.volume, &h.err) == 1); }, false},
    {"Force", "vsl_iom_detach_set_force", "2", CreateDetachJob,
     [](CallHandles& h) { return vsl_iom_detach_set_force(h.job, 1, &h.err); }},
    {"HasFormatMode", "vsl_iom_format_has_size_mode", "0", CreateFormatJob,
     [](CallHandles& h) { return CodeOf(vsl_iom_format_has_size_mode(h.job, &h.err)); }},
    {"FormatSectorSize", "vsl_iom_format_set_sector_size_bytes", "0", CreateFormatJob,
     [](CallHandles& h) { return vsl_iom_format_set_sector_size_bytes(h.job, 512, &h.err); }},
};

// A value for attributes of type `T`, as text in the state file.
template <class T>
constexpr const char* kText = std::is_same_v<T, bool> ? "true" : "1";
template <>
constexpr const char* kText<const char*> = "a string too long for the internal buffer";

template <class T>
bool IsExpected(T value) {
  if constexpr (std::is_same_v<T, const char*>) {
    return std::strcmp(value, kText<T>) == 0;
  } else {
    return value == T(1);
  }
}

// Returns the handle from which the attribute is read.
void* OwnerOf(CallHandles& handles, std::string_view attribute) {
  return attribute == "power_limit_watts" ? handles.created : handles.card;
}

const Call kReads[] = {
#define CARD_ROWS(type, attribute)                                                             \
  {"Has_" #attribute,                                                                          \
   "vsl_has_" #attribute,                                                                      \
   "2",                                                                                        \
   [](CallHandles& h) { SetAttribute(h, #attribute, kText<type>); },                           \
   [](CallHandles& h) { return CodeOf(vsl_has_##attribute(OwnerOf(h, #attribute), &h.err)); }, \
   false},                                                                                     \
      {"Read_" #attribute,                                                                     \
       "vsl_" #attribute,                                                                      \
       "2",                                                                                    \
       [](CallHandles& h) { SetAttribute(h, #attribute, kText<type>); },                       \
       [](CallHandles& h) {                                                                    \
         return CodeOf(IsExpected<type>(vsl_##attribute(OwnerOf(h, #attribute), &h.err)));     \
       },                                                                                      \
       false},
#define FORMAT_ROWS(type, attribute)                                                         \
  {"FormatHas_" #attribute,                                                                  \
   "vsl_iom_format_has_" #attribute,                                                         \
   "0",                                                                                      \
   [](CallHandles& h) { SetFormatAttribute(h, "iom_format_" #attribute, kText<type>); },     \
   [](CallHandles& h) { return CodeOf(vsl_iom_format_has_##attribute(h.job, &h.err)); },     \
   false},                                                                                   \
      {"FormatRead_" #attribute,                                                             \
       "vsl_iom_format_" #attribute,                                                         \
       "0",                                                                                  \
       [](CallHandles& h) { SetFormatAttribute(h, "iom_format_" #attribute, kText<type>); }, \
       [](CallHandles& h) {                                                                  \
         return CodeOf(IsExpected<type>(vsl_iom_format_##attribute(h.job, &h.err)));         \
       },                                                                                    \
       false},
    VSL_CARD_ATTRIBUTES(CARD_ROWS) VSL_FORMAT_ATTRIBUTES(FORMAT_ROWS)
#undef FORMAT_ROWS
#undef CARD_ROWS
};

std::vector<Call> AllCalls() {
  std::vector<Call> calls(std::begin(kCalls), std::end(kCalls));
  calls.insert(calls.end(), std::begin(kReads), std::end(kReads));
  return calls;
}

class CallMemory : public SimulatedCards {
 protected:
  // Restarts the library and opens the card in this state. Cards with few attributes keep the
  // number of allocations low.
  CallHandles RestartWith(const char* state) {
    vsl_fini();
    CardSim::Reset();
    OverwriteFile(std::string(R"({"cardsim": 1, "next_id": 3, "failures": {}, "cards": [
        {"name": "card0", "id": 1, "device_path": "/dev/fct0", "current_errors": 256,
         "board_name": "Flash Adapter 785GB", "serial_number": "FA1", "beacon_state": false,
         "size_bytes": 785000000000, "iom_format_max_size_bytes": 785000000000,
         "iom_format_size_bytes": 785000000000, "iom_format_size_pct": 100,
         "iom_format_size_mode": true, "volumes": [{"state": 1}, {"state": 1}], "iom_state": )") +
                  state + R"(},
        {"name": "card1", "id": 2, "device_path": "/dev/fct1"}]})");
    CallHandles handles;
    EXPECT_EQ(0U, vsl_init(0, &handles.err)) << handles.err.text;
    vsl_iom_create_by_name("/dev/fct0", &handles.card, &handles.err);
    vsl_iom_iterate(&handles.iterated, 1, &handles.err);
    EXPECT_EQ(0U, vsl_open(handles.card, &handles.err)) << handles.err.text;
    return handles;
  }

  // Runs the call with a memory shortage. Returns whether an allocation failed.
  bool RunWithShortage(const Call& call, CallHandles& handles, int successes, Shortage kind,
                       vsl_code& code) {
    handles.err.text[0] = '\0';
    CorvaneTest::BeginShortage(successes, kind);
    code = call.call(handles);
    return CorvaneTest::EndShortage();
  }

  void Sweep(const Call& call, Shortage kind) {
    int allocation = 0;
    for (;; ++allocation) {
      CallHandles handles = RestartWith(call.state);
      call.prepare(handles);
      ASSERT_STREQ("", handles.err.text);
      const std::string before = Slurp();
      const std::string open = Joined(CardSim::OpenHandles());
      vsl_code code = 0;
      if (!RunWithShortage(call, handles, allocation, kind, code)) {
        ASSERT_EQ(0U, code) << handles.err.text;
        break;
      }
      if (!call.needsMemory && code == 0) continue;
      ASSERT_NE(0U, code) << "allocation " << allocation;
      ASSERT_STREQ("out of memory", handles.err.text) << allocation;
      ASSERT_EQ(before, Slurp()) << allocation;
      ASSERT_EQ(open, Joined(CardSim::OpenHandles())) << allocation;
      ASSERT_EQ(0U, call.call(handles)) << allocation << handles.err.text;
      ASSERT_EQ("", Joined(CardSim::Misuse())) << allocation;
    }
    EXPECT_TRUE(allocation > 0 || !call.needsMemory);
  }
};

class CallsOutOfMemory : public CallMemory, public ::testing::WithParamInterface<Call> {};

TEST_P(CallsOutOfMemory, ChangeNothingWhenOneAllocationFails) {
  Sweep(GetParam(), Shortage::OneFails);
}

TEST_P(CallsOutOfMemory, ChangeNothingWhenNoMemoryIsLeft) {
  Sweep(GetParam(), Shortage::AllFail);
}

void PrintTo(const Call& call, std::ostream* out) {
  *out << call.function;
}

INSTANTIATE_TEST_SUITE_P(Table, CallsOutOfMemory, ::testing::ValuesIn(AllCalls()),
                         [](const auto& row) { return row.param.name; });

// Returns the functions that the library exports.
std::set<std::string> ExportedFunctions() {
  std::set<std::string> names;
  FILE* list = popen("nm -D --defined-only " CARDSIM_LIBRARY, "r");
  char name[256];
  while (list != nullptr && fscanf(list, "%*s %*s %255s", name) == 1) {
    if (std::strncmp(name, "vsl_", 4) == 0) names.insert(name);
  }
  if (list != nullptr) pclose(list);
  return names;
}

TEST_F(CallMemory, EveryFunctionHasARow) {
  // These functions have separate tests below.
  std::set<std::string> rows = {"vsl_op_wait_for_result", "vsl_destroy", "vsl_fini"};
  for (const Call& call : AllCalls()) rows.insert(call.function);
  EXPECT_EQ(ExportedFunctions(), rows);
}

class OutOfMemory : public CallMemory, public ::testing::WithParamInterface<Shortage> {
 protected:
  // Whether the file contains a job, which other processes would see.
  bool FileHasJob() const { return Slurp().find("\"job\"") != std::string::npos; }

  std::string FormatAgain(CallHandles& handles) {
    void* job = nullptr;
    for (const vsl_code code :
         {vsl_iom_format_create(handles.card, &job, &handles.err), vsl_op_start(job, &handles.err),
          vsl_op_wait_for_result(job, &handles.err), vsl_destroy(&job, nullptr)}) {
      if (code != 0) return handles.err.text;
    }
    return "done";
  }
};

TEST_P(OutOfMemory, AFailedFormatReleasesTheCard) {
  int failures = 0;
  for (;; ++failures) {
    CallHandles handles = RestartWith("0");
    StartFormat(handles);
    ASSERT_TRUE(FileHasJob());
    CorvaneTest::BeginShortage(failures, GetParam());
    const vsl_code code = vsl_op_wait_for_result(handles.job, &handles.err);
    const bool hadShortage = CorvaneTest::EndShortage();
    if (!hadShortage) {
      EXPECT_EQ(0U, code);
      break;
    }
    ASSERT_EQ(11U, code) << failures;
    ASSERT_STREQ("out of memory", handles.err.text) << failures;
    ASSERT_EQ("0", File().Get("card0", "iom_state")) << failures;
    // The next call removes the job from the file, so other processes see that the card is free.
    vsl_has_serial_number(handles.card, &handles.err);
    ASSERT_FALSE(FileHasJob()) << failures;
    ASSERT_EQ("done", FormatAgain(handles)) << failures;
  }
  EXPECT_GT(failures, 20);
}

TEST_P(OutOfMemory, DestroyingAJobReleasesTheCard) {
  int failures = 0;
  for (;; ++failures) {
    CallHandles handles = RestartWith("0");
    StartFormat(handles);
    CorvaneTest::BeginShortage(failures, GetParam());
    const vsl_code code = vsl_destroy(&handles.job, nullptr);
    const bool hadShortage = CorvaneTest::EndShortage();
    ASSERT_EQ(0U, code) << failures;
    if (!hadShortage) break;
    vsl_has_serial_number(handles.card, &handles.err);
    ASSERT_FALSE(FileHasJob()) << failures;
    ASSERT_EQ("done", FormatAgain(handles)) << failures;
  }
  EXPECT_GT(failures, 20);
}

TEST_P(OutOfMemory, FiniStopsTheLibrary) {
  CallHandles handles = RestartWith("2");
  CorvaneTest::BeginShortage(0, GetParam());
  vsl_fini();
  CorvaneTest::EndShortage();
  EXPECT_EQ(10U, vsl_close(handles.card, &handles.err));
  EXPECT_EQ(0U, vsl_init(0, &m_Error));
}

INSTANTIATE_TEST_SUITE_P(Shortages, OutOfMemory,
                         ::testing::Values(Shortage::OneFails, Shortage::AllFail),
                         [](const auto& row) {
                           return std::string(row.param == Shortage::OneFails ? "OneFails"
                                                                              : "AllFail");
                         });

TEST_F(CallMemory, AStatusMaskKeepsItsLastValueWhenOutOfMemory) {
  int lost = 0;
  int kept = 0;
  for (bool hadShortage = true; hadShortage;) {
    CallHandles handles = RestartWith("2");
    File().Raise("card1", "FLASHBACK");
    CorvaneTest::BeginShortage(lost + kept, Shortage::AllFail);
    const bool has = vsl_has_current_errors(handles.card, &handles.err);
    hadShortage = CorvaneTest::EndShortage();
    ++(has ? kept : lost);
    // The call may fail only before it reads the file.
    ASSERT_TRUE(has || kept == 0) << lost + kept;
  }
  EXPECT_LT(lost, 10);
  EXPECT_GT(kept, 20);
}

}  // namespace
