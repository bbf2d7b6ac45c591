#include "net/ftp_transfer.h"
#include "qiv/net.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace Qiv::Net::Web {

using internal::FtpEnd;
using internal::FtpOutcome;
using internal::FtpRequest;

namespace {

void printPiece(std::size_t bytes) {
  std::fprintf(stderr, "*** We read %zu bytes from file\n", bytes);
}

FtpOutcome sendNoisily(const char* remoteName, const char* urlPrefix, const char* localPath) {
  if (!remoteName || !urlPrefix)
    return {FtpEnd::refused, "the remote name or the URL prefix is missing"};
  FtpRequest request{remoteName, urlPrefix, localPath};
  request.temporaryName = "qivor_upload.part";
  request.onRead = &printPiece;
  return internal::sendByFtp(request);
}

const char* toText(FtpEnd end) {
  static const char* const texts[][2] = {
      {"", ""},
      {"The upload was refused", "Отправка отклонена"},
      {"The local file was not found", "Локальный файл не найден"},
      {"The connection to the server failed", "Сбой соединения с сервером"},
      {"The server did not accept the file", "Сервер не принял файл"},
      {"The local file was not sent as a whole", "Локальный файл отправлен не целиком"},
      {"The upload was cancelled", "Отправка отменена"}};
  return texts[static_cast<int>(end)][lng::language];
}

} // namespace

Result Client::upload(const std::string& remoteName, const std::string& urlPrefix,
                      const std::string& localPath,
                      const std::function<bool(std::uint64_t, std::uint64_t)>& progress) {
  FtpRequest request{remoteName, urlPrefix, localPath};
  request.progress = progress;
  const FtpOutcome outcome = internal::sendByFtp(request);
  if (outcome.end == FtpEnd::complete)
    return true;
  return LogicError::create(localPath.substr(0, localPath.find('\0')) + ": " + toText(outcome.end),
                            LogicError::create(outcome.reason));
}

int Client::FTPUpload(const char* remoteName, const char* urlPrefix, const char* localPath) {
  const char* const path = localPath ? localPath : "";
  struct stat st;
  if (stat(path, &st) != 0) {
    std::printf("Couldn't open '%s': %s\n", path, std::strerror(errno));
    return 1;
  }
  std::printf("Local file size: %" PRIu64 " bytes.\n", static_cast<std::uint64_t>(st.st_size));
  const FtpOutcome outcome = sendNoisily(remoteName, urlPrefix, path);
  if (outcome.summary)
    std::fprintf(stderr, "curl_easy_perform() failed: %s\n", outcome.summary);
  else if (outcome.end != FtpEnd::complete)
    std::fprintf(stderr, "FTP upload of '%s' refused: %s\n", path, outcome.reason.c_str());
  return 0;
}

} // namespace Qiv::Net::Web
