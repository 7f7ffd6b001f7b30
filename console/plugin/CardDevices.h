// The PCI devices of the cards, compared with the cards that the plug-in reports.
#pragma once

#include <string>
#include <vector>

#include "console/model/CardRecords.h"
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

// Gives each card without a serial number the next address of `unreported`, because the plug-in and
// the bus list the cards in the same order. Returns the addresses that are left.
std::vector<std::string> AssignAddresses(std::vector<UnreadableCard>& cards,
                                         const std::vector<std::string>& unreported);

}  // namespace Console
