#ifndef QIV_NET_LIBCURL_H
#define QIV_NET_LIBCURL_H

#include <curl/curl.h>

namespace Qiv::internal {

/// The functions of libcurl that uploads call, without the "curl_" of their names. The library is
/// opened when one is made: few programs upload, and it brings a score of others into each that is
/// linked with it.
class Libcurl {
public:
  /// Opens and starts it. Throws std::runtime_error in the loader's words.
  Libcurl();
  ~Libcurl();
  Libcurl(const Libcurl&) = delete;
  Libcurl& operator=(const Libcurl&) = delete;

private:
  void* const library;
  decltype(&curl_global_init) const globalInit;
  decltype(&curl_global_cleanup) const globalCleanup;

public:
  decltype(&curl_easy_init) const easyInit;
  decltype(&curl_easy_setopt) const easySetopt;
  decltype(&curl_easy_perform) const easyPerform;
  decltype(&curl_easy_reset) const easyReset;
  decltype(&curl_easy_cleanup) const easyCleanup;
  decltype(&curl_easy_strerror) const easyStrerror;
  decltype(&curl_slist_append) const slistAppend;
  decltype(&curl_slist_free_all) const slistFreeAll;
};

} // namespace Qiv::internal

#endif
