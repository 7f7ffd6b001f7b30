// The stored state, accessed through a service.
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "console/base/Failure.h"
#include "console/base/Number.h"
#include "console/base/Timestamp.h"
#include "console/plugin/RecordJson.h"
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

std::uint64_t ParseTime(const Json& json, const char* name) {
  return Console::ParseTimestamp(name, json.at(name).get<std::string>(), Console::NowMs());
}

std::optional<std::int64_t> ParseNumber(const Json& json, const char* name) {
  const Json& number = json.at(name);
  return number.is_null() ? std::nullopt : std::optional(number.get<std::int64_t>());
}

KnownCard ParseCard(const Json& json) {
  KnownCard card;
  card.m_SerialNumber = json.at("serial_number");
  std::string position = json.at("position");
  card.m_Position = Console::ReadNumber<std::int64_t>(position.erase(0, 1)).value_or(0);
  card.m_FirstSeen = ParseTime(json, "first_seen");
  card.m_LastSeen = ParseTime(json, "last_seen");
  card.m_IsPresent = json.at("present");
  card.m_Name = json.at("name");
  card.m_Product = json.at("product");
  card.m_PciAddress = json.at("pci_address");
  card.m_Slot = ParseNumber(json, "pci_slot");
  card.m_SizeBytes = ParseNumber(json, "size_bytes");
  return card;
}

Acknowledgment ParseAcknowledgment(const Json& json) {
  Acknowledgment acknowledgment;
  acknowledgment.m_SerialNumber = json.at("serial_number");
  acknowledgment.m_Reason = json.at("reason");
  acknowledgment.m_User = json.at("user");
  acknowledgment.m_Time = ParseTime(json, "time");
  if (!json.at("until").is_null()) acknowledgment.m_Until = ParseTime(json, "until");
  acknowledgment.m_Note = json.at("note");
  return acknowledgment;
}

// Whether the points are in order and within the limit, also counting steps without a point.
bool IsValid(const HistorySeries& series) {
  const std::vector<HistoryPoint>& points = series.m_Points;
  const auto isNotBefore = [](const HistoryPoint& point, const HistoryPoint& next) {
    return point.m_Time >= next.m_Time;
  };
  if (std::adjacent_find(points.begin(), points.end(), isNotBefore) != points.end()) return false;
  if (series.m_Step == 0) return false;
  return points.empty() ||
         (points.back().m_Time - points.front().m_Time) / series.m_Step < kMaxPoints;
}

HistorySeries ParseSeries(const Json& json) {
  HistorySeries series;
  series.m_Step = json.at("step_seconds").get<std::uint64_t>() * 1000;
  for (const Json& each : json.at("points")) {
    series.m_Points.push_back({ParseTime(each, "time"), each.at("minimum").get<double>(),
                               each.at("maximum").get<double>(), each.at("mean").get<double>()});
  }
  if (!IsValid(series)) throw Console::RecordError("points: out of order or too many");
  return series;
}

template <class Element>
std::vector<Element> ParseList(const Json& list, Element (*parse)(const Json&)) {
  std::vector<Element> elements;
  for (const Json& each : list) elements.push_back(parse(each));
  return elements;
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
    return Parse(Get("/v1/known-cards"), kOk,
                 [](const Json& json) { return ParseList(json.at("cards"), ParseCard); });
  }

  std::optional<HistorySeries> History(const HistoryQuery& query) override {
    std::string path = CardPath(query.m_SerialNumber, "/history?field=") + query.m_Field->m_Name +
                       TimeQuery("from", query.m_From) + TimeQuery("to", query.m_To);
    if (query.m_Step > 0) path += fmt::format("&step={}ms", query.m_Step);
    const HttpReply reply = Get(path);
    if (ProblemId(reply) == "UNKNOWN_CARD") return std::nullopt;
    return Parse(reply, kOk, ParseSeries);
  }

  std::vector<Acknowledgment> Acknowledgments() override {
    return Parse(Get("/v1/acknowledgments"), kOk, [](const Json& json) {
      return ParseList(json.at("acknowledgments"), ParseAcknowledgment);
    });
  }

  AcknowledgeResult Acknowledge(Acknowledgment& acknowledgment) override {
    HttpRequest request = ChangeRequest(CardPath(acknowledgment.m_SerialNumber, "/ack"));
    request.m_Body = RequestBody(acknowledgment);
    const HttpReply reply = m_Session.Exchange(request);
    if (const auto result = FindResult(kAcknowledgeProblems, reply)) return *result;
    acknowledgment = Parse(reply, kCreated, ParseAcknowledgment);
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

  // Parses the body of a reply with this status. Throws the failure of any other reply.
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
