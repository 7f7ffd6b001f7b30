#include "service/UserName.h"

#include <pwd.h>

#include <atomic>
#include <future>
#include <memory>
#include <system_error>
#include <thread>

#include "base/ThreadName.h"
#include "console/base/CallWithTimeout.h"

namespace Service {
namespace {

// Lookups that have not returned. More would only wait for the same directory service.
constexpr int kMaxLookups = 8;
std::atomic<int> g_Lookups{0};

std::string FindName(uid_t user) {
  char buffer[16384];
  passwd entry = {};
  passwd* found = nullptr;
  const bool isKnown =
      getpwuid_r(user, &entry, buffer, sizeof buffer, &found) == 0 && found != nullptr;
  return isKnown ? found->pw_name : std::to_string(user);
}

// Returns false if there are enough lookups.
bool CountLookup() {
  if (++g_Lookups <= kMaxLookups) return true;
  --g_Lookups;
  return false;
}

// Starts a lookup, which has been counted. The result is ready once it has returned.
std::future<std::string> StartLookup(uid_t user) {
  const auto name = std::make_shared<std::promise<std::string>>();
  std::future<std::string> result = name->get_future();
  try {
    std::thread([name, user] {
      Base::NameThread("user-lookup");
      std::string found = FindName(user);
      --g_Lookups;
      name->set_value(std::move(found));
    }).detach();
  } catch (const std::system_error&) {
    --g_Lookups;
    name->set_value(std::to_string(user));
  }
  return result;
}

}  // namespace

std::string UserName(uid_t user, std::chrono::milliseconds limit) {
  if (!CountLookup()) return std::to_string(user);
  std::future<std::string> name = StartLookup(user);
  if (name.wait_for(limit) == std::future_status::ready) return name.get();
  Console::AbandonThreads();  // the lookup may still run when the program exits
  return std::to_string(user);
}

}  // namespace Service
