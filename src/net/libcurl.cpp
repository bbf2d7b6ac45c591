#include "net/libcurl.h"

#include <cstdint>
#include <dlfcn.h>
#include <mutex>
#include <stdexcept>

#define LIBCURL "libcurl.so.4"
#define LIBCURL_NOTE                                                                               \
  "[{\"feature\":\"ftp\",\"description\":\"FTP upload\",\"priority\":\"recommended\","             \
  "\"soname\":[\"" LIBCURL "\"]}]"

namespace Qiv::internal {

namespace {

/// Tells the tools of packagers what the linker does not know of (systemd's "dlopen metadata").
[[gnu::used, gnu::section(".note.dlopen")]] alignas(4) const struct {
  std::uint32_t nameSize = sizeof "FDO";
  std::uint32_t textSize = sizeof LIBCURL_NOTE;
  std::uint32_t type = 0x407C0C0A;
  char name[sizeof "FDO"] = "FDO";
  char text[sizeof LIBCURL_NOTE] = LIBCURL_NOTE;
} dlopenNote{};

/// For starting and ending libcurl, which older releases cannot do in two threads at once.
std::mutex starting;

template <typename Pointer>
Pointer checked(Pointer pointer) {
  if (!pointer)
    throw std::runtime_error(dlerror());
  return pointer;
}

/// Converts to a pointer to the function, whatever its type.
struct Function {
  void* const address;
  template <typename Pointer>
  operator Pointer() const {
    return reinterpret_cast<Pointer>(address);
  }
};

Function find(void* library, const char* name) {
  return {checked(dlsym(library, name))};
}

} // namespace

// Never closed: what libcurl has loaded would not bear it.
Libcurl::Libcurl()
    : library(checked(dlopen(LIBCURL, RTLD_NOW | RTLD_LOCAL))),
      globalInit(find(library, "curl_global_init")),
      globalCleanup(find(library, "curl_global_cleanup")),
      easyInit(find(library, "curl_easy_init")), easySetopt(find(library, "curl_easy_setopt")),
      easyPerform(find(library, "curl_easy_perform")), easyReset(find(library, "curl_easy_reset")),
      easyCleanup(find(library, "curl_easy_cleanup")),
      easyStrerror(find(library, "curl_easy_strerror")),
      slistAppend(find(library, "curl_slist_append")),
      slistFreeAll(find(library, "curl_slist_free_all")) {
  const std::lock_guard<std::mutex> lock(starting);
  globalInit(CURL_GLOBAL_ALL);
}

Libcurl::~Libcurl() {
  const std::lock_guard<std::mutex> lock(starting);
  globalCleanup();
}

} // namespace Qiv::internal
