#include "service/client/Pause.h"

namespace Service {

bool Pause(std::chrono::milliseconds time, const Console::WaitSet& also) {
  if (Console::WaitReadable(also.m_Readable, time, {-1, also.m_Reader})) return false;
  return !Console::HasLostReader(also.m_Reader) && !Console::IsStopRequested();
}

}  // namespace Service
