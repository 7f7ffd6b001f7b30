// The PCI devices of the cards, compared with the cards that the plug-in reports.
#pragma once

#include <string>
#include <vector>

#include "console/model/CardRecords.h"
#include "console/plugin/UnresponsiveCard.h"
#include "host/PluginInterface.h"

namespace Console {

// Returns the PCI addresses of all cards of the supported families in this machine, in ascending
// order. Thread-safe.
std::vector<std::string> CardDevices();

// Returns the identities of the supported families, as `HostKit::FindPciDevices` expects them.
const std::vector<std::string>& CardIdentities();

// Returns those of `devices` at which the plug-in reports no adapter.
std::vector<std::string> UnreportedDevices(const std::vector<PI::CObject>& topology,
                                           const std::vector<std::string>& devices);

// Returns the cards as unreadable ones. Each omitted card gets the next address of `unreported`,
// which is removed there, because the card library and the bus list the cards in the same order.
std::vector<UnreadableCard> UnreadableCards(const std::vector<UnresponsiveCard>& cards,
                                            std::vector<std::string>& unreported);

}  // namespace Console
