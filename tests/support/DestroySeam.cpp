// Replaces the card library's `vsl_destroy`: the loader finds the executable's definition first.

#include "tests/support/DestroySeam.h"

#include <dlfcn.h>

#include <mutex>

#include "host/vsl_abstraction.h"

namespace CorvaneTest {

namespace {

// Jobs destroy their handles on their own threads.
std::mutex g_Mutex;
bool g_Watched = false;
std::vector<std::string> g_Records;

void Note(const vsl_error_record* record) {
  const std::lock_guard<std::mutex> guard(g_Mutex);
  if (g_Watched) g_Records.emplace_back(record == nullptr ? "none" : "record");
}

}  // namespace

DestroyWatch::DestroyWatch() {
  const std::lock_guard<std::mutex> guard(g_Mutex);
  g_Watched = true;
  g_Records.clear();
}

DestroyWatch::~DestroyWatch() {
  const std::lock_guard<std::mutex> guard(g_Mutex);
  g_Watched = false;
}

std::vector<std::string> DestroyWatch::Take() {
  const std::lock_guard<std::mutex> guard(g_Mutex);
  std::vector<std::string> records;
  records.swap(g_Records);
  return records;
}

}  // namespace CorvaneTest

extern "C" VSL_API vsl_code vsl_destroy(void** handle, vsl_error_record* err) {
  using Function = vsl_code (*)(void**, vsl_error_record*);
  static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "vsl_destroy"));
  CorvaneTest::Note(err);
  return next(handle, err);
}
