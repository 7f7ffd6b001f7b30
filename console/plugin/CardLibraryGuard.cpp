#include "console/plugin/CardLibraryGuard.h"

namespace Console {
namespace {

CardLibraryGuard g_Guard;

}  // namespace

void SetCardLibraryGuard(const CardLibraryGuard& guard) {
  g_Guard = guard;
}

const CardLibraryGuard& GetCardLibraryGuard() {
  return g_Guard;
}

}  // namespace Console
