#include "console/change/KnownOperations.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "console/base/Number.h"
#include "console/change/CardFailure.h"
#include "console/model/FieldTable.h"
#include "console/plugin/LocateLedReader.h"
#include "hostkit/Texts.h"

namespace Console {
namespace {

using HostKit::Family;

// clang-format off
constexpr OperationRow kRows[] = {
    // number                   kind           aspect             risk          goal        verb       doing
    // reason if the state is wrong, question, failed event, makes the drive unavailable
    {PI::OP_LOCATE_DEVICE,      Kind::Adapter, Aspect::LocateLed, Risk::Low,    "on",       "locate",  "switching on the locate LED of",
     "", 0, 0, false},
    {PI::OP_STOP_LOCATE_DEVICE, Kind::Adapter, Aspect::LocateLed, Risk::Low,    "off",      "locate",  "switching off the locate LED of",
     "", 0, 0, false},
    {PI::OP_ATTACH,             Kind::Adapter, Aspect::Card,      Risk::Medium, "attached", "attach",  "attaching",
     "only a detached card can be attached", 22110, PI::Event::CTRL_ATTACH_FAILED, false},
    {PI::OP_DETACH,             Kind::Adapter, Aspect::Card,      Risk::Medium, "detached", "detach",  "detaching",
     "only an attached card can be detached", 22111, PI::Event::CTRL_DETACH_FAILED, true},
    {PI::OP_FORCE_DETACH,       Kind::Adapter, Aspect::Card,      Risk::Medium, "detached", "detach",  "detaching",
     "only an attached card can be detached", 22111, PI::Event::CTRL_DETACH_FAILED, true},
    {PI::OP_MAKE_ONLINE,        Kind::Drive,   Aspect::Units,     Risk::Medium, "online",   "online",  "bringing online",
     "no storage unit is offline", 22031, 0, false},
    {PI::OP_MAKE_OFFLINE,       Kind::Drive,   Aspect::Units,     Risk::Medium, "offline",  "offline", "taking offline",
     "no storage unit is online", 22029, 0, true},
    {PI::OP_FORMAT_DEVICE,      Kind::Drive,   Aspect::Data,      Risk::High,   "",         "format",  "formatting",
     "", 0, 0, true},
};
// clang-format on

#define OPERATION_NUMBER(name, number) number,
constexpr std::uint32_t kNamed[] = {PI_OPERATIONS(OPERATION_NUMBER)};
#undef OPERATION_NUMBER

std::uint32_t Check(Session& session, std::uint64_t object, PI::_OPERATION_ID number) {
  PI::COperation operation;
  operation.m_OperationID = number;
  return session.CheckOperation(object, operation);
}

std::string LocateLedState(Session& session, std::uint64_t object) {
  const std::optional<bool> isOn = ReadLocateLed(session, object);
  if (!isOn) return {};
  return *isOn ? "on" : "off";
}

bool HasValue(const PI::CProperty& property, std::int32_t value) {
  const auto& values = property.m_Value.m_MultiValue.m_Values;
  return std::find(values.begin(), values.end(), value) != values.end();
}

// Returns what the card is doing, such as "detaching"; empty if it is idle.
std::string ActivityOf(Session& session, std::uint64_t object) {
  for (const PI::CProperty& activity : session.Property(object, PI::Property::ACTIVITY)) {
    const auto value = static_cast<std::uint32_t>(activity.m_Value.m_Choice.m_Value);
    if (value != PI::Value::IDLE) {
      return boost::to_lower_copy(HostKit::NameOf(Family::Value, value));
    }
  }
  return {};
}

// A card that is changing between attached and detached has neither reason; its activity is the
// state.
std::string CardState(Session& session, std::uint64_t object) {
  for (const PI::CProperty& reasons : session.Property(object, PI::Property::ADDITIONAL_STATUS)) {
    if (HasValue(reasons, PI::Value::ATTACHED)) return "attached";
    if (HasValue(reasons, PI::Value::DETACHED)) return "detached";
  }
  return ActivityOf(session, object);
}

std::string UnitsState(Session& session, std::uint64_t object) {
  const bool someOffline = Check(session, object, PI::OP_MAKE_ONLINE) == PI::SUCCESS;
  const bool someOnline = Check(session, object, PI::OP_MAKE_OFFLINE) == PI::SUCCESS;
  if (someOffline && someOnline) return "partly online";
  if (someOffline) return "offline";
  return someOnline ? "online" : "";
}

struct Refusal {
  std::uint32_t m_Error;
  const char* m_Why;
  const char* m_Advice;
};

constexpr Refusal kRefusals[] = {
    {PI::ERR_ADAPTER_BUSY, "a card is being attached or detached",
     "Wait until this is done, then try again."},
    {PI::ERR_LOCATE_IN_PROGRESS, "locate LED already on", nullptr},
    {PI::ERR_NO_LOCATE_STARTED, "locate LED already off", nullptr},
    {PI::ERR_PHYSICALDRIVE_NOT_AVAILABLE, "the drive is not available",
     "Check its status: corvane-host tree"},
    {PI::ERR_GENERAL, "wrong state", nullptr},
};

constexpr const char* kBusy = "busy";  // with a format

// A state in which a card accepts no operation, and how it ends.
struct BusyState {
  const char* m_State;
  const char* m_Why;
  const char* m_End;  // condition of the command wait
};

constexpr BusyState kBusyStates[] = {
    {"attaching", "the card is being attached", "attached"},
    {"detaching", "the card is being detached", "detached"},
    {kBusy, "the card is busy", "activity=IDLE"},
};

// Returns the refusal of an operation on a card that another program is changing, or empty. `what`
// ends with the object.
std::optional<Failure> BusyFailure(const std::string& what, const std::string& state,
                                   std::uint32_t error) {
  for (const BusyState& row : kBusyStates) {
    if (error != PI::ERR_GENERAL || state != row.m_State) continue;
    const std::string object = what.substr(what.rfind(' ') + 1);
    return Failure(
        ExitCode::Refused, HostKit::NameOf(Family::Error, error), what,
        fmt::format("{} ({})", row.m_Why, error),
        {fmt::format("Wait until this is done: corvane-host wait {} {}", object, row.m_End),
         "Nothing was changed."});
  }
  return std::nullopt;
}

}  // namespace

const OperationRow* FindOperation(std::uint32_t number) {
  const auto* found = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&](const OperationRow& row) { return row.m_Number == number; });
  return found == std::end(kRows) ? nullptr : found;
}

