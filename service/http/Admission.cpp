#include "service/http/Admission.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "base/Printable.h"
#include "service/http/Escapes.h"
#include "service/http/HostHeader.h"
#include "service/http/PeerOf.h"

namespace Http {
namespace {

using Refusal = std::optional<Response>;

// The input of the rules, and the results of earlier rules.
struct RuleContext {
  const Head& m_Head;
  const Router& m_Router;
  const Settings& m_Settings;
  const Permissions& m_Permissions;
  Admission& m_Admission;
};

// "application/json; charset=utf-8" without the parameter, in lower case.
std::string MediaType(std::string_view contentType) {
  std::string_view type = contentType.substr(0, contentType.find(';'));
  while (!type.empty() && (type.back() == ' ' || type.back() == '\t')) type.remove_suffix(1);
  return Lower(type);
}

template <typename List, typename Value>
bool Contains(const List& list, const Value& value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

// Returns empty if the length is missing or contains a character other than a digit.
std::optional<std::uint64_t> ContentLength(const Head& head) {
  const std::string* const text = FindHeader(head, "content-length");
  std::uint64_t length = 0;
  if (text == nullptr) return std::nullopt;
  const char* const end = text->data() + text->size();
  if (std::from_chars(text->data(), end, length).ptr != end) return std::nullopt;
  return length;
}

Refusal CheckHeaderSize(RuleContext& context) {
  const std::size_t limit = context.m_Settings.m_Limits.m_HeaderBytes;
  if (context.m_Head.m_Size <= limit) return std::nullopt;
  return MakeProblem(431, "HEADERS_TOO_LARGE",
                     "the request line and headers exceed " + std::to_string(limit) + " bytes");
}

Refusal CheckNul(RuleContext& context) {
  if (!context.m_Head.m_HasNul) return std::nullopt;
  return MakeProblem(400, "PATH_INVALID", "the path or query contains NUL");
}

// Joins the values of repeated fields with commas. This is correct for list fields, and no handler
// reads any other field that may be repeated.
Refusal ReadHeaders(RuleContext& context) {
  StringMap& headers = context.m_Admission.m_Request.m_Headers;
  for (const auto& [name, value] : context.m_Head.m_Headers) {
    const std::string lower = Lower(name);
    if (!IsKept(lower)) continue;
    if (value.find('\0') != value.npos || !Base::IsUtf8(value)) {
      return MakeProblem(400, "HEADER_INVALID",
                         "header " + lower + " is not UTF-8 or contains NUL");
    }
    const auto [position, isNew] = headers.emplace(lower, value);
    if (!isNew) position->second.append(", ").append(value);
  }
  return std::nullopt;
}

// Prevents DNS rebinding, in which another site resolves its own name to this server's address.
Refusal CheckHost(RuleContext& context) {
  if (!context.m_Head.m_Peer.m_IsTcp) return std::nullopt;
  const std::string* const host = Find(context.m_Admission.m_Request.m_Headers, "host");
  const std::string& local = context.m_Head.m_Peer.m_LocalAddress;
  if (host != nullptr && NamesThisServer(*host, local, context.m_Settings.m_Hosts)) {
    return std::nullopt;
  }
  return MakeProblem(403, "HOST_NOT_ALLOWED", "the Host header does not name this service");
}

Refusal CheckOrigin(RuleContext& context) {
  const StringMap& headers = context.m_Admission.m_Request.m_Headers;
  const std::string* const origin = Find(headers, "origin");
  if (!context.m_Head.m_Peer.m_IsTcp || origin == nullptr) return std::nullopt;
  if (Lower(*origin) == "http://" + Lower(*Find(headers, "host"))) return std::nullopt;
  return MakeProblem(403, "ORIGIN_NOT_ALLOWED",
                     "pages from other origins may not use this service");
}

Refusal CheckReadOnly(RuleContext& context) {
  const std::string& method = context.m_Head.m_Method;
  if (!context.m_Head.m_Peer.m_IsTcp || method == "GET" || method == "HEAD") return std::nullopt;
  return MakeProblem(403, "READ_ONLY", "this address is read-only",
                     "Send changes to the Unix socket of the service.");
}

Refusal FindRoute(RuleContext& context) {
  std::vector<std::string> segments;
  for (const std::string_view segment : SegmentsOf(context.m_Head.m_Path)) {
    auto decoded = DecodeEscapes(segment);
    if (!decoded) {
      return MakeProblem(400, "PATH_INVALID", "the path is not valid percent-encoded UTF-8");
    }
    segments.push_back(std::move(*decoded));
  }
  const auto method = MethodOf(context.m_Head.m_Method);
  Router::Match match = context.m_Router.Find(method, segments);
  if (match.m_Allowed.empty()) return MakeProblem(404, "NOT_FOUND", "unknown path");
  if (match.m_Route == nullptr) {
    Response problem =
        MakeProblem(405, "METHOD_NOT_ALLOWED", "this path allows " + match.m_Allowed);
    problem.m_Headers.emplace_back("Allow", match.m_Allowed);
    return problem;
  }
  context.m_Admission.m_Route = match.m_Route;
  context.m_Admission.m_Request.m_Method = *method;
  context.m_Admission.m_Request.m_Parameters = std::move(match.m_Parameters);
  return std::nullopt;
}

Refusal CheckPermission(RuleContext& context) {
  const Access access = context.m_Admission.m_Route->m_Access;
  const Peer& peer = context.m_Head.m_Peer;
  const bool isChange = access == Access::Change;
  const bool mayChange = !peer.m_IsTcp && MayUse(context.m_Permissions, peer, true);
  context.m_Admission.m_Request.m_MayChange = mayChange;
  const bool mayRead = peer.m_IsTcp || MayUse(context.m_Permissions, peer, false);
  const bool isAllowed = access == Access::Anyone || (isChange ? mayChange : mayRead);
  if (isAllowed) return std::nullopt;
  return MakeProblem(403, "PERMISSION_DENIED",
                     isChange ? "this user is not permitted to make changes"
                              : "this user is not permitted to read");
}

Refusal ReadQuery(RuleContext& context) {
  StringMap& query = context.m_Admission.m_Request.m_Query;
  for (const auto& [rawName, rawValue] : context.m_Head.m_Query) {
    auto name = DecodeEscapes(rawName);
    auto value = DecodeEscapes(rawValue);
    if (!name || !value) {
      return MakeProblem(400, "QUERY_INVALID", "the query is not valid percent-encoded UTF-8");
    }
    if (!Contains(context.m_Admission.m_Route->m_Query, *name)) {
      return MakeProblem(400, "QUERY_UNKNOWN", "unknown query parameter " + *name);
    }
    if (!query.emplace(*name, std::move(*value)).second) {
      return MakeProblem(400, "QUERY_REPEATED", "query parameter " + *name + " is repeated");
    }
  }
  return std::nullopt;
}

Refusal CheckBodyRule(RuleContext& context) {
  const BodyRule rule = context.m_Admission.m_Route->m_Body;
  if (HasBody(context.m_Head) && rule == BodyRule::None) {
    return MakeProblem(400, "BODY_NOT_ALLOWED", "this request must not have a body");
  }
  if (!HasBody(context.m_Head) && rule == BodyRule::Required) {
    return MakeProblem(400, "BODY_MISSING", "this request requires a body");
  }
  return std::nullopt;
}

Refusal CheckBodySize(RuleContext& context) {
  const Limits& limits = context.m_Settings.m_Limits;
  if (!IsBodyTooLarge(context.m_Head, limits)) return std::nullopt;
  return MakeBodyTooLarge(limits);
}

Refusal CheckMediaType(RuleContext& context) {
  if (!HasBody(context.m_Head)) return std::nullopt;
  const StringMap& headers = context.m_Admission.m_Request.m_Headers;
  const std::string* const type = Find(headers, "content-type");
  const std::string& wanted = context.m_Admission.m_Route->m_MediaType;
  const bool hasEncoding = Find(headers, "content-encoding") != nullptr;
  if (!hasEncoding && type != nullptr && MediaType(*type) == wanted) return std::nullopt;
  return MakeProblem(415, "MEDIA_TYPE_NOT_SUPPORTED", "the body must be " + wanted,
                     hasEncoding ? "Send the body without Content-Encoding." : "");
}

// Removes the headers that only the server uses, and those that the route does not honor.
Refusal RemoveHeaders(RuleContext& context) {
  StringMap& headers = context.m_Admission.m_Request.m_Headers;
  for (auto each = headers.begin(); each != headers.end();) {
    const bool isHonored = Contains(context.m_Admission.m_Route->m_Headers, each->first);
    each = isHonored ? std::next(each) : headers.erase(each);
  }
  return std::nullopt;
}

// The rules in the order in which they are checked. Each may rely on the rules before it.
constexpr Refusal (*kRules[])(RuleContext&) = {
    CheckHeaderSize, CheckNul,       ReadHeaders,     CheckHost, CheckOrigin,
    CheckReadOnly,   FindRoute,      CheckPermission, ReadQuery, CheckBodyRule,
    CheckBodySize,   CheckMediaType, RemoveHeaders};

}  // namespace

Admission AdmitRequest(const Head& head, const Router& router, const Settings& settings,
                       const Permissions& permissions) {
  Admission admission;
  admission.m_Request.m_Peer = head.m_Peer;
  RuleContext context = {head, router, settings, permissions, admission};
  for (const auto& rule : kRules) {
    admission.m_Refusal = rule(context);
    if (admission.m_Refusal) break;
  }
  return admission;
}

Response MakeBodyTooLarge(const Limits& limits) {
  return MakeProblem(413, "BODY_TOO_LARGE",
                     "the body is longer than " + std::to_string(limits.m_BodyBytes) + " bytes");
}

bool HasBody(const Head& head) {
  const std::string* const length = FindHeader(head, "content-length");
  return FindHeader(head, "transfer-encoding") != nullptr ||
         (length != nullptr && ContentLength(head) != 0U);
}

bool IsBodyTooLarge(const Head& head, const Limits& limits) {
  const auto length = ContentLength(head);
  return length && *length > limits.m_BodyBytes;
}

const std::string* FindHeader(const Head& head, std::string_view name) {
  for (const auto& [each, value] : head.m_Headers) {
    if (Lower(each) == name) return &value;
  }
  return nullptr;
}

}  // namespace Http
