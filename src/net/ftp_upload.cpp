#include "qiv/net.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <curl/curl.h>
#include <memory>
#include <sys/stat.h>

namespace Qiv::Net::Web {

namespace {

constexpr const char* temporaryName = "qivor_upload.part";

char uploadUrl[4096];
char renameTo[4096];
char renameFrom[32];

/// False when both texts together do not fit.
template <std::size_t N>
bool join(char (&buffer)[N], const char* first, const char* second) {
  const int length = std::snprintf(buffer, N, "%s%s", first, second);
  return length >= 0 && static_cast<std::size_t>(length) < N;
}

/// Fills the buffers. Returns what speaks against sending them, null when nothing does.
const char* buildTexts(const char* remoteName, const char* urlPrefix) {
  if (!remoteName || !urlPrefix)
    return "the remote name or the URL prefix is missing";
  // libcurl looks for control characters in the URL, but sends commands as they are.
  if (std::strpbrk(remoteName, "\r\n"))
    return "the remote name has a line break";
  join(renameFrom, "RNFR ", temporaryName);
  if (!join(renameTo, "RNTO ", remoteName))
    return "the remote name is too long";
  if (!join(uploadUrl, urlPrefix, temporaryName))
    return "the URL prefix is too long";
  return nullptr;
}

std::size_t readPiece(char* buffer, std::size_t size, std::size_t count, void* file) {
  const std::size_t read = std::fread(buffer, size, count, static_cast<FILE*>(file));
  if (read != 0)
    std::fprintf(stderr, "*** We read %lu bytes from file\n", read);
  return read;
}

CURLcode transfer(CURL* curl, FILE* file, curl_off_t size) {
  const std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> commands(
      curl_slist_append(nullptr, renameFrom), &curl_slist_free_all);
  if (!commands || !curl_slist_append(commands.get(), renameTo))
    return CURLE_OUT_OF_MEMORY;
  curl_easy_setopt(curl, CURLOPT_READFUNCTION, &readPiece);
  curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
  curl_easy_setopt(curl, CURLOPT_URL, uploadUrl);
  curl_easy_setopt(curl, CURLOPT_POSTQUOTE, commands.get());
  curl_easy_setopt(curl, CURLOPT_READDATA, file);
  curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, size);
  return curl_easy_perform(curl);
}

void upload(FILE* file, curl_off_t size) {
  curl_global_init(CURL_GLOBAL_ALL);
  if (CURL* curl = curl_easy_init()) {
    if (const CURLcode result = transfer(curl, file, size))
      std::fprintf(stderr, "curl_easy_perform() failed: %s\n", curl_easy_strerror(result));
    curl_easy_cleanup(curl);
  }
  std::fclose(file);
  curl_global_cleanup();
}

} // namespace

int Client::FTPUpload(const char* remoteName, const char* urlPrefix, const char* localPath) {
  const char* const path = localPath ? localPath : "";
  const char* obstacle = buildTexts(remoteName, urlPrefix);
  struct stat st;
  if (stat(path, &st) != 0) {
    std::printf("Couldn't open '%s': %s\n", path, std::strerror(errno));
    return 1;
  }
  std::printf("Local file size: %lu bytes.\n", static_cast<unsigned long>(st.st_size));
  if (!obstacle && S_ISDIR(st.st_mode)) // fopen takes a folder, only reading it fails
    obstacle = std::strerror(EISDIR);
  FILE* const file = obstacle ? nullptr : std::fopen(path, "rbe");
  if (file)
    upload(file, st.st_size);
  else
    std::fprintf(stderr, "FTP upload of '%s' refused: %s\n", path,
                 obstacle ? obstacle : std::strerror(errno));
  return 0;
}

} // namespace Qiv::Net::Web
