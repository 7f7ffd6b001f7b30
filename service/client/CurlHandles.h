// Owners of libcurl's handles, and the options common to all requests. The functions throw
// `std::bad_alloc` on failure.
#pragma once

#include <curl/curl.h>

#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>

namespace Service {

struct EasyCleanUp {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiCleanUp {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};
struct ListCleanUp {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using EasyHandle = std::unique_ptr<CURL, EasyCleanUp>;
using MultiHandle = std::unique_ptr<CURLM, MultiCleanUp>;
using HeaderList = std::unique_ptr<curl_slist, ListCleanUp>;

template <class Value>
void SetOption(const EasyHandle& easy, CURLoption option, Value value) {
  if (curl_easy_setopt(easy.get(), option, value) != CURLE_OK) throw std::bad_alloc();
}

// Creates a handle for requests over a Unix socket.
EasyHandle MakeEasy(const std::filesystem::path& socket);
MultiHandle MakeMulti();
HeaderList MakeHeaders(const std::string& header);

// Returns a URL with this path. Its host name is a placeholder, because the socket selects the
// service.
std::string UrlOf(const std::string& path);

// Returns the text percent-encoded, for use as a path segment or in a query.
std::string Escaped(const std::string& text);

// Returns the result of the transfer, or empty until it has ended.
std::optional<CURLcode> TakeResult(const MultiHandle& multi);

}  // namespace Service
