#include "service/http/Message.h"

#include <microhttpd.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

namespace Http {
namespace {

constexpr std::string_view kKeptHeaders[] = {
    "content-encoding", "content-type",  "host",  "idempotency-key",
    "if-none-match",    "last-event-id", "origin"};

std::string_view Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// If-None-Match treats weak and strong tags alike.
bool IsTag(std::string_view element, std::string_view entityTag) {
  if (element.substr(0, 2) == "W/") element.remove_prefix(2);
  return element.size() == entityTag.size() + 2 && element.front() == '"' &&
         element.back() == '"' && element.substr(1, entityTag.size()) == entityTag;
}

}  // namespace

const std::string* Find(const StringMap& strings, std::string_view name) {
  const auto found = strings.find(name);
  return found == strings.end() ? nullptr : &found->second;
}

bool IsKept(std::string_view header) {
  return std::find(std::begin(kKeptHeaders), std::end(kKeptHeaders), header) !=
         std::end(kKeptHeaders);
}

Response MakeResponse(unsigned status, std::string contentType, std::string body) {
  Response response;
  response.m_Status = status;
  response.m_ContentType = std::move(contentType);
  response.m_Body = std::make_shared<const std::string>(std::move(body));
  return response;
}

Response MakeProblem(unsigned status, std::string_view id, std::string_view detail,
                     std::string_view hint) {
  nlohmann::ordered_json document = {{"type", "about:blank"},
                                     {"title", MHD_get_reason_phrase_for(status)},
                                     {"status", status},
                                     {"detail", detail},
                                     {"id", id}};
  if (!hint.empty()) document["hint"] = hint;
  constexpr auto kReplace = nlohmann::ordered_json::error_handler_t::replace;
  return MakeResponse(status, "application/problem+json",
                      document.dump(-1, ' ', false, kReplace) + "\n");
}

// Splits at every comma, even inside quotation marks. This is safe because the server's own tags
// contain none.
bool MatchesEntityTag(std::string_view ifNoneMatch, std::string_view entityTag) {
  for (;;) {
    const auto comma = ifNoneMatch.find(',');
    const std::string_view element = Trimmed(ifNoneMatch.substr(0, comma));
    if (element == "*" || IsTag(element, entityTag)) return true;
    if (comma == ifNoneMatch.npos) return false;
    ifNoneMatch.remove_prefix(comma + 1);
  }
}

}  // namespace Http
