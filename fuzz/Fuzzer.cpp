// Entry point for libFuzzer. CORVANE_FUZZ_TARGET names the target.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz/Targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const CorvaneFuzz::Target& target =
      CorvaneFuzz::FindTarget(std::getenv("CORVANE_FUZZ_TARGET"));
  target.m_Run(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
