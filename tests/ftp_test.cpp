#include "qiv/net.h"

#include "net/ftp_transfer.h"
#include "net/libcurl.h"
#include "qiv/files.h"
#include "support.h"

#include <arpa/inet.h>
#include <cstring>
#include <future>
#include <sys/stat.h>

using namespace std::string_literals;
using namespace support;
using Qiv::internal::FtpEnd;
using Qiv::internal::FtpRequest;
using Qiv::Net::Web::Client;

/// The words of libcurl, of which every release has its own.
static std::string why(CURLcode code) {
  return std::string(Qiv::internal::Libcurl().easyStrerror(code)) + "\n";
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
    const int result = Client().FTPUpload(remoteName.c_str(), urlPrefix.c_str(), path.c_str());
    const std::string output = testing::internal::GetCapturedStdout();
    return std::to_string(result) + " " + output + testing::internal::GetCapturedStderr();
  }

  /// What the user is shown of a failure of the other upload.
  static std::string failure(const std::string& remoteName, const std::string& urlPrefix,
                             const std::string& path) {
    const Qiv::Result result = Client().upload(remoteName, urlPrefix, path);
    return result ? "" : Qiv::ObjectErrorHelper::toDisplayString({result.getError()}, 0);
  }

  const TempDir folder;
  std::string url;
  const int listener = socket(AF_INET, SOCK_STREAM, 0);
  std::unique_ptr<FILE, int (*)(FILE*)> server{nullptr, pclose};
  const int english = lng::language = 0;
};

/// With a server at the port, for which a Python module is needed.
struct FtpServer : FtpUpload {
  void SetUp() override {
    if (std::system("/usr/bin/python3 -W ignore -c 'import pyftpdlib' 2>/dev/null") != 0)
      GTEST_SKIP() << "needs python3-pyftpdlib";
    serve();
  }
};

TEST_F(FtpUpload, RefusesBeforeConnecting) {
  writeFile("local", "");
  std::filesystem::resize_file("local", 0x100000005);
  EXPECT_EQ(mkfifo("fifo", 0600), 0);
  const std::string size = "0 Local file size: 4294967301 bytes.\n";
  EXPECT_EQ(upload("n\nDELE n", url, "local"),
            size + "FTP upload of 'local' refused: the remote name has a line break\n");
  EXPECT_EQ(upload("n", url, "local"),
            size + "curl_easy_perform() failed: " + why(CURLE_COULDNT_CONNECT));
  EXPECT_EQ(upload("n", url, "none"), "1 Couldn't open 'none': "s + std::strerror(ENOENT) + "\n");
  EXPECT_EQ(upload("n", url, "fifo"), "0 Local file size: 0 bytes.\n"
                                      "FTP upload of 'fifo' refused: it is no regular file\n");
  EXPECT_EQ(failure("n", url, "."), ".: The upload was refused\n* "s + std::strerror(EISDIR));
  EXPECT_EQ(failure("n", "http://x/", "local").find("local: The upload was refused\n* "), 0);
  EXPECT_EQ(Client().FTPUpload("n", nullptr, "local"), 0);
  EXPECT_EQ(failure("n\0"s, url, "local"),
            "local: The upload was refused\n* the remote name or the URL prefix has a NUL");
  lng::language = 1;
  EXPECT_EQ(failure("n", url, "local").find("local: Сбой соединения с сервером\n* "), 0);
}

TEST_F(FtpUpload, IsRefusedWithoutLibcurl) {
  if (!getenv("BROKEN_LIBCURL")) { // once more, where the loader finds this one first
    writeFile("libcurl.so.4", "no library");
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    const std::string command = "BROKEN_LIBCURL=1 LD_LIBRARY_PATH=$PWD '" + self +
                                "' --gtest_filter=FtpUpload.IsRefusedWithoutLibcurl";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return;
  }
  writeFile("local", "");
  const std::string outcome = upload("n", url, "local");
  EXPECT_EQ(outcome.find("0 Local file size: 0 bytes.\nFTP upload of 'local' refused: "), 0);
  EXPECT_NE(outcome.find("libcurl.so.4"), std::string::npos) << outcome;
}

