// Replaces a function of the host's library: the loader finds the executable's definition first.

#include "tests/support/RangeSeam.h"

#include <dlfcn.h>

#include <atomic>

#include "host/PluginInterface.h"

namespace CorvaneTest {

namespace {

std::atomic<RangeWatch*> g_pWatch{nullptr};

}  // namespace

RangeWatch::RangeWatch() {
  g_pWatch = this;
}

RangeWatch::~RangeWatch() {
  g_pWatch = nullptr;
}

void NoteRange(const PI::CProperty& property, int value, int minimum, int maximum) {
  if (RangeWatch* const watch = g_pWatch) {
    watch->m_Values.push_back(std::to_string(property.m_PropertyID) + ": " + std::to_string(value) +
                              " in " + std::to_string(minimum) + ".." + std::to_string(maximum));
  }
}

}  // namespace CorvaneTest

namespace PI {

void CProperty::SetValue(int value, int minimum, int maximum, unsigned int step) {
  using Function = void (*)(CProperty*, int, int, int, unsigned int);
  static const auto next =
      reinterpret_cast<Function>(dlsym(RTLD_NEXT, "_ZN2PI9CProperty8SetValueEiiij"));
  CorvaneTest::NoteRange(*this, value, minimum, maximum);
  next(this, value, minimum, maximum, step);
}

}  // namespace PI
