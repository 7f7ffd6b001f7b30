// HTTP requests and responses, independent of the transport.
#pragma once

#include <sys/types.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Http {

// HEAD is handled as GET; the server omits the body.
enum class Method { Get, Post, Put, Patch, Delete };

// Strings by name.
using StringMap = std::map<std::string, std::string, std::less<>>;

// Returns the string with this name, or null.
const std::string* Find(const StringMap& strings, std::string_view name);

// The process or machine at the other end of a connection.
struct Peer {
  bool m_IsTcp = false;
  std::string m_Address;       // TCP only: without the port
  std::string m_LocalAddress;  // TCP only: the address to which the client connected

  // Unix socket only: the credentials of the process when it connected.
  uid_t m_User = static_cast<uid_t>(-1);
  gid_t m_Group = static_cast<gid_t>(-1);
  pid_t m_Process = -1;
  std::vector<gid_t> m_SupplementaryGroups;
};

// A request that the server has accepted. All strings except the body are valid UTF-8 without NUL,
// and percent escapes have been decoded.
struct Request {
  Method m_Method = Method::Get;
  StringMap m_Parameters;  // by their names in the route's path
  StringMap m_Query;       // only names that the route allows; "" for a missing value
  StringMap m_Headers;     // names in lower case; only those that the route honors
  std::string m_Body;      // as received
  Peer m_Peer;
  bool m_MayChange = false;  // the client may use routes with `Access::Change`
};

// Whether the server or any route may use a request's header with this name, in lower case.
bool IsKept(std::string_view header);

// A complete response. The server adds "Cache-Control: no-store" and "X-Content-Type-Options:
// nosniff".
struct Response {
  unsigned m_Status = 200;
  std::string m_ContentType;  // empty: no body
  // May be shared by many responses; null is the same as empty.
  std::shared_ptr<const std::string> m_Body;
  // The ETag of this content, without quotation marks; empty: none. It is sent as a weak tag,
  // because documents also contain the time of the response. If a GET request has the same tag in
  // If-None-Match, the server sends 304 instead of 200.
  std::string m_EntityTag;
  std::vector<std::pair<std::string, std::string>> m_Headers;
};

Response MakeResponse(unsigned status, std::string contentType, std::string body);

// Creates an RFC 9457 problem document. `id` is an upper-case name for programs, `detail` describes
// what is wrong with this request, and `hint`, if not empty, what to do about it. Bytes that are
// not UTF-8 are replaced.
Response MakeProblem(unsigned status, std::string_view id, std::string_view detail,
                     std::string_view hint = {});

// Whether an If-None-Match header with this value matches the tag.
bool MatchesEntityTag(std::string_view ifNoneMatch, std::string_view entityTag);

}  // namespace Http
