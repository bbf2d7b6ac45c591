#include "qiv/net.h"

#include "qiv/text.h"
#include "support.h"

#include <arpa/inet.h>
#include <random>
#include <sched.h>

using namespace Qiv;
using namespace Qiv::Net;
using namespace support;

namespace {

using Ip4 = NetAddr<4, '.'>;
using Ip6 = NetAddr<16, ':'>;
using Mac = NetAddr<6, ':'>;
static_assert(std::is_trivially_copyable_v<Mac> && sizeof(Mac) == 6 && sizeof(Ip6) == 16);

TEST(StrictParser, ReadsEveryTextAsInetPton) {
  for (const std::string prefix :
       {"", "1.2.3.", "1.2.3.2", "::fff", "1:2:3:4:5:6:", "1:2:3:4:5:6:7:", "1::3:4:5:6:7",
        "1:2:3:4:5:6:7:8", "::1.2.3.", "1:2:3:4:5:6:1.2.3.", "1:2:3:4:5:6:7:1.2.3.",
        "1:2:3:4:5:6:7::1.2.3.", "1:2:3:4:5:6:7:8:1.2.3."})
    everyText(prefix, "0123456789abcdefABCDEF:.g ", rounds(3, 4), [](const std::string& text) {
      unsigned char ours[20] = {7, 7}, others[20] = {7, 7}; // a rejected text leaves them alone
      const bool ip6 = inet_pton(AF_INET6, text.c_str(), others) == 1;
      const bool ip4 = inet_pton(AF_INET, text.c_str(), others + 16) == 1;
      EXPECT_EQ(ip6ToBytes(text.c_str(), ours), ip6) << text;
      EXPECT_EQ(ip4ToBytes(text.c_str(), ours + 16), ip4) << text;
      EXPECT_TRUE(std::equal(ours, ours + 20, others)) << text;
    });
  EXPECT_EQ(Ip6("00001::000ffff"), Ip6("1::ffff")) << "inet_pton limits leading zeros";
  const char* const none = nullptr;
  EXPECT_TRUE(Ip4(none) == Ip4() && Ip6(none) == Ip6("12345::"));
  EXPECT_THROW(Mac{none}, std::logic_error);
}

TEST(Addresses, AreReadLenientlyAndPrintedInNativeOrder) {
  expectRows("010.1.1.1 10.1.1.1  1.2.3 1.2.3.0  1.2.3.4. 1.2.3.4  1..2.3 1.0.2.3  _1.2.3 1.2.3.0 "
             "300.1.1.1 44.1.1.1  1:2.3.4 1.0.0.0  -1.+2.x.4 255.2.0.0  _ 0.0.0.0",
             [](auto& text) { return Ip4(text).to_string(); });
  expectRows("fe80::1:0x1ffff-2 80fe::100:ffff:feff:0:0:0  1 100::",
             [](auto& text) { return Ip6(text).to_string(); });
  expectRows("00:1a-2B:3c:4d:5e 00-1A-2B-3C-4D-5E  0x1:101:z 01-01-00-00-00-00",
             [](auto& text) { return Mac(text.c_str()).to_string('-'); });
  expectRows(":: ::  100:0:200::300 1::2:0:0:0:0:3  1:2:3:4:5:6:7:0 100:200:300:400:500:600:700: "
             "::ffff:192.168.0.1 ::ffff:192.168.0.1  ::ffff:0:1.2.3.4 ::ffff:0:1.2.3.4 "
             "6400:9bff::1:1 64:ff9b::100:100  2001:db8::1 120:b80d::100 "
             "1af:1af:1af:1af:1af:1af:1af:1af af01:af01:af01:af01:af01:af01:af01:af01",
             [](auto& text) { return Ip6(text.c_str()).to_string(); });
  const unsigned char bytes[] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFA, 9, 99, 100, 255};
  EXPECT_EQ(ipv6_to_string(bytes, 15), "::ffff:9fa") << "nothing is read behind";
  EXPECT_EQ(ipv4_to_string(bytes + 12, 5, ' '), "250 9 99 100 255");
  EXPECT_EQ(ipv4_to_string(bytes, 0, '.') + mac_to_string_hex(bytes, 0, '-'), "");
  for (int i = 0; i < 256; ++i) {
    const auto byte = static_cast<unsigned char>(i);
    const unsigned char three[] = {byte, 7, byte};
    EXPECT_EQ(mac_to_string_hex(three, 3, '-'), StringHelper::formatC("%02X-%02X-%02X", i, 7, i));
    EXPECT_EQ(ipv4_to_string(three, 3, ' '), StringHelper::formatC("%d %d %d", i, 7, i));
  }
  EXPECT_TRUE(Ip4("9.0.0.0") < Ip4("10.0.0.0") && Ip4("9.0.0.0") != Ip4("9.0.0.1"));
}

