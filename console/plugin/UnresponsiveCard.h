// A card that does not respond to the plug-in.
#pragma once

#include <string>

namespace Console {

struct UnresponsiveCard {
  std::string m_SerialNumber;
  std::string m_Reason;
};

}  // namespace Console
