#include "qiv/net.h"

#include "support.h"

#include <arpa/inet.h>
#include <cstdio>
#include <sys/socket.h>

namespace {

using support::readFile;
using support::writeFile;

struct Outcome {
  int result;
  std::string out, err;
};

Outcome upload(const char* remoteName, const char* urlPrefix, const char* localPath) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int result = Qiv::Net::Web::Client().FTPUpload(remoteName, urlPrefix, localPath);
  return {result, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

/// A port of the loopback interface that refuses connections until serve() puts a server there. The
/// server dies with this process; its disk takes files of up to 64 KiB.
class FtpUpload : public testing::Test {
protected:
  FtpUpload() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    EXPECT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), length), 0);
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    url = "ftp://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
    setenv("no_proxy", "*", 1);
  }
  ~FtpUpload() override {
    if (server)
      pclose(server);
    close(listener);
  }

  bool serve() {
    if (std::system("/usr/bin/python3 -W ignore -c 'import pyftpdlib' 2>/dev/null") != 0)
      return false;
    listen(listener, 8);
    const std::string command = "ulimit -f 128; exec /usr/bin/python3 '" FTP_SERVER "' " +
                                std::to_string(listener) + " " + folder.getPath() + " " + log +
                                " 2>/dev/null";
    return (server = popen(command.c_str(), "we"));
  }

  const support::TempDir folder;
  const std::string local = folder / "local", report = folder / "report.xml", log = folder / "log";
  std::string url;

private:
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  FILE* server = nullptr;
};

} // namespace

TEST_F(FtpUpload, TellsOfMissingFileWhateverElseIsWrong) {
  const std::string tooLong(5000, 'x');
  for (const char* text : {"report.xml", "a\nb", tooLong.c_str(), static_cast<const char*>(0)}) {
    const Outcome outcome = upload(text, text, "/no/such/file");
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.out, "Couldn't open '/no/such/file': No such file or directory\n");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(upload(text, text, nullptr).result, 1);
  }
}

TEST_F(FtpUpload, RefusesBeforeConnecting) {
  const std::string unopenable = folder / "socket";
  ASSERT_EQ(mknod(unopenable.c_str(), S_IFSOCK | 0600, 0), 0);
  writeFile(local, "");
  std::filesystem::resize_file(local, 0x100000005);
  const std::string name(4090, 'n'), prefix = url + std::string(4078 - url.size(), 'd');
  const std::string longName = name + "n", longPrefix = prefix + "d";
  const char* const noText = "the remote name or the URL prefix is missing";
  const struct {
    const char *row, *name, *prefix, *path, *reason;
  } rows[] = {
      {"null name", nullptr, url.c_str(), local.c_str(), noText},
      {"null prefix", "n", nullptr, local.c_str(), noText},
      {"CR", "n\rDELE n", url.c_str(), local.c_str(), "the remote name has a line break"},
      {"LF", "n\nDELE n", url.c_str(), local.c_str(), "the remote name has a line break"},
      {"long name", longName.c_str(), url.c_str(), local.c_str(), "the remote name is too long"},
      {"long URL", "n", longPrefix.c_str(), local.c_str(), "the URL prefix is too long"},
      {"folder", "n", url.c_str(), folder.getPath().c_str(), "Is a directory"},
      {"socket", "n", url.c_str(), unopenable.c_str(), "No such device or address"},
      {"all fits", name.c_str(), prefix.c_str(), local.c_str(), nullptr},
  };
  const long descriptors = support::openDescriptors();
  for (const auto& row : rows) {
    const Outcome outcome = upload(row.name, row.prefix, row.path);
    EXPECT_EQ(outcome.result, 0) << row.row;
    EXPECT_TRUE(row.path != local || outcome.out == "Local file size: 4294967301 bytes.\n");
    EXPECT_EQ(outcome.err, row.reason ? "FTP upload of '" + std::string(row.path) +
                                            "' refused: " + row.reason + "\n"
                                      : "curl_easy_perform() failed: Couldn't connect to server\n")
        << row.row;
  }
  EXPECT_EQ(support::openDescriptors(), descriptors);
}

TEST_F(FtpUpload, ServerRenamesCompleteFile) {
  if (!serve())
    GTEST_SKIP() << "python3-pyftpdlib is missing";
  for (const std::string& content : {std::string(1234, 'x'), std::string()}) {
    writeFile(local, content);
    std::filesystem::remove(report);
    std::filesystem::remove(log);
    const Outcome outcome = upload("report.xml", url.c_str(), local.c_str());
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.err, content.empty() ? "" : "*** We read 1234 bytes from file\n");
    EXPECT_TRUE(std::filesystem::exists(report));
    EXPECT_EQ(readFile(report), content);
    EXPECT_EQ(readFile(log), "STOR qivor_upload.part\nRNFR qivor_upload.part\nRNTO report.xml\n");
  }
}

TEST_F(FtpUpload, FailedTransferRenamesNothing) {
  if (!serve())
    GTEST_SKIP() << "python3-pyftpdlib is missing";
  writeFile(local, std::string(300000, 'x'));
  writeFile(report, "old");
  const std::string lineBreak = url + "a%0d%0aMKD%20b/", missing = url + "missing/";
  for (const auto& [prefix, path] : {std::pair{url, local.c_str()}, // the disk is full
                                     {url, "/proc/self/maps"},      // longer than its size of 0
                                     {missing, local.c_str()},
                                     {lineBreak, local.c_str()}}) {
    const Outcome outcome = upload("report.xml", prefix.c_str(), path);
    EXPECT_EQ(outcome.result, 0) << prefix << path;
    EXPECT_NE(outcome.err.find("curl_easy_perform() failed: "), std::string::npos) << prefix;
  }
  EXPECT_EQ(readFile(report), "old");
  EXPECT_EQ(readFile(log), "STOR qivor_upload.part\nSTOR qivor_upload.part\n");
}
