#include <array>

#include "cardsim/cardsim.h"
#include "host/vsl_abstraction.h"

namespace CardSim {
namespace {

struct StateRow {
  std::uint32_t state;
  const char* name;
};

constexpr std::array<StateRow, 8> kStates = {{
    {VSL_STATE_DETACHED, "detached"},
    {VSL_STATE_ATTACHING, "attaching"},
    {VSL_STATE_ATTACHED, "attached"},
    {VSL_STATE_DETACHING, "detaching"},
    {VSL_STATE_BUSY, "busy"},
    {VSL_STATE_MINIMAL, "minimal"},
    {VSL_STATE_FAILED, "failed"},
    {VSL_STATE_STOPPED, "stopped"},
}};

}  // namespace

const char* CardStateName(std::uint64_t state) {
  for (const StateRow& row : kStates) {
    if (row.state == state) return row.name;
  }
  return CardStateName(VSL_STATE_FAILED);
}

}  // namespace CardSim
