#include "service/client/Pause.h"

namespace Service {

bool Pause(std::chrono::milliseconds time, const Console::WaitSet& extra) {
  if (Console::WaitReadable(extra.m_Readable, time, {-1, extra.m_Reader})) return false;
  return !Console::HasLostReader(extra.m_Reader) && !Console::IsStopRequested();
}

}  // namespace Service
