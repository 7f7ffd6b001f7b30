#include "service/client/CurlHandles.h"

namespace Service {
namespace {

// curl_global_init() is not always thread-safe, so a static variable guards it. TLS is not used.
void InitializeOnce() {
  static const CURLcode code = curl_global_init(CURL_GLOBAL_NOTHING);
  if (code != CURLE_OK) throw std::bad_alloc();
}

}  // namespace

EasyHandle MakeEasy(const std::filesystem::path& socket) {
  InitializeOnce();
  EasyHandle easy(curl_easy_init());
  if (!easy) throw std::bad_alloc();
  SetOption(easy, CURLOPT_UNIX_SOCKET_PATH, socket.c_str());
  SetOption(easy, CURLOPT_NOPROXY, "*");
  SetOption(easy, CURLOPT_NOSIGNAL, 1L);
  SetOption(easy, CURLOPT_PROTOCOLS_STR, "http");
  SetOption(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
  SetOption(easy, CURLOPT_USERAGENT, "corvane-host");
  return easy;
}

MultiHandle MakeMulti() {
  InitializeOnce();
  MultiHandle multi(curl_multi_init());
  if (!multi) throw std::bad_alloc();
  return multi;
}

HeaderList MakeHeaders(const std::string& header) {
  HeaderList list(curl_slist_append(nullptr, header.c_str()));
  if (!list) throw std::bad_alloc();
  return list;
}

std::string UrlOf(const std::string& path) {
  return "http://service" + path;
}

// libcurl interprets a length of 0 as unknown, so an empty text is not passed to it.
std::string Escaped(const std::string& text) {
  if (text.empty()) return {};
  char* const escaped = curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size()));
  if (escaped == nullptr) throw std::bad_alloc();
  std::string result = escaped;
  curl_free(escaped);
  return result;
}

std::optional<CURLcode> TakeResult(const MultiHandle& multi) {
  int remaining = 0;
  const CURLMsg* const message = curl_multi_info_read(multi.get(), &remaining);
  if (message == nullptr || message->msg != CURLMSG_DONE) return std::nullopt;
  return message->data.result;
}

}  // namespace Service
