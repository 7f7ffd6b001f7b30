#include "console/plugin/LocateLedReader.h"

#include <algorithm>

namespace Console {
namespace {

bool HasLocateLed(const PI::CObject& object) {
  return object.m_ObjectType == PI::OBJECT_ADAPTER &&
         std::any_of(object.m_Operations.begin(), object.m_Operations.end(),
                     [](const auto& each) { return each.m_OperationID == PI::OP_LOCATE_DEVICE; });
}

}  // namespace

std::optional<bool> ReadLocateLed(Session& session, std::uint64_t adapter) {
  PI::COperation operation;
  operation.m_OperationID = PI::OP_LOCATE_DEVICE;
  switch (session.CheckOperation(adapter, operation)) {
    case PI::SUCCESS:
      return false;
    case PI::ERR_LOCATE_IN_PROGRESS:
      return true;
    default:
      return std::nullopt;
  }
}

std::vector<LocateLed> LocateLedReader::Read(Session& session,
                                             const std::vector<PI::CObject>& objects) {
  ForgetOutdated();
  std::vector<LocateLed> leds;
  for (const PI::CObject& object : objects) {
    if (!HasLocateLed(object)) continue;
    auto known = m_States.find(object.m_ID);
    if (known == m_States.end()) {
      const std::optional<bool> isOn = ReadLocateLed(session, object.m_ID);
      if (!isOn) continue;
      known = m_States.emplace(object.m_ID, *isOn).first;
    }
    leds.push_back({object.m_ID, known->second});
  }
  return leds;
}

void LocateLedReader::Invalidate(std::uint64_t adapter) {
  const Base::MutexLock lock(m_Lock);
  m_Invalid.insert(adapter);
}

void LocateLedReader::ForgetOutdated() {
  const Clock::time_point now = Clock::now();
  if (now - m_ReadAt >= m_MaxAge) {
    m_States.clear();
    m_ReadAt = now;
  }
  const Base::MutexLock lock(m_Lock);
  for (const std::uint64_t adapter : m_Invalid) m_States.erase(adapter);
  m_Invalid.clear();
}

}  // namespace Console
