// Handles of the card library: the calls that accept each kind, and the destruction of a handle
// when an exception or a cancellation unwinds the stack.

#include <gmock/gmock.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <stdexcept>
#include <type_traits>

#include "Corvane/Src/CardLibrary.h"
#include "cardsim/cardsim.h"
#include "tests/support/SimulatedHost.h"

namespace CorvaneTest {
namespace {

using namespace NAMESPACE_Corvane;
using testing::ElementsAre;
using testing::IsEmpty;

// Whether `Handle` is accepted as each kind of parameter. A format is also accepted as a job; every
// other kind is accepted only as itself.
template <class Handle>
constexpr bool IsAcceptedAs(bool card, bool adapter, bool format, bool job, bool unit) {
  return std::is_convertible_v<Handle, CardRef> == card &&
         std::is_convertible_v<Handle, AdapterRef> == adapter &&
         std::is_convertible_v<Handle, FormatRef> == format &&
         std::is_convertible_v<Handle, JobRef> == job &&
         std::is_convertible_v<Handle, UnitRef> == unit;
}
static_assert(IsAcceptedAs<CardHandle>(true, false, false, false, false));
static_assert(IsAcceptedAs<AdapterHandle>(false, true, false, false, false));
static_assert(IsAcceptedAs<FormatHandle>(false, false, true, true, false));
static_assert(IsAcceptedAs<JobHandle>(false, false, false, true, false));
static_assert(IsAcceptedAs<CardRef>(true, false, false, false, false));
static_assert(IsAcceptedAs<AdapterRef>(false, true, false, false, false));
static_assert(IsAcceptedAs<FormatRef>(false, false, true, true, false));
static_assert(IsAcceptedAs<JobRef>(false, false, false, true, false));
static_assert(IsAcceptedAs<UnitRef>(false, false, false, false, true));
static_assert(IsAcceptedAs<void*>(false, false, false, false, false));

// The functions that take a handle.
using LocateLEDCall = decltype(&LocateLEDIsOn);
static_assert(std::is_invocable_v<LocateLEDCall, CardHandle&, ErrorRecord&>);
static_assert(!std::is_invocable_v<LocateLEDCall, AdapterHandle&, ErrorRecord&>);
static_assert(!std::is_invocable_v<LocateLEDCall, FormatHandle&, ErrorRecord&>);
static_assert(!std::is_invocable_v<LocateLEDCall, JobHandle&, ErrorRecord&>);
using StartCall = decltype(&Start);
static_assert(std::is_invocable_v<StartCall, JobHandle&, ErrorRecord&>);
static_assert(std::is_invocable_v<StartCall, FormatHandle&, ErrorRecord&>);
static_assert(!std::is_invocable_v<StartCall, CardHandle&, ErrorRecord&>);
using ForceCall = decltype(&SetForced);
static_assert(std::is_invocable_v<ForceCall, JobHandle&, ErrorRecord&>);
static_assert(!std::is_invocable_v<ForceCall, CardHandle&, ErrorRecord&>);
using SizeCall = decltype(&SetSizeBytes);
static_assert(std::is_invocable_v<SizeCall, FormatHandle&, std::uint64_t, ErrorRecord&>);
static_assert(!std::is_invocable_v<SizeCall, JobHandle&, std::uint64_t, ErrorRecord&>);
static_assert(!std::is_invocable_v<SizeCall, CardHandle&, std::uint64_t, ErrorRecord&>);

// A reader accepts only the attributes of its own kind.
template <class Reader, class Attribute, class = void>
constexpr bool Reads = false;
template <class Reader, class Attribute>
constexpr bool Reads<
    Reader, Attribute,
    std::void_t<decltype(std::declval<const Reader&>().Read(std::declval<const Attribute&>()))>> =
    true;
using CardAttribute = decltype(VSL(pci_bus));
using AdapterAttribute = decltype(VSL(power_limit_watts));
using FormatAttribute = decltype(VSL_FORMAT(size_pct));
using UnitAttribute = decltype(VSL(vsu_state));
using AdapterReader = AttributeReader<HandleKind::Adapter>;
using FormatReader = AttributeReader<HandleKind::Format>;
static_assert(Reads<CardReader, CardAttribute>);
static_assert(!Reads<CardReader, AdapterAttribute>);
static_assert(!Reads<CardReader, FormatAttribute>);
static_assert(!Reads<CardReader, UnitAttribute>);
static_assert(Reads<AdapterReader, AdapterAttribute>);
static_assert(!Reads<AdapterReader, CardAttribute>);
static_assert(!Reads<AdapterReader, UnitAttribute>);
static_assert(Reads<FormatReader, FormatAttribute>);
static_assert(!Reads<FormatReader, CardAttribute>);

// No destructor throws.
static_assert(std::is_nothrow_destructible_v<CardHandle>);
static_assert(std::is_nothrow_destructible_v<AdapterHandle>);
static_assert(std::is_nothrow_destructible_v<FormatHandle>);
static_assert(std::is_nothrow_destructible_v<JobHandle>);

class HandleKinds : public testing::Test {
 protected:
  HandleKinds() {
    m_Host.AddCard();
    ErrorRecord error;
    EXPECT_EQ(vsl_init(0, error), 0U);
    CardSim::Reset();
  }
  ~HandleKinds() override {
    CardSim::SetHook({});
    vsl_fini();
  }

