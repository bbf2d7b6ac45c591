#include "net/ftp_transfer.h"

#include "internal/system_path.h"
#include "net/libcurl.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <random>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace Qiv::internal {

namespace {

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

bool contains(const std::string& text, std::string_view characters) {
  return text.find_first_of(characters) != std::string::npos;
}

std::string uniqueName() {
  std::random_device random;
  return "qivor_upload." + std::to_string(random()) + "." + std::to_string(random()) + ".part";
}

/// An upload under way, into which libcurl calls back.
class Transfer {
public:
  /// The file has `size` bytes when it is complete.
  Transfer(const Libcurl& curl, const FtpRequest& request, FILE* file, std::uint64_t size)
      : curl(curl), request(request), file(file), size(size) {}

  FtpOutcome run();

private:
  using Commands = std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)>;

  static std::size_t onRead(char* buffer, std::size_t size, std::size_t count, void* self);
  static std::size_t onReply(char* line, std::size_t size, std::size_t count, void* self);
  static int onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent);

  template <typename Value>
  void set(CURLoption option, Value value) {
    curl.easySetopt(easy.get(), option, value);
  }

  void prepare(const std::string& url, const Commands& afterwards);
  CURLcode store(const std::string& name);
  void remove(const std::string& name);
  FtpOutcome explain(CURLcode code) const;

  const Libcurl& curl;
  const FtpRequest& request;
  FILE* const file;
  const std::uint64_t size;
  const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy{curl.easyInit(), curl.easyCleanup};
  bool started = false;
  std::uint64_t read = 0;
  std::string fault; ///< of the local file
  bool cancelled = false;
  std::exception_ptr thrown;
  std::string reply; ///< the last line of the server
  char details[CURL_ERROR_SIZE] = "";
};

// Not libcurl decides whether the file is complete: some releases stop after the size that they
// were told, others do not. It is told none, so that all of them read to the end.
std::size_t Transfer::onRead(char* buffer, std::size_t size, std::size_t count, void* self) {
  Transfer& transfer = *static_cast<Transfer*>(self);
  const std::size_t bytes = std::fread(buffer, 1, size * count, transfer.file);
  transfer.started = true;
  transfer.read += bytes;
  if (bytes == 0 ? transfer.read != transfer.size : transfer.read > transfer.size) {
    transfer.fault = std::ferror(transfer.file) ? std::strerror(errno) : "its size has changed";
    return CURL_READFUNC_ABORT;
  }
  if (bytes != 0 && transfer.request.onRead)
    transfer.request.onRead(bytes);
  return bytes;
}

std::size_t Transfer::onReply(char* line, std::size_t size, std::size_t count, void* self) {
  std::string& reply = static_cast<Transfer*>(self)->reply;
  reply.assign(line, size * count);
  reply.resize(reply.find_last_not_of("\r\n") + 1);
  return size * count;
}

int Transfer::onProgress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
  Transfer& transfer = *static_cast<Transfer*>(self);
  try {
    transfer.cancelled = transfer.cancelled || !transfer.request.progress(
                                                   static_cast<std::uint64_t>(sent), transfer.size);
  } catch (...) { // libcurl's own functions lie between
    transfer.cancelled = true;
    transfer.thrown = std::current_exception();
  }
  return transfer.cancelled;
}

void Transfer::prepare(const std::string& url, const Commands& afterwards) {
  curl.easyReset(easy.get());
  set(CURLOPT_URL, url.c_str());
  set(CURLOPT_POSTQUOTE, afterwards.get());
  set(CURLOPT_PROTOCOLS_STR, "ftp,ftps"); // no other renames
  set(CURLOPT_HTTPPROXYTUNNEL, 1L);       // nor does a proxy that is asked for files
  set(CURLOPT_NOSIGNAL, 1L);              // signals belong to the application
  set(CURLOPT_CONNECTTIMEOUT, request.patience);
  set(CURLOPT_SERVER_RESPONSE_TIMEOUT, request.patience);
  set(CURLOPT_LOW_SPEED_TIME, request.patience);
  set(CURLOPT_LOW_SPEED_LIMIT, 1L);
}

