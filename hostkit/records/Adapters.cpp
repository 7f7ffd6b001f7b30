// Identities of adapters, and their global numbers.
#include <algorithm>
#include <tuple>

#include "base/Mutex.h"
#include "host/PluginInterface.h"

namespace PI {

CAdapterID::CAdapterID()
    : m_Segment(0), m_Bus(0), m_Device(0), m_Function(0), m_AdapterNumber(0), m_GlobalNumber(-1) {}
CAdapterID::CAdapterID(const CAdapterID& other) = default;
CAdapterID& CAdapterID::operator=(const CAdapterID& other) = default;
CAdapterID::~CAdapterID() = default;

std::map<std::string, std::vector<std::int32_t>> CGlobalAdapterID::AllHostsAdaptersUniqueIDs;

namespace {

// Host name, segment, bus, device, function.
using Location =
    std::tuple<std::string, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t>;

struct Numbering {
  Base::Mutex lock;
  std::map<Location, std::int32_t> assigned HOST_GUARDED_BY(lock);
  std::int32_t last HOST_GUARDED_BY(lock) = 0;
};

Numbering& TheNumbering() {
  static Numbering numbering;
  return numbering;
}

bool Contains(const std::vector<std::int32_t>& numbers, std::int32_t number) {
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

// The map is public: a host adds numbers there that were assigned elsewhere.
bool IsTaken(std::int32_t number) {
  const auto& hosts = CGlobalAdapterID::AllHostsAdaptersUniqueIDs;
  return std::any_of(hosts.begin(), hosts.end(),
                     [number](const auto& host) { return Contains(host.second, number); });
}

std::int32_t NumberOfLocation(Numbering& numbering, const Location& location)
    HOST_REQUIRES(numbering.lock) {
  const auto known = numbering.assigned.find(location);
  if (known != numbering.assigned.end()) return known->second;
  do {
    ++numbering.last;
  } while (IsTaken(numbering.last));
  numbering.assigned.emplace(location, numbering.last);
  return numbering.last;
}

}  // namespace

CGlobalAdapterID::CGlobalAdapterID()
    : m_Segment(0), m_Bus(0), m_Device(0), m_Function(0), m_AdapterNumber(0), m_GlobalNumber(-1) {}
CGlobalAdapterID::~CGlobalAdapterID() = default;

void CGlobalAdapterID::GenerateUniqueAdapterNumber() {
  Numbering& numbering = TheNumbering();
  const Base::MutexLock guard(numbering.lock);
  m_GlobalNumber =
      NumberOfLocation(numbering, Location(m_HostName, m_Segment, m_Bus, m_Device, m_Function));
  auto& numbersOfHost = AllHostsAdaptersUniqueIDs[m_HostName];
  if (!Contains(numbersOfHost, m_GlobalNumber)) numbersOfHost.push_back(m_GlobalNumber);
}

int CGlobalAdapterID::GetGlobalAdapterNumber() const {
  return m_GlobalNumber;
}

}  // namespace PI