  SimulatedHost m_Host{HostKit::UseRealTime};
};

TEST_F(HandleKinds, AHandleIsDestroyedOnce) {
  ErrorRecord error;
  {
    CardHandle card;
    EXPECT_EQ(CreateHandle("/dev/fct0", card, error), 0U);
    card.Destroy();
    card.Destroy();
  }
  EXPECT_THAT(CardSim::CallTexts(),
              ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_destroy card#1"));
}

TEST_F(HandleKinds, AHandleThatCouldNotBeCreatedIsNotDestroyedUnlessAdopted) {
  ErrorRecord error;
  {
    CardHandle card;
    EXPECT_NE(CreateHandle("/dev/none", card, error), 0U);
    card.Destroy();
  }
  EXPECT_THAT(CardSim::CallTexts(), ElementsAre("vsl_iom_create_by_name /dev/none"));
  CardHandle card;
  EXPECT_NE(CreateHandle("/dev/none", card, error), 0U);
  card.Adopt();
  card.Destroy();
  EXPECT_EQ(CardSim::CallLog().back().function, "vsl_destroy");
}

TEST_F(HandleKinds, AnExceptionClosesAndDestroysTheHandle) {
  const auto fail = [] {
    ErrorRecord error;
    CardHandle card;
    EXPECT_EQ(CreateHandle("/dev/fct0", card, error), 0U);
    EXPECT_EQ(card.Open(error), 0U);
    throw std::runtime_error("failed");
  };
  EXPECT_THROW(fail(), std::runtime_error);
  EXPECT_THAT(CardSim::CallTexts(),
              ElementsAre("vsl_iom_create_by_name /dev/fct0", "vsl_open card#1", "vsl_close card#1",
                          "vsl_destroy card#1"));
}

// The progress of a thread that is canceled while an exception unwinds its stack.
struct Canceled {
  std::atomic<bool> m_IsDestroying{false};
  std::atomic<bool> m_IsCanceled{false};
  std::atomic<bool> m_CaughtException{false};
  std::atomic<bool> m_Continued{false};
};

extern "C" void* DestroyWhileUnwinding(void* argument) {
  auto& canceled = *static_cast<Canceled*>(argument);
  try {
    ErrorRecord error;
    CardHandle card;
    EXPECT_EQ(CreateHandle("/dev/fct0", card, error), 0U);
    throw std::runtime_error("failed");
  } catch (const std::runtime_error&) {
    canceled.m_CaughtException = true;
  }
  pthread_testcancel();
  canceled.m_Continued = true;
  return nullptr;
}

TEST_F(HandleKinds, ACancellationWaitsForTheEndOfTheUnwinding) {
  Canceled canceled;
  CardSim::SetHook([&canceled](const CardSim::Call& call) {
    if (call.function != "vsl_destroy") return;
    canceled.m_IsDestroying = true;
    while (!canceled.m_IsCanceled) sched_yield();
    usleep(1000);  // a cancellation point
  });
  pthread_t thread{};
  ASSERT_EQ(pthread_create(&thread, nullptr, DestroyWhileUnwinding, &canceled), 0);
  while (!canceled.m_IsDestroying) sched_yield();
  EXPECT_EQ(pthread_cancel(thread), 0);
  canceled.m_IsCanceled = true;
  void* result = nullptr;
  ASSERT_EQ(pthread_join(thread, &result), 0);
  EXPECT_TRUE(canceled.m_CaughtException);
  EXPECT_FALSE(canceled.m_Continued);
  EXPECT_EQ(result, PTHREAD_CANCELED);
  EXPECT_THAT(CardSim::OpenHandles(), IsEmpty());
}

}  // namespace
}  // namespace CorvaneTest