TEST(IPv4Subnet, WantsBothDirections) {
  const IPv4Subnet first(0xC0A80100, 0xFFFFFF00), last(Ip4("192.168.1.255"), 0xFFFFFF00);
  const IPv4Subnet wide(Ip4("10.0.0.1"), 0xFF000000), narrow(Ip4("10.1.0.1"), Ip4("255.255.0.0"));
  const IPv4Subnet near(Ip4("10.1.0.2"), 0xFF000000);
  EXPECT_TRUE(first.inSameSubnet(last) && last.inSameSubnet(first) && near.inSameSubnet(narrow));
  EXPECT_FALSE(wide.inSameSubnet(narrow) || narrow.inSameSubnet(wide));
  EXPECT_EQ(Ip4(narrow), Ip4("10.1.0.1"));
}

TEST(FreeMac, FillsTheFirstGap) {
  std::set<unsigned long> gap = {5, 6, 8}, above = {6, 7}, below = {1, 2},
                          wide = {1UL << 56, 9UL << 56};
  EXPECT_EQ(getFirstFreeMac(gap, 5).to_string(), "00:00:00:00:00:07");
  EXPECT_EQ(getFirstFreeMac(above, 5).to_string(), "00:00:00:00:00:05");
  EXPECT_EQ(getFirstFreeMac(below, 5).to_string(), "00:00:00:00:00:05");
  EXPECT_EQ(getFirstFreeMac(wide, 0x0102030405060708).to_string(), "03:04:05:06:07:09");
}

TEST(Ipv4Text, ReadsUpToFourParts) {
  expectRows(
      "1.2.3.4.5 16909060  10.1 2561  1-2:3_4 16909060  300.300.300.300 757935404  ~ 0  .. 0 "
      "1.2.3.4/24 0  _1 1  4.0x 0  1.2.3.4.a 16909060",
      [](auto& text) { return std::to_string(ipv4_str_to_addr(text)); });
  EXPECT_THROW(ipv4_str_to_addr("1.a.2.3"), std::invalid_argument);
  EXPECT_THROW(ipv4_str_to_addr("4294967296"), std::out_of_range);
  EXPECT_TRUE(same_ipv4_segment("192.168.1.5", "255.255.255.0", "192.168.1.200", "255.255.255.0"));
  EXPECT_FALSE(same_ipv4_segment("192.168.1.5", "255.255.0.0", "192.168.1.200", "255.255.255.0"));
  expectRows("0 255.255.255.255  1 128.0.0.0  24 255.255.255.0  33 128.0.0.0",
             [](auto& text) { return masklen_to_maskstring(std::stoul(text)); });
  for (unsigned int length = 1; length <= 32; ++length)
    EXPECT_EQ(maskstring_to_masklen(masklen_to_maskstring(length)), length);
  EXPECT_TRUE(maskstring_to_masklen("0.0.0.0") == 0 && maskstring_to_masklen("255.0.255.0") == 8);
}

TEST(Checksum, AddsWordsAndTheOddByte) {
  std::vector<unsigned short> words(3 << 19, 0xFFFF);
  std::generate_n(words.begin(), 150, std::mt19937());
  const auto* const bytes = reinterpret_cast<const unsigned char*>(words.data());
  for (int length = -1; length <= 3 << 20; length += length < 300 ? 1 : 300007) {
    unsigned long sum = 0;
    for (int i = 0; i < length; ++i)
      sum += static_cast<unsigned long>(bytes[i]) << i % 2 * 8;
    sum = (sum & 0xFFFF) + (sum >> 16);
    EXPECT_EQ(_checksum(words.data(), length), 0xFFFF & ~(sum + (sum >> 16))) << length;
  }
}

/// "index name mac gateway address/mask ...;" of each interface and the flags, or what is thrown.
std::string discovered() {
  try {
    const NetworkInterfaces list = NetworkHelper::getNetworkInterfaces();
    std::string text = list.hasAddress ? "A " : list.hasInterface ? "I " : "";
    for (const NetworkInterface& net : list.interfaces) {
      text += std::to_string(net.index) + " " + net.caption + " " + net.mac + " " + net.gateway;
      for (const NetworkAddr& address : net.addresses)
        text += " " + address.address + "/" + address.mask;
      text += ";";
    }
    return text;
  } catch (const char* text) {
    return std::string("literal: ") + text;
  } catch (const std::string& text) {
    return "text: " + text;
  }
}

/// Has tools of its own in front of those of the machine.
struct FakeIp : testing::Test {
  FakeIp() {
    lng::language = 0;
    writeScript(dir / "ip", printer);
  }

