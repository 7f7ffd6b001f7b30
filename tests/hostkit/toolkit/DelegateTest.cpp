#include <memory>
#include <string>

#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Delegates_and_Calls;
using namespace MBX::Threading;

namespace {

struct Listener {
  unsigned int Count() { return 7; }
  unsigned int Hear(const std::string& word) {
    heard = word;
    return static_cast<unsigned int>(word.size());
  }

  std::string heard;
};

using Delegate = EveryTimeMode;

TEST_P(Delegate, CallsItsMember) {
  Listener listener;
  EXPECT_EQ(7U, (TDelegateR0<Listener, unsigned int>(&listener, &Listener::Count).Call()));
  TDelegateR1<Listener, unsigned int, const std::string&> hear(&listener, &Listener::Hear, "word");
  EXPECT_EQ(4U, hear.Clone()->Call());
  EXPECT_EQ("word", listener.heard);
}

TEST_P(Delegate, KeepsItsArgumentForAThreadThatStartsLater) {
  using Hear = TDelegateR1<Listener, unsigned int, const std::string&>;
  Listener listener;
  CThread thread;
  {
    auto word = std::make_unique<std::string>("a text too long for the string's own room");
    auto hear = std::make_unique<Hear>(&listener, &Listener::Hear, *word);
    word->assign("other");
    word.reset();
    EXPECT_EQ(1, thread.Create(*hear, false));
  }
  EXPECT_EQ(1U, thread.Wait(WAIT_INFINITE));
  EXPECT_EQ("a text too long for the string's own room", listener.heard);
}

IN_EVERY_TIME_MODE(Delegate);

}  // namespace
