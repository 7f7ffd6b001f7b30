// One request and its response, on the thread of its connection.
#pragma once

#include <microhttpd.h>

#include <memory>
#include <optional>
#include <string_view>

#include "service/http/Admission.h"
#include "service/http/Connections.h"
#include "service/http/PendingResponse.h"
#include "service/http/Router.h"
#include "service/http/Settings.h"

namespace Http {

// State shared by the exchanges of a server.
struct Shared {
  Shared(std::vector<Route> routes, Settings settings)
      : m_Router(std::move(routes)),
        m_Settings(std::move(settings)),
        m_Connections(m_Settings.m_Limits),
        m_pPermissions(std::make_shared<const Permissions>(m_Settings.m_Permissions)) {}

  // Both functions are thread-safe.
  std::shared_ptr<const Permissions> CurrentPermissions() const {
    return std::atomic_load(&m_pPermissions);
  }
  void SetPermissions(Permissions permissions) {
    std::atomic_store(&m_pPermissions, std::make_shared<const Permissions>(std::move(permissions)));
  }

  const Router m_Router;
  const Settings m_Settings;
  Connections m_Connections;

 private:
  std::shared_ptr<const Permissions> m_pPermissions;  // access only atomically
};

// Returns the size in bytes of a connection's buffer for headers and output. It is a multiple of
// the limit for headers, so that libmicrohttpd rejects only headers far above that limit.
inline std::size_t ConnectionBufferSize(const Limits& limits) {
  return 4 * limits.m_HeaderBytes;
}

// Called by libmicrohttpd's callbacks: `Begin` when the headers have arrived, `AddBody` for each
// part of the body, and `Finish` when the request is complete and again after each suspension.
// `Begin` and `Finish` return false if libmicrohttpd has to close the connection.
class Exchange {
 public:
  // `target` is the request target and points into the connection's buffer.
  Exchange(Shared& shared, MHD_Connection* connection, Connections::EntryPtr entry,
           std::string_view target)
      : m_Shared(shared),
        m_Connection(connection),
        m_Entry(std::move(entry)),
        m_TargetEnd(target.data() + target.size()) {}
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;

  bool HasBegun() const { return m_HasBegun; }
  // `version` points into the connection's buffer, after the target.
  bool Begin(std::string_view method, std::string_view path, const char* version);
  void AddBody(std::string_view bytes);
  bool Finish();
  // Call when the request has ended, regardless of the reason.
  void End();

 private:
  Head ReadHead() const;
  bool IsTargetTruncated(const char* version) const;
  Reply Handle() const;
  Response MakeFailure(const std::string& what) const;
  bool Answer(Reply reply);
  bool Answer(const Response& response);
  bool Answer(const ResponsePromise& promise);
  bool Answer(const std::shared_ptr<Stream>& stream);
  bool AnswerPending();
  bool BeginWait(const std::shared_ptr<UnfinishedResponse>& unfinished, bool isStream);

  Shared& m_Shared;
  MHD_Connection* const m_Connection;
  const Connections::EntryPtr m_Entry;
  const char* const m_TargetEnd;
  bool m_HasBegun = false;
  Admission m_Admission;

  // Set only if the response was incomplete when the handler returned.
  std::shared_ptr<Gate> m_Gate;
  std::shared_ptr<UnfinishedResponse> m_Unfinished;
  std::shared_ptr<PendingResponse> m_Pending;
};

}  // namespace Http
