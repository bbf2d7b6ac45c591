#include "qiv/net.h"

#include "support.h"

#include <arpa/inet.h>

namespace {

using namespace support;

/// The result, then what was printed to standard output and to standard error.
std::string upload(const char* remoteName, const char* urlPrefix, const char* localPath) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int result = Qiv::Net::Web::Client().FTPUpload(remoteName, urlPrefix, localPath);
  const std::string output = testing::internal::GetCapturedStdout();
  return std::to_string(result) + " " + output + testing::internal::GetCapturedStderr();
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

  bool serve() {
    listen(listener, 8);
    const std::string command = "ulimit -f 128; exec /usr/bin/python3 '" FTP_SERVER "' " +
                                std::to_string(listener) + " $PWD $PWD/log 2>/dev/null";
    server.reset(popen(command.c_str(), "we"));
    return std::system("/usr/bin/python3 -W ignore -c 'import pyftpdlib' 2>/dev/null") == 0;
  }

  const TempDir folder;
  std::string url;
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  std::unique_ptr<FILE, int (*)(FILE*)> server{nullptr, pclose};
};

TEST_F(FtpUpload, RefusesBeforeConnecting) {
  ASSERT_EQ(mknod("socket", S_IFSOCK | 0600, 0), 0);
  writeFile("local", "");
  std::filesystem::resize_file("local", 0x100000005);
  const std::string name(4090, 'n'), prefix = url + std::string(4078 - url.size(), 'd');
  const std::string longName = name + "n", longPrefix = prefix + "d";
  const char *const to = url.c_str(), *const null = nullptr;
  const std::array<const char*, 4> rows[] = {
      {null, to, "local", "the remote name or the URL prefix is missing"},
      {"n", null, "local", "the remote name or the URL prefix is missing"},
      {"n\rDELE n", to, "local", "the remote name has a line break"},
      {"n\nDELE n", to, "local", "the remote name has a line break"},
      {longName.c_str(), to, "local", "the remote name is too long"},
      {"n", longPrefix.c_str(), "local", "the URL prefix is too long"},
      {"n", to, ".", "Is a directory"},
      {"n", to, "socket", "No such device or address"}};
  const long descriptors = openDescriptors();
  for (const auto& [remoteName, urlPrefix, path, reason] : rows) {
    const std::string refusal = "' refused: " + std::string(reason) + "\n";
    const std::string outcome = upload(remoteName, urlPrefix, path);
    EXPECT_EQ(outcome[0] + outcome.substr(outcome.find('\n')),
              "0\nFTP upload of '" + (path + refusal));
    EXPECT_EQ(upload(remoteName, urlPrefix, "none"),
              "1 Couldn't open 'none': No such file or directory\n");
  }
  EXPECT_EQ(upload(null, null, null), "1 Couldn't open '': No such file or directory\n");
  EXPECT_EQ(upload(name.c_str(), prefix.c_str(), "local"),
            "0 Local file size: 4294967301 bytes.\n"
            "curl_easy_perform() failed: Couldn't connect to server\n");
  EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(FtpUpload, ServerRenamesOnlyWhatIsComplete) {
  if (!serve())
    GTEST_SKIP() << "python3-pyftpdlib is missing";
  writeFile("local", "");
  EXPECT_EQ(upload("empty", url.c_str(), "local"), "0 Local file size: 0 bytes.\n");
  EXPECT_TRUE(std::filesystem::is_empty("empty"));
  writeFile("local", std::string(1234, 'x'));
  EXPECT_EQ(upload("report", url.c_str(), "local"),
            "0 Local file size: 1234 bytes.\n*** We read 1234 bytes from file\n");
  writeFile("local", std::string(300000, 'y'));
  for (const auto& [prefix, path] : {std::pair{url, "local"},  // the disk is full
                                     {url, "/proc/self/maps"}, // longer than its size of 0
                                     {url + "missing/", "local"},
                                     {url + "a%0d%0aMKD%20b/", "local"}}) {
    const std::string outcome = upload("report", prefix.c_str(), path);
    EXPECT_NE(outcome.find("\ncurl_easy_perform() failed: "), std::string::npos) << outcome;
  }
  EXPECT_EQ(readFile("report"), std::string(1234, 'x'));
  const std::string store = "STOR qivor_upload.part\n", rename = "RNFR qivor_upload.part\nRNTO ";
  EXPECT_EQ(readFile("log"),
            store + rename + "empty\n" + store + rename + "report\n" + store + store);
}

} // namespace