CURLcode Transfer::store(const std::string& name) {
  Commands rename(curl.slistAppend(nullptr, ("RNFR " + name).c_str()), curl.slistFreeAll);
  if (!rename || !curl.slistAppend(rename.get(), ("RNTO " + request.remoteName).c_str()))
    return CURLE_OUT_OF_MEMORY;
  prepare(request.urlPrefix + name, rename);
  set(CURLOPT_UPLOAD, 1L);
  set(CURLOPT_READFUNCTION, &onRead);
  set(CURLOPT_READDATA, this);
  set(CURLOPT_HEADERFUNCTION, &onReply);
  set(CURLOPT_HEADERDATA, this);
  set(CURLOPT_ERRORBUFFER, details);
  if (request.progress) {
    set(CURLOPT_NOPROGRESS, 0L);
    set(CURLOPT_XFERINFOFUNCTION, &onProgress);
    set(CURLOPT_XFERINFODATA, this);
  }
  return curl.easyPerform(easy.get());
}

void Transfer::remove(const std::string& name) {
  const Commands dele(curl.slistAppend(nullptr, ("DELE " + name).c_str()), curl.slistFreeAll);
  prepare(request.urlPrefix, dele);
  set(CURLOPT_NOBODY, 1L);
  set(CURLOPT_TIMEOUT, 10L);
  curl.easyPerform(easy.get());
}

FtpOutcome Transfer::explain(CURLcode code) const {
  if (code == CURLE_OK)
    return {FtpEnd::complete};
  if (!fault.empty())
    return {FtpEnd::incomplete, fault, curl.easyStrerror(CURLE_PARTIAL_FILE)};
  const char* const summary = curl.easyStrerror(code);
  const std::string reason = *details ? details : summary;
  if (cancelled)
    return {FtpEnd::cancelled, reason, summary};
  if (code == CURLE_URL_MALFORMAT || code == CURLE_UNSUPPORTED_PROTOCOL)
    return {FtpEnd::refused, reason, summary};
  if (reply[0] == '4' || reply[0] == '5')
    return {FtpEnd::badReply, reply, summary};
  return {FtpEnd::noConnection, reason, summary};
}

FtpOutcome Transfer::run() {
  if (!easy)
    return {FtpEnd::refused, "libcurl does not start"};
  const bool ownName = request.temporaryName.empty();
  const std::string name = ownName ? uniqueName() : request.temporaryName;
  const CURLcode code = store(name);
  if (code != CURLE_OK && ownName && started)
    remove(name);
  if (thrown)
    std::rethrow_exception(thrown);
  return explain(code);
}

FtpOutcome refused(const char* reason) {
  return {FtpEnd::refused, reason};
}

FtpOutcome unreadable(int error) {
  const bool missing = error == ENOENT || error == ENOTDIR;
  return {missing ? FtpEnd::notFound : FtpEnd::refused, std::strerror(error)};
}

FtpOutcome send(const FtpRequest& request, FILE* file, std::uint64_t size) {
  std::optional<Libcurl> curl;
  try {
    curl.emplace();
  } catch (const std::runtime_error& error) {
    return refused(error.what());
  }
  return Transfer(*curl, request, file, size).run();
}

/// What speaks against sending such a file, null when nothing does.
const char* obstacle(const struct stat& st) {
  if (S_ISREG(st.st_mode))
    return nullptr;
  return S_ISDIR(st.st_mode) ? std::strerror(EISDIR) : "it is no regular file";
}

} // namespace

FtpOutcome sendByFtp(const FtpRequest& request) {
  // libcurl looks for line breaks in the URL, but sends commands as they are.
  if (contains(request.remoteName, "\r\n"))
    return refused("the remote name has a line break");
  if (contains(request.remoteName + request.urlPrefix, std::string_view("\0", 1)))
    return refused("the remote name or the URL prefix has a NUL");

  const char* const path = systemPath(request.localPath);
  struct stat st;
  if (stat(path, &st) != 0)
    return unreadable(errno);
  if (const char* reason = obstacle(st)) // opening a FIFO may unblock who writes into it
    return refused(reason);
  const int descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0)
    return unreadable(errno);
  const File file(fdopen(descriptor, "rb"), &std::fclose);
  fstat(descriptor, &st); // it may be another by now
  if (const char* reason = obstacle(st))
    return refused(reason);
  return send(request, file.get(), static_cast<std::uint64_t>(st.st_size));
}

} // namespace Qiv::internal
