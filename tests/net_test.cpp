#include "qiv/net.h"

#include "support.h"

#include <arpa/inet.h>
#include <cstring>
#include <random>
#include <regex>
#include <sched.h>
#include <sstream>
#include <stdexcept>

using namespace Qiv;
using namespace Qiv::Net;
using namespace support;

namespace {

using Ip4 = NetAddr<4, '.'>;
using Ip6 = NetAddr<16, ':'>;
using Mac = NetAddr<6, ':'>;
using Parser = bool (*)(const char*, unsigned char*);
static_assert(std::is_trivially_copyable_v<Mac> && sizeof(Mac) == 6 && sizeof(Ip6) == 16);

TEST(StrictParser, AgreesWithInetPton) {
  std::istringstream fixed(
      ":: ::ffff:1.2.3.4 1: :1 1:::2 1::2::3 1:2:3:4:5:6:7 1:2:3:4:5:6:7:8 1:2:3:4:5:6:7::8 "
      "1:2:3:4:5:6:7:8:: 1:2:3:4:5:6:7:8:9 1:2:3:4:5:6:1.2.3.4 1:2:3:4:5:6:7:1.2.3.4 "
      "1:2:3:4:5:6:7::1.2.3.4 1:2:3:4:5:6:7:8:1.2.3.4");
  const std::vector<const char*> pieces[] = {
      {"0", "1", "25", "5", ".", ".", "01", " ", "256"},
      // No group with leading zeros: inet_pton limits their number.
      {":", "1:", "aB:", "fe80:", "0:", "12:", "9", "1.2.3.4", "ffff", "g", "7:", "C:", "de:"}};
  std::mt19937 random(1);
  int accepted = 0;
  for (int i = 0; i < 200000; ++i) {
    std::string text;
    if (!(fixed >> text))
      for (unsigned int count = random() % 16; count > 0; --count)
        text += pieces[i % 2][random() % pieces[i % 2].size()];
    for (const int family : {AF_INET, AF_INET6}) {
      unsigned char bytes[2][16];
      std::memset(bytes, 0xEE, sizeof bytes); // a rejected text leaves them alone
      const bool valid = inet_pton(family, text.c_str(), bytes[0]) == 1;
      const auto parse = family == AF_INET ? Parser(ip4ToBytes) : Parser(ip6ToBytes);
      EXPECT_EQ(parse(text.c_str(), bytes[1]), valid) << text;
      EXPECT_EQ(std::memcmp(bytes[0], bytes[1], 16), 0) << text;
      accepted += valid;
    }
  }
  EXPECT_GT(accepted, 1000);
  EXPECT_EQ(Ip6("00001::000ffff"), Ip6("1::ffff"));
  const char* const none = nullptr;
  EXPECT_TRUE(Ip4(none) == Ip4() && Ip6(none) == Ip6("12345::"));
  EXPECT_THROW(Mac{none}, std::logic_error);
}

TEST(LenientParser, NeverFails) {
  const std::pair<const char*, const char*> rows[] = {
      {"010.1.1.1", "10.1.1.1"}, {"1.2.3", "1.2.3.0"},       {"1.2.3.4.", "1.2.3.4"},
      {"1..2.3", "1.0.2.3"},     {" 1.2.3.4", "1.2.3.4"},    {"300.1.1.1", "44.1.1.1"},
      {"1:2.3.4", "1.0.0.0"},    {"-1.+2.x.4", "255.2.0.0"}, {"", "0.0.0.0"}};
  for (const auto& [text, expected] : rows) {
    EXPECT_EQ(Ip4(text), Ip4()) << text;
    EXPECT_EQ(Ip4(std::string(text)).to_string(), expected) << text;
  }
  EXPECT_EQ(Ip6(std::string("fe80::1:0x1ffff-2")), Ip6("fe80:0:1:ffff:fffe::"));
  EXPECT_EQ(Mac("00:1a-2B:3c:4d:5e").to_string(), "00:1A:2B:3C:4D:5E");
  EXPECT_EQ(Mac(std::string("0x1:101:z")).to_string('-'), "01-01-00-00-00-00");
}

TEST(Formatter, PrintsIp6InNativeOrderAndJoinsAnyCount) {
  const std::pair<std::vector<unsigned short>, const char*> rows[] = {
      {{0, 0, 0, 0, 0, 0, 0, 0}, "::"},
      {{1, 0, 2, 0, 0, 0, 0, 3}, "1::2:0:0:0:0:3"},
      {{1, 2, 3, 4, 5, 6, 7, 0}, "1:2:3:4:5:6:7:"},
      {{0, 0, 0, 0, 0, 0xFFFF, 0xA8C0, 0x0100}, "::ffff:192.168.0.1"},
      {{0, 0, 0, 0, 0xFFFF, 0, 0x0201, 0x0403}, "::ffff:0:1.2.3.4"},
      {{0x64, 0xFF9B, 0, 0, 0, 0, 1, 1}, "64:ff9b::1:1"},
      {{0, 0, 0, 0, 0, 0xFFFF, 1}, "::ffff:1"}}; // what would be read behind it is not there
  for (const auto& [groups, text] : rows) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(groups.data());
    EXPECT_EQ(ipv6_to_string(bytes, 2 * groups.size()), text);
  }
  EXPECT_EQ(Ip6("2001:db8::1").to_string(), "120:b80d::100");
  const unsigned char bytes[] = {0xAA, 9, 99, 100, 255, 0, 7};
  EXPECT_EQ(ipv6_to_string(bytes, 7), "9aa:6463:ff");
  EXPECT_EQ(ipv4_to_string(bytes, 7, ' '), "170 9 99 100 255 0 7");
  EXPECT_EQ(ipv4_to_string(bytes, 0, '.') + mac_to_string_hex(bytes, 2, '-'), "AA-09");
  EXPECT_TRUE(Ip4("9.0.0.0") < Ip4("10.0.0.0") && Ip4("9.0.0.0") != Ip4("9.0.0.1"));
}

