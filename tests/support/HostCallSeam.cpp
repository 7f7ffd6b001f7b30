// Replaces two functions of the host's library: the loader finds the executable's definitions
// first. dlsym() finds those of the library by their mangled names.

#include "tests/support/HostCallSeam.h"

#include <dlfcn.h>

#include <atomic>

#include "host/PluginInterface.h"
#include "host/Toolkit.h"

namespace CorvaneTest {

namespace {

std::atomic<HostCallWatch*> g_pWatch{nullptr};

void Record(const std::string& call) {
  if (HostCallWatch* const watch = g_pWatch) watch->m_Calls.push_back(call);
}

std::string LocationText(const PI::CGlobalAdapterID& id) {
  std::string text = id.m_HostName;
  for (const std::uint32_t number : {id.m_Segment, id.m_Bus, id.m_Device, id.m_Function}) {
    text += " " + std::to_string(number);
  }
  return text;
}

}  // namespace

HostCallWatch::HostCallWatch() {
  g_pWatch = this;
}

HostCallWatch::~HostCallWatch() {
  g_pWatch = nullptr;
}

void RecordLocationCall(const std::vector<std::string>& ids, unsigned long count) {
  std::string text = "GetLocation " + std::to_string(count) + " of";
  for (const std::string& id : ids) text += " " + id;
  Record(text);
}

void RecordNumberCall(const PI::CGlobalAdapterID& id) {
  const PI::CGlobalAdapterID plain;
  const bool isPlain = id.m_Name == plain.m_Name && id.m_AdapterNumber == plain.m_AdapterNumber &&
                       id.m_GlobalNumber == plain.m_GlobalNumber;
  const bool isKnown = PI::CGlobalAdapterID::AllHostsAdaptersUniqueIDs.count(id.m_HostName) != 0;
  Record("GenerateUniqueAdapterNumber for " + LocationText(id) +
         (isKnown ? "" : " (unknown host)") + (isPlain ? "" : " (other fields set)"));
}

}  // namespace CorvaneTest

namespace MBXX {

bool CConfigManager::GetLocation(const std::vector<std::string>& ids, unsigned long count,
                                 int& segment, int& bus, int& device, int& function) {
  using Function = bool (*)(const std::vector<std::string>&, unsigned long, int&, int&, int&, int&);
  static const auto next = reinterpret_cast<Function>(
      dlsym(RTLD_NEXT,
            "_ZN4MBXX14CConfigManager11GetLocationERKSt6vectorINSt7__cxx1112basic_stringIcSt11char_"
            "traitsIcESaIcEEESaIS7_EEmRiSC_SC_SC_"));
  CorvaneTest::RecordLocationCall(ids, count);
  return next(ids, count, segment, bus, device, function);
}

}  // namespace MBXX

namespace PI {

void CGlobalAdapterID::GenerateUniqueAdapterNumber() {
  using Function = void (*)(CGlobalAdapterID*);
  static const auto next = reinterpret_cast<Function>(
      dlsym(RTLD_NEXT, "_ZN2PI16CGlobalAdapterID27GenerateUniqueAdapterNumberEv"));
  CorvaneTest::RecordNumberCall(*this);
  next(this);
}

}  // namespace PI
