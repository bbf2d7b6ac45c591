#include "qiv/net.h"

#include "support.h"

#include <arpa/inet.h>

using namespace support;

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

  bool serve() {
    listen(listener, 8);
    const std::string command = "ulimit -f 128; exec /usr/bin/python3 '" FTP_SERVER "' " +
                                std::to_string(listener) + " $PWD 2>/dev/null";
    server.reset(popen(command.c_str(), "we"));
    return std::system("/usr/bin/python3 -W ignore -c 'import pyftpdlib' 2>/dev/null") == 0;
  }

  /// The result, then what was printed to standard output and to standard error.
  static std::string upload(const char* remoteName, const char* urlPrefix, const char* localPath) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int result = Qiv::Net::Web::Client().FTPUpload(remoteName, urlPrefix, localPath);
    const std::string output = testing::internal::GetCapturedStdout();
    return std::to_string(result) + " " + output + testing::internal::GetCapturedStderr();
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
  for (const auto& [remoteName, urlPrefix, path, reason] : rows) {
    const std::string outcome = upload(remoteName, urlPrefix, path);
    EXPECT_EQ(outcome[0] + outcome.substr(outcome.find('\n')),
              "0\nFTP upload of '" + std::string(path) + "' refused: " + reason + "\n");
  }
  EXPECT_EQ(upload(null, null, null), "1 Couldn't open '': No such file or directory\n");
  EXPECT_EQ(upload(name.c_str(), prefix.c_str(), "local"),
            "0 Local file size: 4294967301 bytes.\n"
            "curl_easy_perform() failed: Couldn't connect to server\n");
}

TEST_F(FtpUpload, ServerRenamesOnlyWhatIsComplete) {
  if (!serve())
    GTEST_SKIP() << "python3-pyftpdlib is missing";
  writeFile("small", std::string(1234, 'x'));
  writeFile("large", std::string(300000, 'y'));
  const std::string failed = "\ncurl_easy_perform() failed: ";
  const std::array<std::string, 3> rows[] = {
      {"/dev/null", url, "0 Local file size: 0 bytes.\n"},
      {"small", url, "0 Local file size: 1234 bytes.\n*** We read 1234 bytes from file\n"},
      {"large", url, failed},           // the disk is full
      {"/proc/self/maps", url, failed}, // longer than its size of 0
      {"small", url + "missing/", failed},
      {"small", url + "hangup/", failed},
      {"small", url + "a%0d%0aMKD%20b/", failed},
      {"small", "ftp://127.0.0.1:1/", failed}};
  std::size_t call = 0;
  expectNothingLeft("FTP upload, six of eight failing", rounds(160, 8000), [&] {
    const auto& [path, prefix, expected] = rows[call % std::size(rows)];
    const std::string name = "report" + std::to_string(call++ % 8);
    const std::string outcome = upload(name.c_str(), prefix.c_str(), path.c_str());
    EXPECT_TRUE(expected == failed ? outcome.find(failed) < outcome.size() : outcome == expected)
        << outcome;
  });
  EXPECT_EQ(readFile("report0") + readFile("report1"), std::string(1234, 'x'));
  const std::string store = "STOR qivor_upload.part\n",
                    rename = "RNFR qivor_upload.part\nRNTO report";
  const std::string once = store + rename + "0\n" + store + rename + "1\n" + store + store;
  EXPECT_EQ(readFile("log").substr(0, 2 * once.size()), once + once);
}