TEST(IPv4Subnet, WantsBothDirections) {
  const IPv4Subnet first(0xC0A80100, 0xFFFFFF00), last(Ip4("192.168.1.255"), 0xFFFFFF00);
  const IPv4Subnet wide(Ip4("10.0.0.1"), 0xFF000000), narrow(Ip4("10.1.0.1"), Ip4("255.255.0.0"));
  EXPECT_TRUE(first.inSameSubnet(last) && last.inSameSubnet(first));
  EXPECT_FALSE(wide.inSameSubnet(narrow) || narrow.inSameSubnet(wide));
  EXPECT_FALSE(IPv4Subnet(Ip4("10.2.0.0"), 0xFF000000).inSameSubnet(narrow));
  EXPECT_TRUE(IPv4Subnet(Ip4("10.1.0.2"), 0xFF000000).inSameSubnet(narrow));
  EXPECT_EQ(Ip4(narrow), Ip4("10.1.0.1"));
}

TEST(FreeMac, FillsTheFirstGap) {
  const auto firstFree = [](std::set<unsigned long> used, unsigned long start) {
    return getFirstFreeMac(used, start).to_string();
  };
  EXPECT_EQ(firstFree({6, 7}, 5), "00:00:00:00:00:05");
  EXPECT_EQ(firstFree({5, 6, 8}, 5), "00:00:00:00:00:07");
  EXPECT_EQ(firstFree({1, 2}, 5), "00:00:00:00:00:05");
  EXPECT_EQ(firstFree({0x1020304050607, 0x102030405060A}, 0x1020304050607), "02:03:04:05:06:08");
}

TEST(Ipv4Text, ReadsUpToFourParts) {
  const std::pair<const char*, unsigned int> rows[] = {
      {"1.2.3.4.5", 0x01020304},       {"10.1", 0x0A01}, {"1-2:3 4", 0x01020304}, {"", 0},
      {"300.300.300.300", 0x2D2D2D2C}, {"..", 0},        {"1.2.3.4/24", 0},       {" 1", 1}};
  for (const auto& [text, expected] : rows)
    EXPECT_EQ(ipv4_str_to_addr(text), expected) << text;
  EXPECT_THROW(ipv4_str_to_addr("1.a.2.3"), std::invalid_argument);
  EXPECT_THROW(ipv4_str_to_addr("4294967296"), std::out_of_range);
  EXPECT_TRUE(same_ipv4_segment("192.168.1.5", "255.255.255.0", "192.168.1.200", "255.255.255.0"));
  EXPECT_FALSE(same_ipv4_segment("192.168.1.5", "255.255.0.0", "192.168.1.200", "255.255.255.0"));
  for (unsigned int length = 1; length <= 32; ++length)
    EXPECT_EQ(maskstring_to_masklen(masklen_to_maskstring(length)), length);
  EXPECT_EQ(masklen_to_maskstring(24) + " " + masklen_to_maskstring(33), "255.255.255.0 128.0.0.0");
  EXPECT_EQ(masklen_to_maskstring(0), "255.255.255.255");
  EXPECT_TRUE(maskstring_to_masklen("0.0.0.0") == 0 && maskstring_to_masklen("255.0.255.0") == 8);
}

