// Cards on which jobs are running.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Service {

struct BusyCard {
  std::string m_Serial;
  std::uint32_t m_Activity = 0;  // `PI::Value::ATTACHING`, `DETACHING`, or `BUSY` during a format
};

using BusyCards = std::vector<BusyCard>;

}  // namespace Service
