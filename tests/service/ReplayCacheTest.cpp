#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>

#include "service/api/ReplayCache.h"
#include "service/http/PendingResponse.h"

namespace {

std::string TextOf(const Http::Response& response) {
  return std::to_string(response.m_Status) + " " + *response.m_Body;
}

// Returns the status and the body, or "waits" for a promise that has not been kept.
std::string TextOf(const Http::Reply& reply) {
  if (const auto* const response = std::get_if<Http::Response>(&reply)) return TextOf(*response);
  const auto response = std::get<Http::ResponsePromise>(reply).m_Response->Get();
  return response ? TextOf(*response) : "waits";
}

class Replay : public testing::Test {
 protected:
  // Returns the status and the body, which counts the calls: "202 2".
  std::string Answer(const std::string& key, const std::string& content, unsigned status = 202,
                     std::size_t padding = 0) {
    return TextOf(m_Cache.Answer(key, content, [this, status, padding]() -> Http::Reply {
      return Http::MakeResponse(status, "text/plain",
                                std::to_string(++m_Calls) + std::string(padding, 'x'));
    }));
  }

  // Returns the reply to a request that `responder` answers if the key is new.
  Http::Reply AnswerLater(const std::string& key, const Http::Responder& responder) {
    return m_Cache.Answer(key, "x", [this, &responder]() -> Http::Reply {
      ++m_Calls;
      return responder.Promise();
    });
  }

  static Http::Response Text(unsigned status, const std::string& text) {
    return Http::MakeResponse(status, "text/plain", text);
  }

  Service::ReplayCache::Clock::time_point m_Time;
  Service::ReplayCache m_Cache{[this] { return m_Time; }};
  int m_Calls = 0;
};

TEST_F(Replay, RepeatsTheFirstResponse) {
  EXPECT_EQ("202 1", Answer("a", "x"));
  EXPECT_EQ("202 1", Answer("a", "x"));
  EXPECT_EQ("202 2", Answer("b", "x"));
}

TEST_F(Replay, RefusesAKeyForAnotherRequest) {
  Answer("a", "x");
  EXPECT_EQ("422", Answer("a", "y").substr(0, 3));
  EXPECT_EQ(1, m_Calls);
}

TEST_F(Replay, DoesNotKeepFailures) {
  EXPECT_EQ("409 1", Answer("a", "x", 409));
  EXPECT_EQ("300 2", Answer("a", "x", 300));
  EXPECT_EQ("299 3", Answer("a", "x", 299));
  EXPECT_EQ("299 3", Answer("a", "x", 202));
}

TEST_F(Replay, KeepsTheNewestThousand) {
  for (int i = 1; i <= 1000; ++i) Answer(std::to_string(i), "x");
  EXPECT_EQ("202 1", Answer("1", "x"));
  Answer("1001", "x");
  EXPECT_EQ("202 2", Answer("2", "x"));
  EXPECT_EQ("202 1002", Answer("1", "x"));
}

TEST_F(Replay, KeepsResponsesForADay) {
  Answer("a", "x");
  m_Time += std::chrono::hours(24) - std::chrono::milliseconds(1);
  EXPECT_EQ("202 1", Answer("a", "x"));
  m_Time += std::chrono::milliseconds(1);
  EXPECT_EQ("202 2", Answer("a", "x"));
}

// Three entries of 1.4 MB exceed 4 MiB, two do not.
TEST_F(Replay, LimitsItsMemory) {
  constexpr std::size_t kHalf = 700000;
  const std::string content(kHalf, 'x');
  for (const char* const key : {"a", "b"}) Answer(key, content, 202, kHalf);
  EXPECT_EQ("202 1x", Answer("a", content).substr(0, 6));
  Answer("c", content, 202, kHalf);
  EXPECT_EQ("202 2x", Answer("b", content).substr(0, 6));
  EXPECT_EQ("202 3x", Answer("c", content).substr(0, 6));
  EXPECT_EQ("202 4", Answer("a", content));
}

TEST_F(Replay, SendsOneDeferredResponseToAllThatWait) {
  const Http::Responder responder, unused;
  const Http::Reply first = AnswerLater("a", responder);
  const Http::Reply second = AnswerLater("a", unused);
  EXPECT_EQ("waits", TextOf(first));
  EXPECT_EQ("waits", TextOf(second));
  EXPECT_EQ("422", Answer("a", "y").substr(0, 3));
  responder.Complete(Text(200, "done"));
  EXPECT_EQ("200 done", TextOf(first));
  EXPECT_EQ("200 done", TextOf(second));
  EXPECT_EQ("200 done", TextOf(AnswerLater("a", unused)));
  EXPECT_EQ(1, m_Calls);
}

TEST_F(Replay, KeepsAResponseThatWasCompleteAtOnce) {
  const Http::Responder responder;
  responder.Complete(Text(200, "done"));
  EXPECT_EQ("200 done", TextOf(AnswerLater("a", responder)));
  EXPECT_EQ("200 done", Answer("a", "x"));
}

// The client repeats its request because it did not receive the response.
TEST_F(Replay, KeepsTheResponseForAClientThatHasDisconnected) {
  const Http::Responder responder;
  std::get<Http::ResponsePromise>(AnswerLater("a", responder)).m_Response->End();
  EXPECT_FALSE(responder.HasEnded());
  responder.Complete(Text(200, "done"));
  EXPECT_EQ("200 done", Answer("a", "x"));
}

TEST_F(Replay, DoesNotKeepADeferredFailure) {
  const Http::Responder responder, unused;
  const Http::Reply first = AnswerLater("a", responder);
  const Http::Reply second = AnswerLater("a", unused);
  responder.Complete(Text(504, "late"));
  EXPECT_EQ("504 late", TextOf(first));
  EXPECT_EQ("504 late", TextOf(second));
  EXPECT_EQ("202 2", Answer("a", "x"));
}

TEST_F(Replay, DoesNotKeepAnException) {
  const auto fail = []() -> Http::Reply { throw std::runtime_error("a failure"); };
  EXPECT_THROW(m_Cache.Answer("a", "x", fail), std::runtime_error);
  EXPECT_EQ("202 1", Answer("a", "x"));
}

TEST_F(Replay, NeverDropsAnIncompleteResponse) {
  const Http::Responder responder, unused;
  const Http::Reply first = AnswerLater("a", responder);
  for (int i = 1; i <= 1001; ++i) Answer(std::to_string(i), "x");
  m_Time += std::chrono::hours(25);
  const Http::Reply second = AnswerLater("a", unused);
  EXPECT_EQ(1002, m_Calls);
  responder.Complete(Text(200, "done"));
  EXPECT_EQ("200 done", TextOf(first));
  EXPECT_EQ("200 done", TextOf(second));
}

}  // namespace