TEST(Checksum, AddsWordsAndTheOddByte) {
  unsigned short words[] = {0xFFFF, 0xFFFF, 0x0001, 0xAB02}; // the first three are folded twice
  for (const auto& [length, sum] :
       {std::pair{-1, 0xFFFF}, {0, 0xFFFF}, {1, 0xFF00}, {6, 0xFFFE}, {7, 0xFFFC}, {8, 0x54FC}})
    EXPECT_EQ(_checksum(words, length), sum) << length;
}

/// "index name mac gateway address/mask ...;" of each interface, or what is thrown, by its type.
std::string discovered() {
  try {
    std::string text;
    for (const NetworkInterface& net : getNetworkInterfacesLinux().interfaces) {
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

/// Has an `ip` that prints the file named as its arguments, nothing when there is none.
struct FakeIp : testing::Test {
  FakeIp() {
    lng::language = 0;
    writeScript(dir / "ip", "cat \"${0%/*}/$*\" 2>/dev/null");
  }

  const TempDir dir;
  const PathPrefix path{dir.getPath()};
};

constexpr const char* listing =
    "1: lo: <LOOPBACK,UP,LOWER_UP> mtu 65536\n    inet 127.0.0.1/8 scope host lo\n"
    "2: eth0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 qdisc noqueue state UP\n"
    "    link/ether 00:1a:2b:3c:4d:5e brd ff:ff:ff:ff:ff:ff\n"
    "    inet 192.168.1.5/24 brd 192.168.1.255 scope global eth0\n"
    "    inet 10.0.0.5/8 scope global secondary eth0\n    inet6 fe80::1/64 scope link\n"
    "7: wlan0: <BROADCAST,MULTICAST> mtu 1500\n    link/ether 00:1a:2b:3c brd ff:ff\n";

TEST_F(FakeIp, MayPrintAnything) {
  const std::string head = "2: e: x\n", two = "1: a: x\n" + head, long32(32, '1');
  const std::array<std::string, 4> rows[] = {
      {"a machine", "default via 192.168.1.1 dev eth0 proto dhcp\n", listing,
       "2 eth0 00:1a:2b:3c:4d:5e 192.168.1.1 192.168.1.5/255.255.255.0 10.0.0.5/255.0.0.0;"
       "7 wlan0  ;"},
      {"second via and dev", "via 1.1.11 via 1.1.1.1 dev , dev e", head, "2 e  1.1.1.1;"},
      {"gateway in line 2", "\ndefault via 10.0.0.1 dev e", head, "2 e  ;"},
      {"32 characters", "via " + long32 + " dev e", two, "1 a  ;2 e  " + long32 + ";"},
      {"33 go first", "via 1" + long32 + " dev e", two, "2 e  1" + long32 + ";1 a  ;"},
      {"huge numbers", "", "99999999999999999999: e: x\n    inet 1.2.3.4/99999999999999999999 \n",
       "-1 e   1.2.3.4/255.255.255.254;"},
      {"no length", "", head + "    inet 1.2.3.4/\n    inet 1.2.3.4\n    inet",
       "2 e   1.2.3.4/255.255.255.255;"},
      {"CR LF", "", "2: e: x\r\n    inet 1.2.3.4/24\r\n", "2 e   1.2.3.4/255.255.255.0;"},
      {"NUL", "", "    inet 9.9.9.9/9\n" + head + std::string("\0007: x: y\n", 9), "2 e  ;"},
      {"odd names", "", "2: a: b: c\n2: e\n3:: \n: x: y\n5 d: e: x\n-4: f: \n", "2 a: b  ;-4 f  ;"},
      {"megabytes", "", head + "    link/ether " + std::string(3000000, 'g') + "\n::::", "2 e  ;"},
  };
  for (const auto& [name, route, addresses, expected] : rows) {
    writeFile(dir / "r show default", route);
    writeFile(dir / "a", addresses);
    EXPECT_EQ(discovered(), expected) << name;
  }
  writeScript(dir / "ip", "echo broken >&2");
  EXPECT_EQ(discovered(), "text:  ip r show default: broken\n");
  setenv("PATH", "/no/such", 1);
  EXPECT_EQ(discovered(), "") << "no `ip` at all";
}

TEST_F(FakeIp, AnswersTheHelperAndLeavesNoDescriptor) {
  writeFile(dir / "a", listing);
  const NetworkInterfaces list = NetworkHelper::getNetworkInterfaces();
  EXPECT_TRUE(list.hasAddress && list.hasInterface);
  EXPECT_FALSE(getNetworkInterfacesLinux().hasAddress || getNetworkInterfacesLinux().hasInterface);
  EXPECT_EQ(NetworkHelper::getFirstMacAddress(), Mac("00:1a:2b:3c:4d:5e"));
  const Ip4 ip("192.168.1.77"), mask("255.255.255.0");
  for (const std::string name : {"eth0", "eth", "wlan0"})
    EXPECT_EQ(NetworkHelper::accessibleViaInterface(name, ip, mask), name == "eth0");
  EXPECT_EQ(NetworkHelper::getAccessibleInterface(ip, mask), "eth0");
  EXPECT_EQ(NetworkHelper::getAccessibleInterface(Ip4("10.1.2.3"), Ip4("255.255.0.0")), "");
  writeFile(dir / "a", "3: eth3: <UP> mtu 1\n");
  const NetworkInterfaces bare = NetworkHelper::getNetworkInterfaces();
  EXPECT_TRUE(!bare.hasAddress && bare.hasInterface);
  writeFile(dir / "a", "1: lo: <UP> mtu 1\n    inet 127.0.0.1/8\n");
  EXPECT_EQ(NetworkHelper::getFirstMacAddress(), Mac());
  expectNoDescriptorLeft(1000, [] { getNetworkInterfacesLinux(); });
}

TEST_F(FakeIp, DiagnosesADeadNetwork) {
  const std::array<const char*, 4> rows[] = {
      {"Network interfaces not found", "Сетевые интерфейсы не обнаружены", "", "literal: %"},
      {"No ethernet adapters enabled or network is disabled",
       "Сетевые адаптеры или поддержка сети отключены", "2: e: <CAST>\n", "literal: %"},
      {"No ethernet link", "Сетевой кабель не подключен", // flags last until the last line
       "2: e: <A,UP,CAST> 4 5 6 7 state DOWN\n3: f: <CAST>\n", "text: e: %\nf: %\n"},
      {"no IP address", "IP адрес не задан", "2: e: <A,U,UP,CAST> 4 5 6 7 state UP\n",
       "text: e: %\n"},
      {"ethernet adapter or network is disabled", "сетевой адаптер или поддержка сети отключены",
       "2: e: <UP,CAST>\n", "text: e: %\n"}};
  const std::string down = "10.0.0.0/8 dev e linkdown\n";
  writeFile(dir / "r", down);
  for (const auto& [english, russian, addresses, expected] : rows)
    for (const char* text : {english, russian}) {
      lng::language = text == russian;
      writeFile(dir / "a", addresses);
      EXPECT_EQ(std::regex_replace(discovered(), std::regex(text), "%"), expected) << english;
    }
  writeFile(dir / "r", down + "10.0.0.0/8 dev f\n");
  EXPECT_EQ(discovered(), "2 e  ;");
  writeFile(dir / "r", down);
  writeFile(dir / "r show default", "default via 10.0.0.1 dev e linkdown\n");
  EXPECT_EQ(discovered(), "2 e  10.0.0.1;");
}

TEST(RealNetwork, IsDiagnosedFoundAndPinged) {
  const auto run = [](const char* command) { EXPECT_EQ(std::system(command), 0) << command; };
  lng::language = 0;
  if (unshare(CLONE_NEWNET) != 0)
    GTEST_SKIP() << "needs root for a network namespace";
  run("ip link set lo up && ip link add v0 type veth peer name v1 && ip link set v0 up");
  run("ip addr add 10.9.0.1/24 dev v0");
  EXPECT_EQ(discovered(), "text: v1@v0: ethernet adapter or network is disabled\n"
                          "v0@v1: No ethernet link\n");
  EXPECT_THROW(set169ip(), std::string) << "there is no eth2";
  run("ip link add eth2 type bridge");
  set169ip();
  run("ip link add br0 type bridge && ip link set br0 address 02:00:00:00:00:01");
  run("ip link set v0 master br0 && ip link set v1 up && ip link set br0 up");
  run("ip addr add 192.168.7.5/24 dev br0 && ip route add default via 192.168.7.1");
  for (const char* part : {" br0 02:00:00:00:00:01 192.168.7.1 192.168.7.5/255.255.255.0;",
                           " 169.254.0.22/255.255.255.0;"})
    EXPECT_NE(discovered().find(part), std::string::npos) << discovered();
  EXPECT_EQ(NetworkHelper::getAccessibleInterface(Ip4("192.168.7.9"), Ip4("255.255.255.0")), "br0");
  if (std::system("command -v ping >/dev/null") != 0)
    GTEST_SKIP() << "needs ping";
  EXPECT_TRUE(pingLinux("127.0.0.1", 1) && pingLinux("::1", 1));
  EXPECT_FALSE(NetworkHelper::ping("2001:db8::1", 1));
}

TEST(Ping, RunsOnePlainCommand) {
  const TempDir dir;
  const PathPrefix path(dir.getPath());
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
