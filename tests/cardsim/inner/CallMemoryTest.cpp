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
  void* created = nullptr;   // created by the call, or an adapter
  vsl_error_record err = {};
};

void DetachCard(CallHandles& handles) {
  vsl_iom_detach_create(handles.card, &handles.job, &handles.err);
}
void FormatCard(CallHandles& handles) {
  vsl_iom_format_create(handles.card, &handles.job, &handles.err);
}
void StartFormat(CallHandles& handles) {
  FormatCard(handles);
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
  FormatCard(handles);
}

struct Call {
  std::string name;
  std::string function;
  const char* state;  // of the card, before the call
  void (*prepare)(CallHandles&);
  vsl_code (*call)(CallHandles&);  // returns 0 if the call succeeds and returns the expected value
  bool needsMemory = true;         // false if the call may succeed when an allocation fails
};

void NoPreparation(CallHandles&) {}

const Call kCalls[] = {
    {"Init", "vsl_init", "2", NoPreparation, [](CallHandles& t) { return vsl_init(0, &t.err); }},
    {"Iterate", "vsl_iom_iterate", "2", NoPreparation,
     [](CallHandles& t) { return CodeOf(vsl_iom_iterate(&t.iterated, 1, &t.err)); }},
    {"CreateByName", "vsl_iom_create_by_name", "2", NoPreparation,
     [](CallHandles& t) { return vsl_iom_create_by_name("/dev/fct0", &t.created, &t.err); }},
    {"Open", "vsl_open", "2",
     [](CallHandles& t) {
       vsl_close(t.card, &t.err);
       CardSim::StateFile(CardSim::StateFile::DefaultPath()).Raise("card1", "FLASHBACK");
     },
     [](CallHandles& t) { return vsl_open(t.card, &t.err); }},
    {"Adapter", "vsl_adapter_create", "2", NoPreparation,
     [](CallHandles& t) { return vsl_adapter_create(t.card, &t.created, &t.err); }},
    {"BeaconOn", "vsl_set_beacon_state", "2", NoPreparation,
     [](CallHandles& t) { return vsl_set_beacon_state(t.card, 1, &t.err); }},
    {"NextVolume", "vsl_vsu_iterate", "2", NextVolume,
     [](CallHandles& t) { return CodeOf(vsl_vsu_iterate(t.card, &t.volume, 1, &t.err)); }},
    {"SetVolume", "vsl_set_vsu_state", "2", NextVolume,
     [](CallHandles& t) { return vsl_set_vsu_state(t.volume, 0, &t.err); }},
    {"CreateAttach", "vsl_iom_attach_create", "0", NoPreparation,
     [](CallHandles& t) { return vsl_iom_attach_create(t.card, &t.created, &t.err); }},
    {"CreateDetach", "vsl_iom_detach_create", "2", NoPreparation,
     [](CallHandles& t) { return vsl_iom_detach_create(t.card, &t.created, &t.err); }},
    {"CreateFormat", "vsl_iom_format_create", "0", NoPreparation,
     [](CallHandles& t) { return vsl_iom_format_create(t.card, &t.created, &t.err); }},
    {"FormatSize", "vsl_iom_format_set_size_bytes", "0", FormatCard,
     [](CallHandles& t) { return vsl_iom_format_set_size_bytes(t.job, 4096, &t.err); }},
    {"FormatPercent", "vsl_iom_format_set_size_pct", "0", FormatCard,
     [](CallHandles& t) { return vsl_iom_format_set_size_pct(t.job, 50, &t.err); }},
    {"FormatMode", "vsl_iom_format_set_size_mode", "0", FormatCard,
     [](CallHandles& t) { return vsl_iom_format_set_size_mode(t.job, 11, &t.err); }},
    {"StartAttach", "vsl_op_start", "0",
     [](CallHandles& t) { vsl_iom_attach_create(t.card, &t.job, &t.err); },
     [](CallHandles& t) { return vsl_op_start(t.job, &t.err); }},
    {"StartDetach", "vsl_op_start", "2", DetachCard,
     [](CallHandles& t) { return vsl_op_start(t.job, &t.err); }},
    {"StartFormat", "vsl_op_start", "0", FormatCard,
     [](CallHandles& t) { return vsl_op_start(t.job, &t.err); }},
    {"Close", "vsl_close", "2", NoPreparation,
     [](CallHandles& t) { return vsl_close(t.card, &t.err); }, false},
    {"PciDeviceId", "vsl_pci_device_id", "2",
     [](CallHandles& t) { SetAttribute(t, "pci_device_id", "4099"); },
     [](CallHandles& t) { return CodeOf(vsl_pci_device_id(t.card, &t.err) == 4099); }},
    {"ReserveStatus", "vsl_reserve_status", "2",
     [](CallHandles& t) {
       SetAttribute(t, "reserve_space_pct", "5");
       SetAttribute(t, "reserve_status", "1");
     },
     [](CallHandles& t) { return CodeOf(vsl_reserve_status(t.card, &t.err) == 1); }},
    {"HasVolumeState", "vsl_has_vsu_state", "2", NextVolume,
     [](CallHandles& t) { return CodeOf(vsl_has_vsu_state(t.volume, &t.err)); }},
    {"VolumeState", "vsl_vsu_state", "2", NextVolume,
     [](CallHandles& t) { return CodeOf(vsl_vsu_state(t.volume, &t.err) == 1); }, false},
    {"Force", "vsl_iom_detach_set_force", "2", DetachCard,
     [](CallHandles& t) { return vsl_iom_detach_set_force(t.job, 1, &t.err); }},
    {"HasFormatMode", "vsl_iom_format_has_size_mode", "0", FormatCard,
     [](CallHandles& t) { return CodeOf(vsl_iom_format_has_size_mode(t.job, &t.err)); }},
    {"FormatSectorSize", "vsl_iom_format_set_sector_size_bytes", "0", FormatCard,
     [](CallHandles& t) { return vsl_iom_format_set_sector_size_bytes(t.job, 512, &t.err); }},
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

// Returns the handle that has the attribute.
void* OwnerOf(CallHandles& handles, std::string_view attribute) {
  return attribute == "power_limit_watts" ? handles.created : handles.card;
}

const Call kReads[] = {
#define CARD_ROWS(type, attribute)                                                             \
  {"Has_" #attribute,                                                                          \
   "vsl_has_" #attribute,                                                                      \
   "2",                                                                                        \
   [](CallHandles& t) { SetAttribute(t, #attribute, kText<type>); },                           \
   [](CallHandles& t) { return CodeOf(vsl_has_##attribute(OwnerOf(t, #attribute), &t.err)); }, \
   false},                                                                                     \
      {"Read_" #attribute,                                                                     \
       "vsl_" #attribute,                                                                      \
       "2",                                                                                    \
       [](CallHandles& t) { SetAttribute(t, #attribute, kText<type>); },                       \
       [](CallHandles& t) {                                                                    \
         return CodeOf(IsExpected<type>(vsl_##attribute(OwnerOf(t, #attribute), &t.err)));     \
       },                                                                                      \
       false},
#define FORMAT_ROWS(type, attribute)                                                         \
  {"FormatHas_" #attribute,                                                                  \
   "vsl_iom_format_has_" #attribute,                                                         \
   "0",                                                                                      \
   [](CallHandles& t) { SetFormatAttribute(t, "iom_format_" #attribute, kText<type>); },     \
   [](CallHandles& t) { return CodeOf(vsl_iom_format_has_##attribute(t.job, &t.err)); },     \
   false},                                                                                   \
      {"FormatRead_" #attribute,                                                             \
       "vsl_iom_format_" #attribute,                                                         \
       "0",                                                                                  \
       [](CallHandles& t) { SetFormatAttribute(t, "iom_format_" #attribute, kText<type>); }, \
       [](CallHandles& t) {                                                                  \
         return CodeOf(IsExpected<type>(vsl_iom_format_##attribute(t.job, &t.err)));         \
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
    Spill(std::string(R"({"cardsim": 1, "next_id": 3, "failures": {}, "cards": [
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
  bool RunShort(const Call& call, CallHandles& handles, int successes, Shortage kind,
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
      if (!RunShort(call, handles, allocation, kind, code)) {
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

class CallsWithoutMemory : public CallMemory, public ::testing::WithParamInterface<Call> {};

TEST_P(CallsWithoutMemory, ChangeNothingWhenOneAllocationFails) {
  Sweep(GetParam(), Shortage::OneFails);
}

TEST_P(CallsWithoutMemory, ChangeNothingWhenNoMemoryIsLeft) {
  Sweep(GetParam(), Shortage::AllFail);
}

void PrintTo(const Call& call, std::ostream* out) {
  *out << call.function;
}

INSTANTIATE_TEST_SUITE_P(Table, CallsWithoutMemory, ::testing::ValuesIn(AllCalls()),
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

class FinishedJobs : public CallMemory, public ::testing::WithParamInterface<Shortage> {
 protected:
  // Whether the file contains a job, which other processes would see.
  bool IsMarked() const { return Slurp().find("\"job\"") != std::string::npos; }

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

TEST_P(FinishedJobs, AFormatWithoutMemoryReleasesTheCard) {
  int failures = 0;
  for (;; ++failures) {
    CallHandles handles = RestartWith("0");
    StartFormat(handles);
    ASSERT_TRUE(IsMarked());
    CorvaneTest::BeginShortage(failures, GetParam());
    const vsl_code code = vsl_op_wait_for_result(handles.job, &handles.err);
    const bool wasShort = CorvaneTest::EndShortage();
    if (!wasShort) {
      EXPECT_EQ(0U, code);
      break;
    }
    ASSERT_EQ(11U, code) << failures;
    ASSERT_STREQ("out of memory", handles.err.text) << failures;
    ASSERT_EQ("0", File().Get("card0", "iom_state")) << failures;
    // The next call removes the job from the file, so other processes see that the card is free.
    vsl_has_serial_number(handles.card, &handles.err);
    ASSERT_FALSE(IsMarked()) << failures;
    ASSERT_EQ("done", FormatAgain(handles)) << failures;
  }
  EXPECT_GT(failures, 20);
}

TEST_P(FinishedJobs, DestroyingAJobWithoutMemoryReleasesTheCard) {
  int failures = 0;
  for (;; ++failures) {
    CallHandles handles = RestartWith("0");
    StartFormat(handles);
    CorvaneTest::BeginShortage(failures, GetParam());
    const vsl_code code = vsl_destroy(&handles.job, nullptr);
    const bool wasShort = CorvaneTest::EndShortage();
    ASSERT_EQ(0U, code) << failures;
    if (!wasShort) break;
    vsl_has_serial_number(handles.card, &handles.err);
    ASSERT_FALSE(IsMarked()) << failures;
    ASSERT_EQ("done", FormatAgain(handles)) << failures;
  }
  EXPECT_GT(failures, 20);
}

TEST_P(FinishedJobs, FiniSucceedsWithoutMemory) {
  RestartWith("2");
  CorvaneTest::BeginShortage(0, GetParam());
  vsl_fini();
  CorvaneTest::EndShortage();
  EXPECT_EQ(0U, vsl_init(0, &m_Error));
}

INSTANTIATE_TEST_SUITE_P(Shortages, FinishedJobs,
                         ::testing::Values(Shortage::OneFails, Shortage::AllFail),
                         [](const auto& row) {
                           return std::string(row.param == Shortage::OneFails ? "OneFails"
                                                                              : "AllFail");
                         });

TEST_F(CallMemory, AStatusMaskKeepsItsLastValueWithoutMemory) {
  int lost = 0;
  int kept = 0;
  for (bool wasShort = true; wasShort;) {
    CallHandles handles = RestartWith("2");
    File().Raise("card1", "FLASHBACK");
    CorvaneTest::BeginShortage(lost + kept, Shortage::AllFail);
    const bool has = vsl_has_current_errors(handles.card, &handles.err);
    wasShort = CorvaneTest::EndShortage();
    ++(has ? kept : lost);
    // The call may fail only before it reads the file.
    ASSERT_TRUE(has || kept == 0) << lost + kept;
  }
  EXPECT_LT(lost, 10);
  EXPECT_GT(kept, 20);
}

}  // namespace
