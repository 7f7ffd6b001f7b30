// Parameters of a format, as a host passes them. Input: six bytes per parameter: the first selects
// the parameter, the second its type, and the other four are its value.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "host/PluginInterface.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneFuzz {
namespace {

constexpr std::size_t kBytes = 6;
constexpr std::size_t kMaxParameters = 16;

constexpr std::uint32_t kNames[] = {PI::Property::FORMATTING, PI::Property::SIZE,
                                    PI::Property::BLOCK_SIZE, PI::Property::NAME};

// Valid values of choice parameters.
constexpr std::int32_t kChoices[] = {PI::Value::MAXIMUM_CAPACITY,
                                     PI::Value::FACTORY_CAPACITY,
                                     PI::Value::IMPROVED_PERFORMANCE,
                                     PI::Value::HIGH_PERFORMANCE,
                                     PI::Value::CUSTOM,
                                     PI::Value::_512B,
                                     PI::Value::_4K,
                                     PI::Value::_8K};

template <class Element, std::size_t size>
Element Pick(const Element (&elements)[size], std::uint32_t number) {
  return elements[number % size];
}

PI::CProperty Parameter(const char* bytes) {
  const auto name = static_cast<unsigned char>(bytes[0]);
  const auto kind = static_cast<unsigned char>(bytes[1]);
  std::int32_t value = 0;
  std::memcpy(&value, bytes + 2, sizeof value);
  const std::int32_t choice = Pick(kChoices, static_cast<std::uint32_t>(value));
  PI::CProperty parameter(PI::Property::CHOICE_PARAM, true);
  parameter.m_NameID = Pick(kNames, name);
  switch (kind % 5) {
    case 0:
      parameter.SetValue(choice, std::vector<int>{choice});
      break;
    case 1:
      parameter.SetValue(value, std::vector<int>{});
      break;
    case 2:
      parameter.SetValue(value, 10, 100, 1);
      break;
    case 3:
      parameter.SetValue(std::string(bytes, kBytes));
      break;
    default:
      parameter.SetValue(static_cast<unsigned long>(value));
  }
  return parameter;
}

// A host with one card that can be formatted without delay.
class FormatHost : public CorvaneTest::SimulatedHost {
 public:
  FormatHost() : m_Card(AddCard(0x1006)) {
    Cards().Set(m_Card, "format_ms", "0");
    ResetCard();
    Require(Initialize() == PI::SUCCESS, "the plug-in did not start");
    HostKit::SetTraceSink([](const HostKit::TraceLine&) {});
    m_Drive = DriveId(0);
  }

  void ResetCard() { Cards().Set(m_Card, "iom_state", "0"); }
  unsigned int Format(const std::vector<PI::CProperty>& parameters) {
    return Run(m_Drive, PI::OP_FORMAT_DEVICE, parameters);
  }

 private:
  const std::string m_Card;
  std::uint64_t m_Drive = 0;
};

bool Contains(const std::vector<std::string>& calls, const std::string& function) {
  for (const std::string& call : calls) {
    if (call.rfind(function + " ", 0) == 0) return true;
  }
  return false;
}

}  // namespace

// Requires that a format succeeds if and only if it waited for its job, and that it destroys all
// handles.
void Format(const std::string& input) {
  static FormatHost host;
  host.ResetCard();
  host.ClearCalls();
  std::vector<PI::CProperty> parameters;
  for (std::size_t at = 0; at + kBytes <= input.size() && parameters.size() < kMaxParameters;
       at += kBytes) {
    parameters.push_back(Parameter(input.data() + at));
  }
  const unsigned int result = host.Format(parameters);
  Require(result == PI::SUCCESS || result == PI::ERR_COMMAND_ERROR,
          "a format returned " + std::to_string(result));
  Require((result == PI::SUCCESS) == Contains(host.Calls(), "vsl_op_wait_for_result"),
          "the result does not match the calls");
  Require(CardSim::OpenHandles().empty(), "a handle was not destroyed");
  Require(CardSim::Misuse().empty(), "the card library was misused");
}

}  // namespace CorvaneFuzz
