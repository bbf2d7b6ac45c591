#include "support.h"

#include <qiv/files.h>

using support::readFile;
using support::writeFile;

/// Runs netreport with a home and an `ip` tool of the test's own.
struct Netreport : testing::Test {
  Netreport() {
    support::writeScript(dir / "ip", "cat \"" + dir.getPath() + "/$1$2$3\" 2>/dev/null; true");
    support::writeScript(dir / "ping", "test \"$5\" != down");
    writeFile(dir / "rshowdefault", "default via 10.0.0.1 dev eth0\n");
    writeFile(dir / "a", "2: eth0: <UP> mtu 1\n    link/ether 00:11:22:33:44:55 x\n"
                         "    inet 10.0.0.5/8 x\n    inet 10.0.0.6/8 x\n");
  }

  /// In the foreground a time limit passes a signal on once; else it would do so twice.
  cross::Popen run(const std::string& arguments) {
    const std::string command = "cd " + dir.getPath() + "; HOME=$PWD PATH=$PWD:$PATH ";
    return cross::Popen(
        (command + "timeout --foreground 60 " NETREPORT " " + arguments + " 2>err").c_str());
  }

  const support::TempDir dir;
};

TEST_F(Netreport, ShowsLogsAndWritesWhatItFound) {
  const std::string output = run("--html page.html").output;
  EXPECT_EQ(output.rfind("Index  Name  MAC                Address / mask        Gateway\n"
                         "2      eth0  00:11:22:33:44:55  10.0.0.5 / 255.0.0.0  10.0.0.1\n"
                         "                                10.0.0.6 / 255.0.0.0\n\n"
                         "Has an interface: yes\nHas an address: yes\n"
                         "ping 10.0.0.1: answers\nReport: ",
                         0),
            0U)
      << output << readFile(dir / "err");
  const std::size_t log = output.find("\nLog: /") + 6;
  const std::string logged = readFile(output.substr(log, output.size() - log - 1));
  EXPECT_NE(logged.find("10.0.0.6"), std::string::npos);
  EXPECT_NE(readFile(dir / "page.html").find("00:11:22:33:44:55"), std::string::npos);
}

TEST_F(Netreport, RemembersTheLastTenHosts) {
  for (int host = 0; host < 12; ++host)
    run("--ping h" + std::to_string(host));
  EXPECT_EQ(run("--ping h5 --lang ru").output.find("Номер"), 0U);
  EXPECT_EQ(readFile(dir / ".cache/QivCross/netreport.hosts"), "h2;h3;h4;h6;h7;h8;h9;h10;h11;h5\n");
}

TEST_F(Netreport, ExitStatusTellsWhatFailed) {
  for (const char* arguments : {"--lang ru", "--help", "--version"})
    EXPECT_EQ(run(arguments).exitCode, 0) << arguments;
  EXPECT_EQ(run("--ping down").exitCode, 1);
  for (const char* arguments : {"--lang fr", "--ping", "--ping ''", "--nonsense", "extra"})
    EXPECT_EQ(run(arguments).exitCode, 2) << arguments;
  writeFile(dir / "rshowdefault", "");
  writeFile(dir / "r", "10.0.0.0/8 dev eth0 linkdown\n");
  EXPECT_EQ(run("--lang ru").exitCode, 1);
  EXPECT_NE(readFile(dir / "err").find("Сетевые интерфейсы не обнаружены\n"), std::string::npos);
}

TEST_F(Netreport, WatchesUntilInterrupted) {
  writeFile(dir / "wait", "while ! grep -q \"$1\" out && kill -0 $2; do sleep .1; done");
  const cross::Popen watched = run("--watch >out & sh wait 'Running for 00:00:0' $!; "
                                   "sed -i s/10.0.0.5/10.9.9.9/ a; sh wait 10.9.9.9 $!; "
                                   "kill -INT $!; wait; cat out");
  EXPECT_NE(watched.output.find("10.9.9.9"), std::string::npos) << readFile(dir / "err");
  EXPECT_NE(watched.output.find("\nLog: /"), std::string::npos) << "it must end in order";
}