  const TempDir dir;
  const PathPrefix path{dir.getPath()};
  /// Prints the file named as the arguments, nothing when there is none.
  const std::string printer = "exec cat '" + dir.getPath() + "'/\"$*\" 2>/dev/null";
};

constexpr const char* listing =
    "1: lo: <LOOPBACK,UP,LOWER_UP> mtu 65536\n    inet 127.0.0.1/8 scope host lo\n"
    "2: eth0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 qdisc noqueue state UP\n"
    "    link/ether 00:1a:2b:3c:4d:5e brd ff:ff:ff:ff:ff:ff\n"
    "    inet 192.168.1.5/24 brd 192.168.1.255 scope global eth0\n"
    "    inet 10.0.0.5/8 scope global secondary eth0\n    inet6 fe80::1/64 scope link\n"
    "7: wlan0: <BROADCAST,MULTICAST> mtu 1500\n    link/ether 00:1a:2b:3c brd ff:ff\n";

TEST_F(FakeIp, MayDoAnythingAndLeavesNothingBehind) {
  const std::string e = "2: e: x\n", two = "1: a: x\n" + e, long32(32, '1');
  const std::string down = "10.0.0.0/8 dev e linkdown\n";
  const struct {
    std::string name, addresses, expected, defaultRoute = "", routes = "", tool = "";
  } rows[] = {
      {"a machine", listing,
       "A 2 eth0 00:1a:2b:3c:4d:5e 192.168.1.1 192.168.1.5/255.255.255.0 10.0.0.5/255.0.0.0;"
       "7 wlan0  ;",
       "default via 192.168.1.1 dev eth0 proto dhcp\n"},
      {"only lo", "1: lo: x\n    inet 127.0.0.1/8\n", ""},
      {"second via and dev", e, "I 2 e  1.1.1.1;", "via 1.1.11 via 1.1.1.1 dev , dev e"},
      {"gateway in line 2", e, "I 2 e  ;", "\ndefault via 10.0.0.1 dev e"},
      {"32 characters", two, "I 1 a  ;2 e  " + long32 + ";", "via " + long32 + " dev e"},
      {"33 go first", two, "I 2 e  1" + long32 + ";1 a  ;", "via 1" + long32 + " dev e"},
      {"huge numbers", "99999999999999999999: e: x\n    inet 1.2.3.4/99999999999999999999 \n",
       "A -1 e   1.2.3.4/255.255.255.254;"},
      {"no length", e + "    inet 1.2.3.4/\n    inet 1.2.3.4\n    inet",
       "A 2 e   1.2.3.4/255.255.255.255;"},
      {"CR LF", "2: e: x\r\n    inet 1.2.3.4/24\r\n", "A 2 e   1.2.3.4/255.255.255.0;"},
      {"NUL", "    inet 9.9.9.9/9\n" + e + std::string("\0007: x: y\n", 9), "I 2 e  ;"},
      {"odd names", "2: a: b: c\n2: e\n3:: \n: x: y\n5 d: e: x\n-4: f: \n", "I 2 a: b  ;-4 f  ;"},
      {"megabytes", e + "    link/ether " + std::string(3000000, 'g') + "\n::::", "I 2 e  ;"},
      {"no interfaces", "", "literal: Network interfaces not found", "", down},
      {"all off", "2: e: <CAST>\n", "literal: No ethernet adapters enabled or network is disabled",
       "", down},
      {"flags that last until the last line",
       "1: d: <UP,CAST>\n2: e: <A,U,UP,CAST> 4 5 6 7 state UP\n3: f: <CAST> 4 5 6 7 state DOWN\n4: "
       "g: <CAST>\n",
       "text: d: ethernet adapter or network is disabled\ne: no IP address\nf: No ethernet "
       "link\ng: No ethernet link\n",
       "", down},
      {"one route is up", e, "I 2 e  ;", "", down + "10.0.0.0/8 dev f\n"},
      {"gateway down", e, "I 2 e  10.0.0.1;", "default via 10.0.0.1 dev e linkdown\n", down},
      {"hangs up", "", "", "", "", "exec >&- 2>&-; sleep .01"},
      {"dies", "", "I 2 e  ;", "", "", "echo '2: e: x'; kill -9 $$"},
      {"complains", "", "text:  ip r show default: broken\n", "", "", "echo broken >&2"},
      {"is missing", "", "", "", "", "none"}};
  std::size_t call = 0;
  expectNothingLeft("discovery, ping, set169ip; 21 kinds of tool", rounds(200, 2000), [&] {
    const auto& [name, addresses, expected, defaultRoute, routes, tool] =
        rows[call++ % std::size(rows)];
    writeFile(dir / "r show default", defaultRoute);
    writeFile(dir / "r", routes);
    writeFile(dir / "a", addresses);
    for (const char* program : {"ip", "ping"})
      writeScript(dir / program, tool.empty() ? printer : tool);
    const PathPrefix restored(dir.getPath());
    if (tool == "none")
      setenv("PATH", "/no/such", 1);
    EXPECT_EQ(discovered(), expected) << name;
    pingLinux("10.0.0.1", 1);
    try {
      set169ip();
    } catch (const std::string&) {
    }
  });
  lng::language = 1;
  EXPECT_STREQ(ethsNotFound(), "Сетевые интерфейсы не обнаружены");
  EXPECT_STREQ(networkAdaptersOff(), "Сетевые адаптеры или поддержка сети отключены");
  EXPECT_STREQ(networkAdapterOff(), "сетевой адаптер или поддержка сети отключены");
  EXPECT_STREQ(cableNotPlug(), "Сетевой кабель не подключен");
  EXPECT_STREQ(noIpAddr(), "IP адрес не задан");
}

