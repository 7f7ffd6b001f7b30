// Cards in the arguments of commands that use the stored state.
#pragma once

#include <optional>
#include <string>

#include "console/base/Failure.h"
#include "console/model/Model.h"
#include "service/StoredState.h"

namespace Console {

struct StoredCard {
  std::string m_Selector;  // empty: the card is not present
  std::string m_SerialNumber;
  const Object* m_pObject = nullptr;  // of the model; null: only the stored state has the card

  // Returns a name that commands accept.
  const std::string& Name() const { return m_Selector.empty() ? m_SerialNumber : m_Selector; }
};

// Returns the adapter that `text` names, itself or by its drive, or the known card with the serial
// number `text` if no object matches. `what` names the command. Throws `Failure` if neither exists
// or the object is not an adapter with a serial number of its own.
StoredCard SelectStoredCard(const Model& model, Service::StoredState& state, const char* what,
                            const std::string& text);

// Returns the known card with this serial number, or empty.
std::optional<Service::KnownCard> FindKnownCard(Service::StoredState& state,
                                                const std::string& serial);

// Returns the failure of the action `what` on a card that the stored state does not contain.
Failure UnknownCardFailure(const std::string& what);

}  // namespace Console
