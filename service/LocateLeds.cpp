#include "service/LocateLeds.h"

#include <fmt/format.h>

#include <iterator>

#include "console/model/FieldTable.h"
#include "console/model/Model.h"

namespace Service {
namespace {

constexpr int kMaxFailures = 3;

// Object ids by serial number.
using Cards = std::map<std::string, std::uint64_t>;

Cards CardsIn(const std::vector<PI::CObject>& objects) {
  Cards cards;
  const Console::Model model(objects);
  for (const Console::Object& object : model.Objects()) {
    if (object.m_Kind != Console::Kind::Adapter) continue;
    cards.emplace(Console::FieldText(object, "serial_number"), object.m_ID);
  }
  return cards;
}

std::uint32_t Execute(Console::Session& session, std::uint64_t card, PI::_OPERATION_ID number) {
  PI::COperation operation;
  operation.m_OperationID = number;
  operation.m_NameID = number;
  return session.ExecuteOperation(card, operation);
}

// Returns false if the session has no such card, or the card rejects the operation.
bool SwitchOn(Console::Session& session, const Cards& cards, const std::string& serial) {
  const auto card = cards.find(serial);
  return card != cards.end() && Execute(session, card->second, PI::OP_LOCATE_DEVICE) == PI::SUCCESS;
}

}  // namespace

void LocateLeds::Record(const std::string& serial, std::uint32_t operation, pid_t process) {
  const Base::MutexLock lock(m_Lock);
  if (operation == PI::OP_STOP_LOCATE_DEVICE) m_Leds.erase(serial);
  if (operation == PI::OP_LOCATE_DEVICE && !serial.empty()) m_Leds[serial] = {process};
}

void LocateLeds::ForgetRemoved(const std::vector<PI::CObject>& objects,
                               const std::set<std::string>& omitted) {
  if (Count() == 0) return;
  const Cards cards = CardsIn(objects);
  const Base::MutexLock lock(m_Lock);
  for (auto led = m_Leds.begin(); led != m_Leds.end();) {
    const bool isPresent = cards.count(led->first) > 0 || omitted.count(led->first) > 0;
    led = isPresent ? std::next(led) : m_Leds.erase(led);
  }
}

void LocateLeds::Restore(Console::Session& session, const std::set<std::string>& omitted,
                         pid_t process, const Warn& warn) {
  if (SwitchedOff(process).empty()) return;
  const std::vector<PI::CObject> objects = session.Topology();
  // A plug-in without cards does not distinguish removed cards from unreadable ones.
  if (session.HasCards()) ForgetRemoved(objects, omitted);
  const Cards cards = CardsIn(objects);
  for (const std::string& serial : SwitchedOff(process)) {
    if (omitted.count(serial) > 0) continue;  // the plug-in is restarted once it can be read
    const auto fail = [&] { NoteFailure(serial, process, warn); };
    try {
      if (!SwitchOn(session, cards, serial)) {
        fail();
      } else if (!NoteSuccess(serial, process)) {
        Execute(session, cards.at(serial), PI::OP_STOP_LOCATE_DEVICE);
      }
    } catch (...) {
      fail();  // an LED that makes the plug-in crash must not make each new process crash
      throw;
    }
  }
}

std::vector<std::string> LocateLeds::SwitchedOff(pid_t process) const {
  const Base::MutexLock lock(m_Lock);
  std::vector<std::string> serials;
  for (const auto& [serial, led] : m_Leds) {
    if (led.m_Process != process) serials.push_back(serial);
  }
  return serials;
}

// Returns false if a client has switched the LED off in the meantime.
bool LocateLeds::NoteSuccess(const std::string& serial, pid_t process) {
  const Base::MutexLock lock(m_Lock);
  const auto led = m_Leds.find(serial);
  if (led == m_Leds.end()) return false;
  led->second = {process};
  return true;
}

void LocateLeds::NoteFailure(const std::string& serial, pid_t process, const Warn& warn) {
  {
    const Base::MutexLock lock(m_Lock);
    const auto led = m_Leds.find(serial);
    if (led == m_Leds.end()) return;
    led->second.m_Process = process;
    if (++led->second.m_Failures < kMaxFailures) return;
    m_Leds.erase(led);
  }
  warn(fmt::format("cannot switch on the locate LED of card {} again", serial));
}

std::size_t LocateLeds::Count() const {
  const Base::MutexLock lock(m_Lock);
  return m_Leds.size();
}

}  // namespace Service