TEST_F(FtpServer, RenamesOnlyWhatIsComplete) {
  writeFile("empty", "");
  writeFile("small", std::string(1234, 'x'));
  writeFile("large", std::string(300000, 'y')); // more than the server's disk holds
  const std::string store = "STOR qivor_upload.part\n";
  const std::string both = store + "RNFR qivor_upload.part\nRNTO report\n";
  const std::string failed = "curl_easy_perform() failed: ";
  const std::array<std::string, 4> rows[] = {
      {"empty", url, "0 Local file size: 0 bytes.\n", both},
      {"small", url, "0 Local file size: 1234 bytes.\n*** We read 1234 bytes from file\n", both},
      {"large", url, failed, store},
      {"/proc/self/maps", url, failed + why(CURLE_PARTIAL_FILE), store}, // its size is 0
      {"small", url + "missing/", failed + why(CURLE_REMOTE_ACCESS_DENIED), ""},
      {"small", url + "hangup/", failed, ""}};
  std::size_t call = 0;
  expectNothingLeft("FTP upload, four of six failing", rounds(60, 10000), [&] {
    const auto& [path, prefix, expected, told] = rows[call++ % std::size(rows)];
    for (const char* const old : {"report", "log"})
      std::filesystem::remove(old);
    const std::string outcome = upload("report", prefix, path);
    EXPECT_NE(outcome.find(expected), std::string::npos) << outcome;
    EXPECT_EQ(readFile("log"), told) << path;
    EXPECT_EQ(readFile("report"), told == both ? readFile(path) : "") << path;
  });
}

TEST_F(FtpServer, RenamesNothingThatChangesMeanwhile) {
  for (const std::uintmax_t changedSize : {0, 100001}) {
    writeFile("local", std::string(100000, 'x'));
    FtpRequest request{"report", url, "local"};
    request.onRead = [&](std::size_t) { std::filesystem::resize_file("local", changedSize); };
    EXPECT_EQ(sendByFtp(request).end, FtpEnd::incomplete) << changedSize;
    EXPECT_FALSE(std::filesystem::exists("report")) << changedSize;
  }
}

TEST_F(FtpServer, MayStopForEver) {
  std::filesystem::create_directory("deaf");
  writeFile("local", "");
  std::filesystem::resize_file("local", 1 << 28); // more than the sockets hold
  FtpRequest request{"report", url + "deaf/", "local", "report.part"};
  request.patience = 1;
  for (const char* const stage : {"while the file is sent", "before the greeting"}) {
    const auto outcome = sendByFtp(request);
    EXPECT_EQ(outcome.end, FtpEnd::noConnection) << stage;
    EXPECT_EQ(outcome.summary + std::string("\n"), why(CURLE_OPERATION_TIMEDOUT)) << stage;
  }
}

TEST_F(FtpServer, TakesManyUploadsAtOnceIntoOneFolder) {
  std::vector<std::future<void>> uploads;
  for (const char name : {'a', 'b', 'c', 'd', 'e', 'f'})
    uploads.push_back(std::async(std::launch::async, [from = std::string(1, name), this] {
      const std::string content(50000, from[0]), to = "to-" + from;
      writeFile(from, content);
      for (int round = 0; round < rounds(5, 300); ++round) {
        EXPECT_TRUE(Client().upload(to, url, from));
        EXPECT_EQ(readFile(to), content);
      }
    }));
}

TEST_F(FtpServer, IsToldToForgetWhatFailed) {
  writeFile("local", std::string(60000, 'x'));
  std::uint64_t last = 0;
  const auto watch = [&](std::uint64_t done, std::uint64_t total) {
    EXPECT_EQ(total, 60000);
    last = done;
    return true;
  };
  EXPECT_TRUE(Client().upload("report", url, "local", watch));
  EXPECT_EQ(last, 60000);

  const auto cancel = [](std::uint64_t done, std::uint64_t) { return done == 0; };
  const Qiv::Result result = Client().upload("cancelled", url, "local", cancel);
  ASSERT_FALSE(result);
  EXPECT_STREQ(result.getError()->getMessage(), "local: The upload was cancelled");
  const auto fail = [](std::uint64_t, std::uint64_t) -> bool { throw std::range_error(""); };
  EXPECT_THROW(Client().upload("thrown", url, "local", fail), std::range_error);
  EXPECT_EQ(failure("no/such", url, "local"),
            "local: The server did not accept the file\n* 550 No such file or directory.");
  EXPECT_EQ(cross::exec("ls"), "local\nlog\nreport");
}
