// What an HTTP server receives and sends, without the transport.
#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Http {

// HEAD is GET with `Request::m_IsHead`.
enum class Method { Get, Post, Put, Patch, Delete };

// By name.
using Texts = std::map<std::string, std::string, std::less<>>;

// The text with this name, or null.
const std::string* Find(const Texts& texts, std::string_view name);

// The process or machine that made a connection.
struct Peer {
  bool m_IsTcp = false;
  std::string m_Address;       // with TCP: without the port
  std::string m_LocalAddress;  // with TCP: the one to which it connected

  // With a Unix socket: of the process, at the time when it connected.
  uid_t m_User = static_cast<uid_t>(-1);
  gid_t m_Group = static_cast<gid_t>(-1);
  pid_t m_Process = -1;
  std::vector<gid_t> m_OtherGroups;  // supplementary groups
};

// A request that the server has accepted. All texts except the body are valid UTF-8 without NUL,
// and percent escapes have been decoded.
struct Request {
  Method m_Method = Method::Get;
  bool m_IsHead = false;  // the body of the response will not be sent
  Texts m_Parameters;     // by their names in the route's path
  Texts m_Query;          // only names that the route allows; a name without a value has ""
  Texts m_Headers;        // names in lower case; only those that `IsKept` accepts
  std::string m_Body;     // as received
  Peer m_Peer;
  bool m_MayChange = false;  // the client has the permission of `Access::Change`
};

// Whether a request's header with this name, in lower case, is passed to handlers.
bool IsKept(std::string_view header);

// A complete response. The server adds "Cache-Control: no-store" and "X-Content-Type-Options:
// nosniff".
struct Response {
  unsigned m_Status = 200;
  std::string m_ContentType;  // empty: no body
  // May be shared by many responses; null is the same as empty.
  std::shared_ptr<const std::string> m_Body;
  // Identifies this content, without quotation marks; empty: none. If a GET has the same tag in
  // If-None-Match, the server answers 304 instead of 200.
  std::string m_EntityTag;
  std::vector<std::pair<std::string, std::string>> m_Headers;
};

Response MakeResponse(unsigned status, std::string contentType, std::string body);

// An RFC 9457 problem document. `id` is a word in upper case for programs, `detail` says what is
// wrong with this request, and `hint` what to do, if anything. Bytes that are not UTF-8 are
// replaced.
Response MakeProblem(unsigned status, std::string_view id, std::string_view detail,
                     std::string_view hint = {});

// Whether a request with this If-None-Match header has the content with this tag already.
bool MatchesEntityTag(std::string_view ifNoneMatch, std::string_view entityTag);

}  // namespace Http
