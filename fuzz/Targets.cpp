#include "fuzz/Targets.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace CorvaneFuzz {
namespace {

// Name, function.
constexpr Target kTargets[] = {
    {"cells", Cells},
    {"ini", Ini},
    {"card-file", CardFile},
    {"scenario", Scenario},
    {"selector", Selector},
    {"times", Times},
    {"options", Options},
    {"condition", Condition},
    {"format", Format},
    {"request", Request},
    {"escapes", Escapes},
    {"entity-tag", EntityTag},
    {"body", Body},
    {"records", Records},
    {"frames", Frames},
    {"session-replies", SessionReplies},
    {"state-replies", StateReplies},
    {"problem", Problem},
    {"stream", Stream},
    {"worker-documents", WorkerDocuments},
    {"listen-address", ListenAddress},
    {"host-header", HostHeader},
    {"query", Query},
    {"event-id", EventId},
    {"idempotency-key", IdempotencyKey},
    {"state-file", StateFile},
    {"lock-file", LockFile},
    {"state-cells", StateCells},
};

}  // namespace

const Target& FindTarget(const char* name) {
  for (const Target& target : kTargets) {
    if (name != nullptr && target.m_Name == std::string(name)) return target;
  }
  std::fprintf(stderr, "fuzz: unknown target '%s'; targets:", name == nullptr ? "" : name);
  for (const Target& target : kTargets) std::fprintf(stderr, " %s", target.m_Name);
  std::fputc('\n', stderr);
  std::exit(2);
}

}  // namespace CorvaneFuzz
