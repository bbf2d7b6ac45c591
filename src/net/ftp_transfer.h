#ifndef QIV_NET_FTP_TRANSFER_H
#define QIV_NET_FTP_TRANSFER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

/// Sends a file to an FTP server, which renames it once it is complete.
namespace Qiv::internal {

struct FtpRequest {
  std::string remoteName;
  std::string urlPrefix;
  std::string localPath;
  /// Under which the server stores the file at first. Empty: a name that nobody else has, which is
  /// removed again when the upload fails.
  std::string temporaryName = {};
  std::function<void(std::size_t bytes)> onRead = nullptr;
  /// Is asked about once a second; false cancels. What it throws leaves sendByFtp.
  std::function<bool(std::uint64_t done, std::uint64_t total)> progress = nullptr;
  /// Seconds that connecting, a reply or the next piece may take. A minute, as libcurl's own limit
  /// for the last reply: no network that works is silent for so long.
  long patience = 60;
};

enum class FtpEnd { complete, refused, notFound, noConnection, badReply, incomplete, cancelled };

struct FtpOutcome {
  FtpEnd end;
  std::string reason = {};       ///< a line of the system, of libcurl or of the server
  const char* summary = nullptr; ///< libcurl's words for its own failure; null when not asked
};

FtpOutcome sendByFtp(const FtpRequest& request);

} // namespace Qiv::internal

#endif
