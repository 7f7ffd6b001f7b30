#include "service/api/StateApi.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <utility>

#include "console/base/Timestamp.h"
#include "service/UserName.h"
#include "service/api/Documents.h"
#include "service/api/QueryValues.h"
#include "service/state/HistoryFields.h"

namespace Service {
namespace {

using Http::MakeProblem;
using Http::Reply;
using Http::Request;
using Http::Response;
using Json = nlohmann::ordered_json;

Response MakeEmpty() {
  Response response;
  response.m_Status = 204;
  return response;
}

Response MakeUnknownCard(const std::string& serial) {
  return MakeProblem(404, "UNKNOWN_CARD", fmt::format("card {} is not known", serial));
}

// Calls `work` with the store and sends the response that `render` creates from its result, or a
// 500 if the database cannot be used.
template <class Work, class Render>
Reply ReadState(const ApiContext& api, Work work, Render render) {
  return AnswerFromDatabase(api, [work, render](StateStore& store) {
    const auto result = work(store);
    return ResponseOf([&] { return render(result); });
  });
}

// Like `ReadState`. A change is made even if the client has disconnected or the request has timed
// out.
template <class Work, class Render>
Reply ChangeState(const ApiContext& api, Work work, Render render) {
  const auto queue = [&](const std::shared_ptr<Http::Responder>& responder) {
    return api.m_State.QueueChange(work, [render, responder](const auto& outcome) {
      responder->Complete(ResponseOf([&] {
        return outcome.m_Result ? render(*outcome.m_Result)
                                : MakeDatabaseProblem(outcome.m_Failure);
      }));
    });
  };
  return DeferToDatabase(api, queue, "The change may still be made.");
}

Json TimeJson(const std::optional<std::uint64_t>& time) {
  return time ? Json(Console::TimeText(*time)) : Json();
}

template <class Value>
Json OrNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

Json ToJson(const KnownCard& card) {
  return {{"serial_number", card.m_SerialNumber},
          {"position", fmt::format("a{}", card.m_Position)},
          {"present", card.m_IsPresent},
          {"first_seen", Console::TimeText(card.m_FirstSeen)},
          {"last_seen", Console::TimeText(card.m_LastSeen)},
          {"name", card.m_Name},
          {"product", card.m_Product},
          {"pci_address", card.m_PciAddress},
          {"pci_slot", OrNull(card.m_Slot)},
          {"size_bytes", OrNull(card.m_SizeBytes)}};
}

Json ToJson(const Acknowledgment& each) {
  return {{"serial_number", each.m_SerialNumber},
          {"reason", each.m_Reason},
          {"user", each.m_User},
          {"time", Console::TimeText(each.m_Time)},
          {"until", TimeJson(each.m_Until)},
          {"note", each.m_Note}};
}

Json ToJson(const HistorySeries& series, const HistoryQuery& query) {
  Json points = Json::array();
  for (const HistoryPoint& point : series.m_Points) {
    points.push_back({{"time", Console::TimeText(point.m_Time)},
                      {"minimum", point.m_Minimum},
                      {"maximum", point.m_Maximum},
                      {"mean", point.m_Mean}});
  }
  return {{"serial_number", query.m_SerialNumber},
          {"field", query.m_Field->m_Name},
          {"step_seconds", series.m_Step / 1000},
          {"points", points}};
}

template <class Element>
Response MakeList(const char* name, const std::vector<Element>& elements) {
  Json list = Json::array();
  for (const Element& each : elements) list.push_back(ToJson(each));
  return MakeJson(200, {{name, list}});
}

Reply ReadHistory(const ApiContext& api, const Request& request) {
  const std::string* const name = Http::Find(request.m_Query, "field");
  const HistoryField* const field = name == nullptr ? nullptr : FindHistoryField(*name);
  if (field == nullptr) {
    return MakeProblem(400, "QUERY_INVALID", "field: missing, or no history is recorded for it");
  }
  const HistoryQuery query = ParseHistoryQuery(request, *field, Console::NowMs());
  return ReadState(
      api, [query](StateStore& store) { return store.History(query); },
      [query](const std::optional<HistorySeries>& series) {
        if (!series) return MakeUnknownCard(query.m_SerialNumber);
        return MakeJson(200, ToJson(*series, query));
      });
}

Acknowledgment AcknowledgmentOf(const Request& request) {
  const Json body = Json::parse(request.m_Body);
  Acknowledgment acknowledgment;
  acknowledgment.m_SerialNumber = request.m_Parameters.at("serial");
  acknowledgment.m_Reason = body.at("reason");
  acknowledgment.m_Time = Console::NowMs();
  acknowledgment.m_Note = body.value("note", "");
  if (body.contains("until")) {
    acknowledgment.m_Until =
        Console::ParseEndTime("until", body.at("until"), acknowledgment.m_Time);
  }
  return acknowledgment;
}

Response AcknowledgedResponse(AcknowledgeResult result, const Acknowledgment& acknowledgment) {
  switch (result) {
    case AcknowledgeResult::UnknownCard:
      return MakeUnknownCard(acknowledgment.m_SerialNumber);
    case AcknowledgeResult::UnknownReason:
      return MakeProblem(400, "UNKNOWN_REASON",
                         fmt::format("{} is not a reason", acknowledgment.m_Reason));
    case AcknowledgeResult::NotMissing:
      return MakeProblem(409, "NOT_MISSING",
                         fmt::format("card {} is not missing", acknowledgment.m_SerialNumber),
                         "Acknowledge MISSING after the card has been removed.");
    default:
      return MakeJson(201, ToJson(acknowledgment));
  }
}

Response ForgottenResponse(ForgetResult result, const std::string& serial) {
  switch (result) {
    case ForgetResult::UnknownCard:
      return MakeUnknownCard(serial);
    case ForgetResult::CardIsPresent:
      return MakeProblem(409, "CARD_PRESENT", fmt::format("card {} is present", serial));
    default:
      return MakeEmpty();
  }
}

}  // namespace

Reply GetKnownCards(const ApiContext& api, const Request&) {
  return ReadState(
      api, [](StateStore& store) { return store.Cards(); },
      [](const std::vector<KnownCard>& cards) { return MakeList("cards", cards); });
}

Reply DeleteCard(const ApiContext& api, const Request& request) {
  const std::string serial = request.m_Parameters.at("serial");
  return ChangeState(
      api,
      [&api, serial](StateStore& store) {
        const ForgetResult result = store.Forget(serial);
        if (result == ForgetResult::Done) api.m_Store.SetKnownCards(store.Records());
        return result;
      },
      [serial](ForgetResult result) { return ForgottenResponse(result, serial); });
}

Reply GetHistory(const ApiContext& api, const Request& request) {
  try {
    return ReadHistory(api, request);
  } catch (const Console::Failure& failure) {
    return MakeProblem(400, "QUERY_INVALID", failure.what());
  }
}

Reply GetAcknowledgments(const ApiContext& api, const Request&) {
  return ReadState(
      api, [](StateStore& store) { return store.Acknowledgments(Console::NowMs()); },
      [](const std::vector<Acknowledgment>& list) { return MakeList("acknowledgments", list); });
}

Reply PostAcknowledgment(const ApiContext& api, const Request& request) {
  Acknowledgment acknowledgment;
  try {
    acknowledgment = AcknowledgmentOf(request);
  } catch (const Console::Failure& failure) {
    return MakeProblem(400, "BODY_INVALID", failure.what());
  }
  const uid_t user = request.m_Peer.m_User;
  return ChangeState(
      api,
      [acknowledgment, user](StateStore& store) mutable {
        acknowledgment.m_User = UserName(user);
        return std::pair(store.Acknowledge(acknowledgment), acknowledgment);
      },
      [](const auto& result) { return AcknowledgedResponse(result.first, result.second); });
}

Reply DeleteAcknowledgment(const ApiContext& api, const Request& request) {
  const std::string* const reason = Http::Find(request.m_Query, "reason");
  if (reason == nullptr) return MakeProblem(400, "QUERY_INVALID", "reason: required");
  const std::string serial = request.m_Parameters.at("serial");
  return ChangeState(
      api,
      [serial, name = *reason](StateStore& store) {
        return store.Unacknowledge(serial, name, Console::NowMs());
      },
      [serial, name = *reason](bool wasAcknowledged) {
        if (wasAcknowledged) return MakeEmpty();
        return MakeProblem(404, "NOT_ACKNOWLEDGED",
                           fmt::format("{} of card {} is not acknowledged", name, serial));
      });
}

}  // namespace Service
