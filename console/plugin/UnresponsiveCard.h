// A card that does not respond to the plug-in, or cannot be opened.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace Console {

struct UnresponsiveCard {
  std::string m_SerialNumber;  // empty: unknown
  std::string m_DevicePath;    // of the control device; empty: the cards cannot be listed
  std::string m_Reason;        // in one line, such as "the card is not responding"
  // Whether the plug-in has never read the card, and therefore does not show it. Otherwise, it
  // shows the values last read.
  bool m_IsOmitted = false;
};

// Returns the serial numbers of the cards that are present but omitted by the plug-in.
std::set<std::string> OmittedSerials(const std::vector<UnresponsiveCard>& cards);

}  // namespace Console