TEST_F(FakeIp, AnswersTheHelper) {
  writeFile(dir / "a", listing);
  EXPECT_FALSE(getNetworkInterfacesLinux().hasAddress || getNetworkInterfacesLinux().hasInterface);
  EXPECT_EQ(NetworkHelper::getFirstMacAddress(), Mac("00:1a:2b:3c:4d:5e"));
  const Ip4 ip("192.168.1.77"), mask("255.255.255.0");
  for (const std::string name : {"eth0", "eth", "wlan0"})
    EXPECT_EQ(NetworkHelper::accessibleViaInterface(name, ip, mask), name == "eth0");
  EXPECT_EQ(NetworkHelper::getAccessibleInterface(ip, mask), "eth0");
  EXPECT_EQ(NetworkHelper::getAccessibleInterface(Ip4("10.1.2.3"), Ip4("255.255.0.0")), "");
  writeFile(dir / "a", "");
  EXPECT_EQ(NetworkHelper::getFirstMacAddress(), Mac());
}

TEST(RealNetwork, IsDiagnosedFoundAndPinged) {
  const auto run = [](const char* command) { EXPECT_EQ(std::system(command), 0) << command; };
  lng::language = 0;
  if (unshare(CLONE_NEWNET) != 0)
    GTEST_SKIP() << "needs root for a network namespace";
  run("ip link set lo up && ip link add v0 type veth peer name v1 && ip link set v0 up &&"
      "ip addr add 10.9.0.1/24 dev v0");
  EXPECT_EQ(discovered(), "text: v1@v0: ethernet adapter or network is disabled\n"
                          "v0@v1: No ethernet link\n");
  EXPECT_THROW(set169ip(), std::string) << "there is no eth2";
  run("ip link add eth2 type bridge");
  set169ip();
  run("ip link add br0 type bridge && ip link set br0 address 02:00:00:00:00:01 &&"
      "ip link set v0 master br0 && ip link set v1 up && ip link set br0 up &&"
      "ip addr add 192.168.7.5/24 dev br0 && ip route add default via 192.168.7.1");
  for (const char* part : {" br0 02:00:00:00:00:01 192.168.7.1 192.168.7.5/255.255.255.0;",
                           " 169.254.0.22/255.255.255.0;"})
    EXPECT_NE(discovered().find(part), std::string::npos) << discovered();
  if (std::system("command -v ping >/dev/null") != 0)
    GTEST_SKIP() << "needs ping";
  EXPECT_TRUE(pingLinux("127.0.0.1", 1) && pingLinux("::1", 1));
  EXPECT_FALSE(NetworkHelper::ping("2001:db8::1", 1));
}

TEST_F(FakeIp, StandsBesideAPingOfOnePlainCommand) {
  writeScript(dir / "ping", "echo \"$*\" >> '" + (dir / "log") + "'; test \"$5\" != down");
  EXPECT_TRUE(pingLinux("10.0.0.1", 2) && pingLinux("fe80::1%eth_0-x", 0));
  EXPECT_FALSE(pingLinux("down", 4294967295U));
  for (const std::string host : {"", "-f", "a b", "$(reboot)", "a;b", "a\nb", "a>b", "хост", "a/b"})
    EXPECT_FALSE(pingLinux(host, 1)) << host;
  EXPECT_FALSE(pingLinux(std::string("a\0b", 3), 1));
  EXPECT_EQ(readFile(dir / "log"),
            "-c 1 -W 2 10.0.0.1\n-c 1 -W 0 fe80::1%eth_0-x\n-c 1 -W 4294967295 down\n");
}

} // namespace
