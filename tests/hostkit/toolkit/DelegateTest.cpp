#include <memory>
#include <string>

#include "tests/hostkit/toolkit/Fixtures.h"

using namespace MBX::Delegates_and_Calls;
using namespace MBX::Threading;

namespace {

struct Listener {
  unsigned int Count() { return 7; }
  unsigned int Receive(const std::string& text) {
    received = text;
    return static_cast<unsigned int>(text.size());
  }

  std::string received;
};

using Delegate = EveryTimeMode;

TEST_P(Delegate, CallsItsMember) {
  Listener listener;
  EXPECT_EQ(7U, (TDelegateR0<Listener, unsigned int>(&listener, &Listener::Count).Call()));
  TDelegateR1<Listener, unsigned int, const std::string&> receive(&listener, &Listener::Receive,
                                                                  "text");
  EXPECT_EQ(4U, receive.Clone()->Call());
  EXPECT_EQ("text", listener.received);
}

TEST_P(Delegate, KeepsItsArgumentForAThreadThatStartsLater) {
  using Receive = TDelegateR1<Listener, unsigned int, const std::string&>;
  Listener listener;
  CThread thread;
  {
    auto text = std::make_unique<std::string>("a text too long for the string's internal buffer");
    auto receive = std::make_unique<Receive>(&listener, &Listener::Receive, *text);
    text->assign("other");
    text.reset();
    EXPECT_EQ(1, thread.Create(*receive, false));
  }
  EXPECT_EQ(WAIT_SUCCEEDED, thread.Wait(WAIT_INFINITE));
  EXPECT_EQ("a text too long for the string's internal buffer", listener.received);
}

IN_EVERY_TIME_MODE(Delegate);

}  // namespace
