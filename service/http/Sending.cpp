#include "service/http/Sending.h"

#include <microhttpd.h>

#include <memory>
#include <stdexcept>
#include <utility>

namespace Http {
namespace {

using Body = std::shared_ptr<const std::string>;

constexpr std::size_t kBlockSize = 4096;

constexpr std::pair<const char*, const char*> kCommonHeaders[] = {
    {"Cache-Control", "no-store"},
    {"X-Content-Type-Options", "nosniff"},
};

struct Destroy {
  void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using ResponsePtr = std::unique_ptr<MHD_Response, Destroy>;

struct StreamReader {
  std::shared_ptr<Stream> m_Stream;
  std::shared_ptr<Gate> m_Gate;
};

template <typename Owned>
void Free(void* owned) {
  delete static_cast<Owned*>(owned);
}

// libmicrohttpd allows a return value of 0 only if the connection is suspended.
ssize_t ReadStream(void* owned, uint64_t, char* into, size_t size) {
  try {
    const auto& [stream, gate] = *static_cast<StreamReader*>(owned);
    for (;;) {
      const auto count = stream->Take(into, size);
      if (!count && stream->IsAborted()) return MHD_CONTENT_READER_END_WITH_ERROR;
      if (!count) return MHD_CONTENT_READER_END_OF_STREAM;
      if (*count > 0) return static_cast<ssize_t>(*count);
      if (gate->Suspend()) return 0;
    }
  } catch (...) {
    return MHD_CONTENT_READER_END_WITH_ERROR;
  }
}

ResponsePtr MakeBuffered(const Body& body) {
  if (body == nullptr || body->empty()) {
    return ResponsePtr(MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT));
  }
  auto owned = std::make_unique<Body>(body);
  ResponsePtr response(MHD_create_response_from_buffer_with_free_callback_cls(
      body->size(), const_cast<char*>(body->data()), Free<Body>, owned.get()));
  if (response != nullptr) static_cast<void>(owned.release());
  return response;
}

ResponsePtr MakeStreaming(const std::shared_ptr<Stream>& stream,
                          const std::shared_ptr<Gate>& gate) {
  auto owned = std::make_unique<StreamReader>(StreamReader{stream, gate});
  ResponsePtr response(MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, kBlockSize, ReadStream,
                                                         owned.get(), Free<StreamReader>));
  if (response != nullptr) static_cast<void>(owned.release());
  return response;
}

void AddHeader(const ResponsePtr& response, const std::string& name, const std::string& value) {
  if (MHD_add_response_header(response.get(), name.c_str(), value.c_str()) == MHD_YES) return;
  throw std::logic_error("invalid header: " + name);
}

bool Queue(MHD_Connection* connection, unsigned status, const ResponsePtr& response) {
  Base::RequireNoLock("sending a response");
  if (response == nullptr) return false;
  for (const auto& [name, value] : kCommonHeaders) AddHeader(response, name, value);
  return MHD_queue_response(connection, status, response.get()) == MHD_YES;
}

bool IsKnownToClient(const Response& response, const Request& request) {
  const std::string* const known = Find(request.m_Headers, "if-none-match");
  return request.m_Method == Method::Get && response.m_Status == 200 &&
         !response.m_EntityTag.empty() && known != nullptr &&
         MatchesEntityTag(*known, response.m_EntityTag);
}

}  // namespace

std::vector<const char*> CommonHeaderNames() {
  std::vector<const char*> names;
  for (const auto& [name, value] : kCommonHeaders) names.push_back(name);
  return names;
}

bool Send(MHD_Connection* connection, const Response& response, const Request& request) {
  const bool isKnown = IsKnownToClient(response, request);
  const ResponsePtr prepared = MakeBuffered(isKnown ? nullptr : response.m_Body);
  if (prepared == nullptr) return false;
  const std::string& tag = response.m_EntityTag;
  const bool hasType = !isKnown && !response.m_ContentType.empty();
  if (hasType) AddHeader(prepared, "Content-Type", response.m_ContentType);
  if (!tag.empty()) AddHeader(prepared, "ETag", "W/\"" + tag + '"');
  for (const auto& [name, value] : response.m_Headers) AddHeader(prepared, name, value);
  return Queue(connection, isKnown ? 304 : response.m_Status, prepared);
}

bool Send(MHD_Connection* connection, const std::shared_ptr<Stream>& stream,
          const std::shared_ptr<Gate>& gate) {
  const ResponsePtr prepared = MakeStreaming(stream, gate);
  if (prepared == nullptr) return false;
  AddHeader(prepared, "Content-Type", stream->ContentType());
  return Queue(connection, 200, prepared);
}

}  // namespace Http
