// The stored state, accessed through a service.
#include <fmt/format.h>

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "console/base/Failure.h"
#include "console/base/Timestamp.h"
#include "console/plugin/RecordJson.h"
#include "service/StateReplies.h"
#include "service/StoredState.h"
#include "service/client/ServiceFailure.h"
#include "service/client/ServiceSession.h"

namespace Service {
namespace {

using Json = nlohmann::json;

constexpr long kOk = 200;
constexpr long kCreated = 201;
constexpr long kNoContent = 204;

// A result and the id of the problem that represents it.
template <class Result>
using ProblemResult = std::pair<const char*, Result>;

constexpr ProblemResult<AcknowledgeResult> kAcknowledgeProblems[] = {
    {"UNKNOWN_CARD", AcknowledgeResult::UnknownCard},
    {"UNKNOWN_REASON", AcknowledgeResult::UnknownReason},
    {"NOT_MISSING", AcknowledgeResult::NotMissing},
};

constexpr ProblemResult<ForgetResult> kForgetProblems[] = {
    {"UNKNOWN_CARD", ForgetResult::UnknownCard},
    {"CARD_PRESENT", ForgetResult::CardIsPresent},
};

template <class Result, std::size_t count>
std::optional<Result> FindResult(const ProblemResult<Result> (&rows)[count],
                                 const HttpReply& reply) {
  const std::string id = ProblemId(reply);
  for (const auto& [name, result] : rows) {
    if (id == name) return result;
  }
  return std::nullopt;
}

std::string RequestBody(const Acknowledgment& acknowledgment) {
  Json body = {{"reason", acknowledgment.m_Reason}};
  if (!acknowledgment.m_Note.empty()) body["note"] = acknowledgment.m_Note;
  if (acknowledgment.m_Until) body["until"] = Console::TimeText(*acknowledgment.m_Until);
  return body.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string CardPath(const std::string& serial, const char* resource) {
  return "/v1/cards/" + Escaped(serial) + resource;
}

std::string TimeQuery(const char* name, std::uint64_t time) {
  return fmt::format("&{}={}", name, Escaped(Console::TimeText(time)));
}

class ServedState : public StoredState {
 public:
  explicit ServedState(ServiceSession& session) : m_Session(session) {}

  std::vector<KnownCard> Cards() override {
    return Parse(Get("/v1/known-cards"), kOk, KnownCardsFromJson);
  }

  std::optional<HistorySeries> History(const HistoryQuery& query) override {
    std::string path = CardPath(query.m_SerialNumber, "/history?field=") + query.m_Field->m_Name +
                       TimeQuery("from", query.m_From) + TimeQuery("to", query.m_To);
    if (query.m_Step > 0) path += fmt::format("&step={}ms", query.m_Step);
    const HttpReply reply = Get(path);
    if (ProblemId(reply) == "UNKNOWN_CARD") return std::nullopt;
    return Parse(reply, kOk, HistorySeriesFromJson);
  }

  std::vector<Acknowledgment> Acknowledgments() override {
    return Parse(Get("/v1/acknowledgments"), kOk, AcknowledgmentsFromJson);
  }

  AcknowledgeResult Acknowledge(Acknowledgment& acknowledgment) override {
    HttpRequest request = ChangeRequest(CardPath(acknowledgment.m_SerialNumber, "/ack"));
    request.m_Body = RequestBody(acknowledgment);
    const HttpReply reply = m_Session.Exchange(request);
    if (const auto result = FindResult(kAcknowledgeProblems, reply)) return *result;
    acknowledgment = Parse(reply, kCreated, AcknowledgmentFromJson);
    return AcknowledgeResult::Done;
  }

  bool Unacknowledge(const std::string& serial, const std::string& reason) override {
    const HttpReply reply = Delete(CardPath(serial, "/ack?reason=") + Escaped(reason));
    if (ProblemId(reply) == "NOT_ACKNOWLEDGED") return false;
    Require(reply, kNoContent);
    return true;
  }

  ForgetResult Forget(const std::string& serial) override {
    const HttpReply reply = Delete(CardPath(serial, ""));
    if (const auto result = FindResult(kForgetProblems, reply)) return *result;
    Require(reply, kNoContent);
    return ForgetResult::Done;
  }

 private:
  HttpReply Get(std::string path) {
    HttpRequest request;
    request.m_Path = std::move(path);
    return m_Session.Exchange(request);
  }

  static HttpRequest ChangeRequest(std::string path) {
    HttpRequest request;
    request.m_Path = std::move(path);
    request.m_IsChange = true;
    return request;
  }

  HttpReply Delete(std::string path) {
    HttpRequest request = ChangeRequest(std::move(path));
    request.m_IsDelete = true;
    return m_Session.Exchange(request);
  }

  void Require(const HttpReply& reply, long status) const {
    if (reply.m_Status != status) throw ProblemFailure(reply, m_Session.Socket());
  }

  // Parses the body of a reply. Throws `Console::Failure` if the reply has another status or is
  // invalid.
  template <class Parser>
  std::invoke_result_t<Parser, const Json&> Parse(const HttpReply& reply, long status,
                                                  Parser parser) const {
    Require(reply, status);
    try {
      return parser(Json::parse(reply.m_Body));
    } catch (const Json::exception& error) {
      throw InvalidReplyFailure(m_Session.Socket(), error.what());
    } catch (const Console::RecordError& error) {
      throw InvalidReplyFailure(m_Session.Socket(), error.what());
    } catch (const Console::Failure& failure) {  // an invalid time
      throw InvalidReplyFailure(m_Session.Socket(), failure.what());
    }
  }

  ServiceSession& m_Session;
};

}  // namespace

std::unique_ptr<StoredState> CreateServedState(ServiceSession& session) {
  return std::make_unique<ServedState>(session);
}

}  // namespace Service
