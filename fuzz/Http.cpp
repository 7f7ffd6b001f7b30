// HTTP requests to the service, and the parts that are parsed separately: escapes, entity tags and
// bodies.
#include <algorithm>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "base/Printable.h"
#include "fuzz/Require.h"
#include "fuzz/Targets.h"
#include "service/api/ApiTable.h"
#include "service/api/Schemas.h"
#include "service/http/Admission.h"
#include "service/http/Escapes.h"

namespace CorvaneFuzz {
namespace {

using Http::Head;

constexpr uid_t kRoot = 0;
constexpr uid_t kUnprivileged = 4711;

// The API's routes. The handlers are null, because admission does not call them.
const Http::Router& TheRouter() {
  static const Http::Router router = [] {
    std::vector<Http::Route> routes;
    for (const Service::ApiRow& row : Service::ApiRows()) {
      routes.push_back({row.m_Method,
                        row.m_Path,
                        row.m_Access,
                        nullptr,
                        {row.m_Query.begin(), row.m_Query.end()},
                        row.m_Body == nullptr ? Http::BodyRule::None : Http::BodyRule::Required});
    }
    return Http::Router(std::move(routes));
  }();
  return router;
}

std::vector<std::string> SplitLines(const std::string& input) {
  std::vector<std::string> lines;
  std::istringstream stream(input);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::pair<std::string, std::string> SplitAt(const std::string& text, char separator) {
  const auto at = text.find(separator);
  if (at == text.npos) return {text, ""};
  const auto value = text.find_first_not_of(' ', at + 1);
  return {text.substr(0, at), value == text.npos ? "" : text.substr(value)};
}

Head::Pairs ParseQuery(const std::string& text) {
  Head::Pairs query;
  std::istringstream stream(text);
  for (std::string pair; std::getline(stream, pair, '&');) query.push_back(SplitAt(pair, '='));
  return query;
}

// "tcp" is a TCP client, "root" is root on the Unix socket, and any other line is a user without
// permissions.
Http::Peer ParsePeer(const std::string& line) {
  Http::Peer peer;
  peer.m_IsTcp = line == "tcp";
  peer.m_LocalAddress = "192.0.2.1";
  if (!peer.m_IsTcp) peer.m_User = line == "root" ? kRoot : kUnprivileged;
  return peer;
}

// The first line is the client, the second "GET /path?query", and each further line is a header.
Head ParseHead(const std::string& input) {
  std::vector<std::string> lines = SplitLines(input);
  lines.resize(std::max<std::size_t>(lines.size(), 2));
  Head head;
  head.m_Peer = ParsePeer(lines[0]);
  const auto [method, target] = SplitAt(lines[1], ' ');
  const auto [path, query] = SplitAt(target, '?');
  head.m_Method = method;
  head.m_Path = path;
  head.m_Query = ParseQuery(query);
  for (std::size_t i = 2; i < lines.size(); ++i) head.m_Headers.push_back(SplitAt(lines[i], ':'));
  head.m_Size = input.size();
  return head;
}

bool IsCleanText(const std::string& text) {
  return Base::IsUtf8(text) && text.find('\0') == text.npos;
}

bool AreClean(const Http::StringMap& texts) {
  return std::all_of(texts.begin(), texts.end(), [](const auto& text) {
    return IsCleanText(text.first) && IsCleanText(text.second);
  });
}

void CheckRefusal(const Http::Response& refusal) {
  Require(refusal.m_Status >= 400 && refusal.m_Status < 500,
          "rejected with status " + std::to_string(refusal.m_Status));
  Require(refusal.m_ContentType == "application/problem+json",
          "the refusal is not a problem document");
  Require(Base::IsUtf8(*refusal.m_Body), "the problem document is not UTF-8");
}

// Checks that each kind of client is admitted only to routes that it may use.
void CheckAccess(const Head& head, const Http::Admission& admission) {
  const Http::Access access = admission.m_Route->m_Access;
  if (head.m_Peer.m_IsTcp) {
    Require(head.m_Method == "GET" || head.m_Method == "HEAD", "accepted a write request over TCP");
    Require(access != Http::Access::Change, "admitted a TCP client to a route that changes cards");
    Require(!admission.m_Request.m_MayChange, "permitted a TCP client to change cards");
    Require(Http::FindHeader(head, "host") != nullptr,
            "accepted a TCP request without a Host header");
  } else if (head.m_Peer.m_User == kUnprivileged) {
    Require(access == Http::Access::Anyone, "admitted a user without permissions");
    Require(!admission.m_Request.m_MayChange,
            "permitted a user without permissions to change cards");
  }
}

}  // namespace

// A request is either rejected with a problem document, or its strings are UTF-8 without NUL and
// its client has access.
void Request(const std::string& input) {
  const Http::Settings settings;
  const Head head = ParseHead(input);
  const Http::Admission admission =
      Http::AdmitRequest(head, TheRouter(), settings, settings.m_Permissions);
  if (admission.m_Refusal) return CheckRefusal(*admission.m_Refusal);
  Require(admission.m_Route != nullptr, "accepted without a route");
  Require(head.m_Size <= settings.m_Limits.m_HeaderBytes, "accepted headers over the size limit");
  const Http::Request& request = admission.m_Request;
  Require(
      AreClean(request.m_Parameters) && AreClean(request.m_Query) && AreClean(request.m_Headers),
      "accepted a string with invalid UTF-8 or NUL");
  for (const auto& [name, text] : request.m_Parameters) {
    Require(!text.empty() && text != "." && text != ".." && text.find('/') == text.npos,
            "parameter is not a single path segment: " + name);
  }
  CheckAccess(head, admission);
}

// Input: an escaped string. The decoded string must be UTF-8 without NUL, and not longer than the
// input.
void Escapes(const std::string& input) {
  const auto decoded = Http::DecodeEscapes(input);
  if (!decoded) return;
  Require(IsCleanText(*decoded), "decoded string has invalid UTF-8 or NUL");
  Require(decoded->size() <= input.size(), "decoded string is longer than the input");
  if (input.find('%') == input.npos) Require(*decoded == input, "changed a string without escapes");
}

// Input: the tag, a newline, and the header.
void EntityTag(const std::string& input) {
  const auto end = std::min(input.find('\n'), input.size());
  const std::string tag = input.substr(0, end);
  const std::string header = end < input.size() ? input.substr(end + 1) : "";
  const bool isPlain = !tag.empty() && tag.find_first_of("\"\\, \t") == tag.npos;
  if (Http::MatchesEntityTag(header, tag)) {
    Require(header.find(tag) != header.npos || header.find('*') != header.npos,
            "tag matches a header that does not contain it");
  }
  if (!isPlain) return;
  Require(Http::MatchesEntityTag('"' + tag + '"', tag), "tag does not match itself");
  Require(Http::MatchesEntityTag("W/\"" + tag + "\", \"x" + tag + '"', tag),
          "weak tag does not match");
  Require(!Http::MatchesEntityTag("\"x" + tag + '"', tag), "longer tag matches");
}

// Input: the body of a request, checked against each body schema and as each parameter.
void Body(const std::string& input) {
  for (const auto& parameter : Service::Parameters().items()) {
    const auto error = Service::ParameterError(parameter.key(), input);
    Require(!error || !error->empty(), "the error message is empty");
  }
  const auto body = nlohmann::json::parse(input, nullptr, false);
  if (body.is_discarded()) return;
  for (const Service::ApiRow& row : Service::ApiRows()) {
    if (row.m_Body == nullptr) continue;
    const auto error = Service::ValidationError(body, row.m_Body);
    Require(!error || !error->empty(), "the error message is empty");
    Require(body.is_object() || error, "accepted a body that is not an object");
  }
}

}  // namespace CorvaneFuzz
