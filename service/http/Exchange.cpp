#include "service/http/Exchange.h"

#include <cstdint>
#include <new>
#include <stdexcept>
#include <utility>
#include <variant>

#include "service/http/Sending.h"

namespace Http {
namespace {

MHD_Result AddPair(void* list, MHD_ValueKind, const char* name, size_t nameSize, const char* value,
                   size_t valueSize) {
  try {
    // A query parameter without "=" has no value.
    auto& pairs = *static_cast<Head::Pairs*>(list);
    pairs.emplace_back(std::string(name, nameSize),
                       value == nullptr ? std::string() : std::string(value, valueSize));
    return MHD_YES;
  } catch (...) {
    return MHD_NO;
  }
}

// Throws `std::bad_alloc` if not all pairs could be stored.
Head::Pairs ReadPairs(MHD_Connection* connection, MHD_ValueKind kind) {
  Head::Pairs pairs;
  const int count = MHD_get_connection_values_n(connection, kind, AddPair, &pairs);
  if (count != static_cast<int>(pairs.size())) throw std::bad_alloc();
  return pairs;
}

}  // namespace

void Exchange::End() {
  if (m_Gate != nullptr) m_Gate->Detach();
  m_Shared.m_Connections.EndRequest(m_Entry);
  m_Shared.m_Connections.SetTimeout(m_Entry, m_Shared.m_Settings.m_Limits.m_RequestTimeout);
  if (m_Unfinished != nullptr) m_Unfinished->End();
}

// libmicrohttpd truncates the target at a NUL. In the connection's buffer, the version follows the
// target after one byte, so a larger gap shows that the target was truncated. If another release
// copies them to separate buffers, truncation is not detected.
bool Exchange::IsTargetTruncated(const char* version) const {
  const auto gap =
      reinterpret_cast<std::uintptr_t>(version) - reinterpret_cast<std::uintptr_t>(m_TargetEnd);
  return gap > 1 && gap <= ConnectionBufferSize(m_Shared.m_Settings.m_Limits);
}

Head Exchange::ReadHead() const {
  Head head;
  head.m_Query = ReadPairs(m_Connection, MHD_GET_ARGUMENT_KIND);
  head.m_Headers = ReadPairs(m_Connection, MHD_HEADER_KIND);
  head.m_Size =
      MHD_get_connection_info(m_Connection, MHD_CONNECTION_INFO_REQUEST_HEADER_SIZE)->header_size;
  head.m_Peer = m_Entry->m_Peer;
  return head;
}

// A body within the limit is read before a refusal is sent: a client that is still sending might
// not see the response before the connection is closed. A client that sent an Expect header waits
// before it sends the body, so it gets the refusal immediately.
bool Exchange::Begin(std::string_view method, std::string_view path, const char* version) {
  m_HasBegun = true;
  Head head = ReadHead();
  head.m_Method = method;
  head.m_Path = path;
  head.m_HasNul = IsTargetTruncated(version);
  m_Admission =
      AdmitRequest(head, m_Shared.m_Router, m_Shared.m_Settings, *m_Shared.CurrentPermissions());
  if (!m_Admission.m_Refusal) return true;
  const bool readsBody = HasBody(head) && !IsBodyTooLarge(head, m_Shared.m_Settings.m_Limits) &&
                         FindHeader(head, "expect") == nullptr;
  return readsBody || Answer(*m_Admission.m_Refusal);
}

void Exchange::AddBody(std::string_view bytes) {
  if (m_Admission.m_Refusal) return;
  std::string& body = m_Admission.m_Request.m_Body;
  const Limits& limits = m_Shared.m_Settings.m_Limits;
  if (body.size() + bytes.size() > limits.m_BodyBytes) {
    m_Admission.m_Refusal = MakeBodyTooLarge(limits);
    body = std::string();
  } else {
    body.append(bytes);
  }
}

bool Exchange::Finish() {
  if (m_Pending != nullptr) return AnswerPending();
  if (m_Admission.m_Refusal) return Answer(*m_Admission.m_Refusal);
  m_Shared.m_Connections.BeginRequest(m_Entry);
  return Answer(Handle());
}

Reply Exchange::Handle() const {
  try {
    return m_Admission.m_Route->m_Handler(m_Admission.m_Request);
  } catch (const std::exception& error) {
    return MakeFailure(error.what());
  } catch (...) {
    return MakeFailure("unknown exception");
  }
}

Response Exchange::MakeFailure(const std::string& what) const {
  if (m_Shared.m_Settings.m_OnFailure) m_Shared.m_Settings.m_OnFailure(what);
  return MakeProblem(500, "UNEXPECTED", "an unexpected error", "See the log of the service.");
}

bool Exchange::Answer(Reply reply) {
  return std::visit([this](const auto& each) { return Answer(each); }, std::move(reply));
}

bool Exchange::Answer(const Response& response) {
  m_Shared.m_Connections.SetTimeout(m_Entry, m_Shared.m_Settings.m_Limits.m_ResponseTimeout);
  try {
    return Send(m_Connection, response, m_Admission.m_Request);
  } catch (const std::logic_error& error) {
    return Send(m_Connection, MakeFailure(error.what()), m_Admission.m_Request);
  }
}

bool Exchange::Answer(const ResponsePromise& promise) {
  if (BeginWait(promise.m_Response, false)) {
    m_Pending = promise.m_Response;
    return AnswerPending();
  }
  promise.m_Response->End();
  return Answer(MakeProblem(503, "STOPPING", "the service is stopping"));
}

bool Exchange::AnswerPending() {
  for (;;) {
    if (const auto response = m_Pending->Get()) return Answer(*response);
    if (m_Gate->Suspend()) return true;
  }
}

bool Exchange::Answer(const std::shared_ptr<Stream>& stream) {
  if (BeginWait(stream, true)) return Send(m_Connection, stream, m_Gate);
  stream->End();
  return Answer(
      MakeProblem(503, "STREAM_REFUSED", "too many streams are open, or the service is stopping"));
}

bool Exchange::BeginWait(const std::shared_ptr<UnfinishedResponse>& unfinished, bool isStream) {
  auto gate = std::make_shared<Gate>(m_Connection, m_Entry->m_Socket);
  unfinished->Attach(gate);
  if (!m_Shared.m_Connections.BeginWait(m_Entry, unfinished, isStream)) return false;
  m_Gate = std::move(gate);
  m_Unfinished = unfinished;
  return true;
}

}  // namespace Http
