// Owners of libcurl's handles, and the options that all requests share. The functions throw
// `std::bad_alloc`.
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

// For requests to a Unix socket.
EasyHandle MakeEasy(const std::filesystem::path& socket);
MultiHandle MakeMulti();
HeaderList MakeHeaders(const std::string& only);

// Only the path matters: the host is the socket.
std::string UrlOf(const std::string& path);

// The result of the transfer, once it has ended.
std::optional<CURLcode> TakeResult(const MultiHandle& multi);

}  // namespace Service
