#include "qiv/net.h"

#include "support.h"

#include <arpa/inet.h>
#include <cstring>

using namespace support;

/// The system's words, in the language of the environment.
static std::string why(int error) {
  return std::string(std::strerror(error)) + "\n";
}

/// A port of the loopback interface that refuses connections until serve() puts a server there. The
/// server dies with this process; its disk takes files of up to 64 KiB.
struct FtpUpload : testing::Test {
  FtpUpload() {
    std::filesystem::current_path(folder.getPath());
    sockaddr_in address = {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t length = sizeof address;
    EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), length), 0);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    url = "ftp://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
    setenv("no_proxy", "*", 1);
  }
  ~FtpUpload() { close(listener); }

  void serve() {
    listen(listener, 8);
    const std::string command = "ulimit -f 128; exec /usr/bin/python3 '" FTP_SERVER "' " +
                                std::to_string(listener) + " $PWD 2>/dev/null";
    server.reset(popen(command.c_str(), "we"));
  }

  /// The result, then what was printed to standard output and to standard error.
  static std::string upload(const std::string& remoteName, const std::string& urlPrefix,
                            const std::string& path) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int result =
        Qiv::Net::Web::Client().FTPUpload(remoteName.c_str(), urlPrefix.c_str(), path.c_str());
    const std::string output = testing::internal::GetCapturedStdout();
    return std::to_string(result) + " " + output + testing::internal::GetCapturedStderr();
  }

  const TempDir folder;
  std::string url;
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  std::unique_ptr<FILE, int (*)(FILE*)> server{nullptr, pclose};
};

TEST_F(FtpUpload, RefusesBeforeConnecting) {
  const std::string name(4090, 'n'), prefix = url + std::string(4078 - url.size(), 'd');
  writeFile("local", "");
  std::filesystem::resize_file("local", 0x100000005);
  const std::string size = "0 Local file size: 4294967301 bytes.\n";
  const std::array<std::string, 3> rows[] = {
      {"n\nDELE n", url, "FTP upload of 'local' refused: the remote name has a line break\n"},
      {name + "n", url, "FTP upload of 'local' refused: the remote name is too long\n"},
      {"n", prefix + "d", "FTP upload of 'local' refused: the URL prefix is too long\n"},
      {name, prefix, "curl_easy_perform() failed: Couldn't connect to server\n"}};
  for (const auto& [remoteName, urlPrefix, reason] : rows)
    EXPECT_EQ(upload(remoteName, urlPrefix, "local"), size + reason);
  EXPECT_EQ(upload("n", url, "none"), "1 Couldn't open 'none': " + why(ENOENT));
}

TEST_F(FtpUpload, ServerRenamesOnlyWhatIsComplete) {
  if (std::system("/usr/bin/python3 -W ignore -c 'import pyftpdlib' 2>/dev/null") != 0)
    GTEST_SKIP() << "needs python3-pyftpdlib";
  serve();
  writeFile("small", std::string(1234, 'x'));
  writeFile("large", std::string(300000, 'y'));
  const std::string failed = "\ncurl_easy_perform() failed: ";
  const std::array<std::string, 3> rows[] = {
      {"/dev/null", url, "0 Local file size: 0 bytes.\n"},
      {"small", url, "0 Local file size: 1234 bytes.\n*** We read 1234 bytes from file\n"},
      {".", url, "\nFTP upload of '.' refused: " + why(EISDIR)},
      {"large", url, failed},           // the disk is full
      {"/proc/self/maps", url, failed}, // longer than its size of 0
      {"small", url + "missing/", failed},
      {"small", url + "hangup/", failed}};
  std::size_t call = 0;
  expectNothingLeft("FTP upload, five of seven failing", rounds(140, 10000), [&] {
    const auto& [path, prefix, expected] = rows[call % std::size(rows)];
    const std::string name = "report" + std::to_string(call++ % std::size(rows));
    const std::string outcome = upload(name, prefix, path);
    EXPECT_NE(outcome.find(expected), std::string::npos) << outcome;
  });
  EXPECT_EQ(readFile("report0") + readFile("report1"), std::string(1234, 'x'));
  const std::string store = "STOR qivor_upload.part\n",
                    rename = "RNFR qivor_upload.part\nRNTO report";
  const std::string once = store + rename + "0\n" + store + rename + "1\n" + store + store;
  EXPECT_EQ(readFile("log").substr(0, 2 * once.size()), once + once);
}
