// An exception from the host's callback. It would terminate the process on the worker's thread, so
// the test runs the worker on its own thread.

#include <gtest/gtest.h>

#include <boost/function.hpp>
#include <stdexcept>

#include "hostkit/Tracing.h"
#include "tests/plugin/inner/PrivateMember.h"
#include "tests/support/OneCard.h"

namespace CorvaneTest {
namespace {

using MBX::Threading::CEvent;

PRIVATE_MEMBER(WorkerMember, Worker, unsigned int (Plugin::*)());
PRIVATE_MEMBER(StopRequestMember, m_StopRequest, CEvent Plugin::*);
PRIVATE_MEMBER(PrivateEventMember, m_PrivateEvent, CEvent Plugin::*);

class WorkerException : public testing::Test {
 protected:
  // The worker's first wait returns because of the private event, so the worker notifies the host.
  // The second wait returns because of the stop request.
  void SetUp() override {
    ASSERT_EQ(m_Host.Initialize(), 0U);
    (ThePlugin().*PointerTo(PrivateEventMember())).Set();
    HostKit::SetTraceSink([](const HostKit::TraceLine& line) {
      if (line.text != "Worker() m_PrivateEvent event received") return;
      (ThePlugin().*PointerTo(StopRequestMember())).Set();
    });
  }
  static unsigned int Run() { return (ThePlugin().*PointerTo(WorkerMember()))(); }

  OneCard m_Host;
};

TEST_F(WorkerException, FromTheHostIsNotCaught) {
  m_Host.Plugin()->m_HostNotify = [](IPLUGINAPI*) { throw std::logic_error("from the host"); };
  EXPECT_THROW(Run(), std::logic_error);
}

TEST_F(WorkerException, IsThrownIfTheHostHasSetNoCallback) {
  m_Host.Plugin()->m_HostNotify.clear();
  EXPECT_THROW(Run(), boost::bad_function_call);
}

}  // namespace
}  // namespace CorvaneTest