std::string OperationName(std::uint32_t number) {
  const std::string name = HostKit::NameOf(Family::Operation, number);
  return name.empty() ? std::to_string(number) : name;
}

std::uint32_t ResolveOperation(const Object& object, const std::string& text) {
  if (const auto number = ReadNumber<std::uint32_t>(text)) return *number;
  std::vector<std::string> names;
  for (const std::uint32_t known : kNamed) {
    const std::string name = OperationName(known);
    if (boost::iequals(text, name) || boost::iequals("OP_" + text, name)) return known;
    names.push_back(name);
    names.push_back(name.substr(3));
  }
  std::vector<std::string> advice = DidYouMean(text, names);
  advice.push_back(fmt::format("See: corvane-host op list {}", object.m_Selector));
  throw Failure(ExitCode::Usage, "NO_SUCH_OPERATION", text, "no such operation", advice);
}

const char* AspectName(Aspect aspect) {
  return aspect == Aspect::LocateLed ? "locate_led" : "state";
}

std::string StateOf(Session& session, std::uint64_t object, Aspect aspect) {
  switch (aspect) {
    case Aspect::LocateLed:
      return LocateLedState(session, object);
    case Aspect::Card:
      return CardState(session, object);
    case Aspect::Units:
      return UnitsState(session, object);
    default:
      return {};
  }
}

Failure CheckFailure(const Session& session, const std::string& what, const OperationRow* row,
                     const std::string& state, std::uint32_t error) {
  for (const Refusal& refusal : kRefusals) {
    if (refusal.m_Error != error) continue;
    if (const auto busy = BusyFailure(what, state, error)) return *busy;
    std::string why = refusal.m_Why;
    if (error == PI::ERR_GENERAL && row != nullptr && *row->m_WrongStateReason != '\0')
      why = row->m_WrongStateReason;
    if (error == PI::ERR_GENERAL && !state.empty())
      why += fmt::format("; current state: {}", state);
    std::vector<std::string> advice;
    if (refusal.m_Advice != nullptr) advice.emplace_back(refusal.m_Advice);
    advice.emplace_back("Nothing was changed.");
    return Failure(ExitCode::Refused, HostKit::NameOf(Family::Error, error), what,
                   fmt::format("{} ({})", why, error), advice);
  }
  return CommandFailure(session, what, error);
}

Failure OtherCardFailure(Session& session, const Model& model, const std::string& what) {
  for (const Object& object : model.Objects()) {
    if (object.m_Kind != Kind::Adapter || !object.m_IsReported) continue;
    // A service knows its own jobs at once, before the plug-in reports them.
    const std::string state = boost::algorithm::to_lower_copy(FieldText(object, "activity"));
    for (const BusyState& row : kBusyStates) {
      if (state != row.m_State || state == kBusy) continue;
      const std::string serial = FieldText(object, "serial_number");
      return Failure(
          ExitCode::Refused, HostKit::NameOf(Family::Error, PI::ERR_ADAPTER_BUSY), what,
          fmt::format("{}{} is {}, and only one card at a time can be attached or detached ({})",
                      object.m_Selector, serial.empty() ? "" : " (" + serial + ")", state,
                      static_cast<std::uint32_t>(PI::ERR_ADAPTER_BUSY)),
          {fmt::format("Wait until this is done: corvane-host wait {} {}", object.m_Selector,
                       row.m_End),
           "Nothing was changed."});
    }
  }
  return CheckFailure(session, what, nullptr, "", PI::ERR_ADAPTER_BUSY);
}

Failure CommandFailure(const Session& session, const std::string& what, std::uint32_t error) {
  const std::optional<CardError> cause = session.LastCardError();
  if (error != PI::ERR_COMMAND_ERROR || !cause) return PluginFailure(what, error);
  return CardFailure(HostKit::NameOf(Family::Error, error), what, *cause);
}

}  // namespace Console
