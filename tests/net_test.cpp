#include "qiv/net.h"

#include "support.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <sched.h>

using namespace Qiv;
using namespace Qiv::Net;
using namespace support;
using namespace std::string_literals;

namespace {

using Ip4 = NetAddr<4, '.'>;
using Ip6 = NetAddr<16, ':'>;
using Mac = NetAddr<6, ':'>;

TEST(Addresses, AreReadLenientlyFromStrings) {
  EXPECT_EQ(Ip4("010.1.1.1"s).to_string(), "10.1.1.1");
  EXPECT_EQ(Ip4("1..300"s).to_string(), "1.0.44.0");
  EXPECT_EQ(Ip4("-1.+2. 3.x"s).to_string(), "255.2.3.0");
  EXPECT_EQ(Ip4("4294967297.0.0.1"s), Ip4("1.0.0.1")) << "cut off, whatever a long holds";
  EXPECT_EQ(Ip6("fe80::1:0x1ffff-2"s).to_string(), "80fe::100:ffff:feff:0:0:0");
  EXPECT_EQ(Mac("0x1:101:z").to_string('-'), "01-01-00-00-00-00");
  EXPECT_THROW(Mac(static_cast<const char*>(nullptr)), std::logic_error);
  unsigned char bytes[18] = {};
  EXPECT_TRUE(ip6ToBytes("1:2:3:4:5:6:7:8:9"s, bytes));
  EXPECT_EQ(bytes[17], 0) << "nine groups, of which eight have room";
}

TEST(Addresses, PrintIpv6GroupsLowByteFirst) {
  EXPECT_EQ(Ip6("2001:db8::1").to_string(), "120:b80d::100");
  for (const char* mapped : {"::ffff:192.168.0.1", "::ffff:0:192.168.0.1"})
    EXPECT_EQ(Ip6(mapped).to_string(), mapped);
  EXPECT_EQ(Ip6("00001::000ffff"), Ip6("1::ffff")) << "inet_pton limits leading zeros";
  EXPECT_EQ(Ip6("10000::"), Ip6());
}

TEST(Addresses, PrintAnyNumberOfBytes) {
  const unsigned char bytes[] = {0, 9, 10, 99, 100, 255};
  EXPECT_EQ(mac_to_string_hex(bytes, 6, '-'), "00-09-0A-63-64-FF");
  EXPECT_EQ(ipv4_to_string(bytes, 6, ' '), "0 9 10 99 100 255");
  EXPECT_EQ(mac_to_string_hex(nullptr, 0, ':'), "");
  EXPECT_EQ(ipv4_to_string(nullptr, 0, '.'), "");
}

TEST(IPv4Subnet, WantsBothDirections) {
  const IPv4Subnet narrow(Ip4("10.1.0.1"), Ip4("255.255.0.0"));
  EXPECT_TRUE(narrow.inSameSubnet(IPv4Subnet(0x0A01FFFF, 0xFF000000)));
  EXPECT_FALSE(narrow.inSameSubnet(IPv4Subnet(Ip4("10.0.0.1"), 0xFF000000)));
  EXPECT_FALSE(IPv4Subnet(Ip4("10.0.0.1"), 0xFF000000).inSameSubnet(narrow));
  EXPECT_TRUE(same_ipv4_segment("192.168.1.5", "255.255.255.0", "192.168.1.200", "255.255.255.0"));
}

TEST(FreeMac, FillsTheFirstGapAboveTheStart) {
  constexpr std::uint64_t start = 0xA1B2C3D4E505;
  std::set<std::uint64_t> used = {start, start + 1, start + 3};
  EXPECT_EQ(getFirstFreeMac(used, start).to_string(), "A1:B2:C3:D4:E5:07");
  EXPECT_EQ(getFirstFreeMac(used, start + 3).to_string(), "A1:B2:C3:D4:E5:08");
}

TEST(Ipv4Number, ReadsUpToFourPartsAndMasks) {
  EXPECT_EQ(ipv4_str_to_addr("1-2:3 4.5"), 0x01020304U);
  EXPECT_EQ(ipv4_str_to_addr("300.300"), 0x12D2CU);
  EXPECT_EQ(ipv4_str_to_addr("1.2.3.4/24"), 0U);
  EXPECT_THROW(ipv4_str_to_addr("1.a.2.3"), std::invalid_argument);
  EXPECT_THROW(ipv4_str_to_addr("4294967296"), std::out_of_range);
  for (unsigned int length = 1; length <= 32; ++length)
    EXPECT_EQ(maskstring_to_masklen(masklen_to_maskstring(length)), length);
  EXPECT_EQ(masklen_to_maskstring(0), "255.255.255.255");
  EXPECT_EQ(masklen_to_maskstring(33), "128.0.0.0");
  EXPECT_EQ(maskstring_to_masklen("0.0.0.0"), 0);
  EXPECT_EQ(maskstring_to_masklen("255.0.255.0"), 8) << "the longest mask not above it";
}

TEST(Checksum, AddsWordsAndTheOddByte) {
  std::vector<unsigned short> words(3 << 19, 0xFFFF);
  std::generate_n(words.begin(), 150, std::mt19937());
  const auto* const bytes = reinterpret_cast<const unsigned char*>(words.data());
  for (int length = -1; length <= 3 << 20; length += length < 300 ? 1 : 300007) {
    std::uint64_t sum = 0;
    for (int i = 0; i < length; i += 2) {
      unsigned short word = 0;
      std::memcpy(&word, bytes + i, i + 1 < length ? 2 : 1);
      sum += word;
    }
    sum = (sum & 0xFFFF) + (sum >> 16);
    EXPECT_EQ(_checksum(words.data(), length), 0xFFFF & ~(sum + (sum >> 16))) << length;
  }
}

/// A line "index caption mac gateway address/mask ..." for each interface, or what is thrown.
std::string discovered() {
  try {
    const NetworkInterfaces list = NetworkHelper::getNetworkInterfaces();
    std::string text;
    for (const NetworkInterface& net : list.interfaces) {
      text += std::to_string(net.index) + " " + net.caption + " " + net.mac + " " + net.gateway;
      for (const NetworkAddr& address : net.addresses)
        text += " " + address.address + "/" + address.mask;
      text += "\n";
    }
    EXPECT_EQ(list.hasAddress, text.find('/') != std::string::npos);
    return text;
  } catch (const char* text) {
    return std::string("literal: ") + text;
  } catch (const std::string& text) {
    return "text: " + text;
  }
}

/// What tryGetNetworkInterfaces tells the user of a failure.
std::string reported() {
  NetworkInterfaces list;
  list.interfaces.resize(2);
  const Result result = NetworkHelper::tryGetNetworkInterfaces(list);
  if (result)
    return "no failure";
  EXPECT_EQ(list.interfaces.size(), 2) << "touched on failure";
  return ObjectErrorHelper::toDisplayString({result.getError()}, 0);
}

/// Has `ip` and `ping` of its own in front of those of the machine.
struct FakeTools : testing::Test {
  FakeTools() { install("exec cat \"${0%/*}/$*\" 2>/dev/null"); }

  void install(const std::string& script) {
    for (const char* tool : {"ip", "ping"})
      writeScript(dir / tool, script);
  }

  const TempDir dir;
  const std::string path = dir.getPath() + ":" + getenv("PATH");
  const int inFront = setenv("PATH", path.c_str(), 1);
  const int english = lng::language = 0;
};

TEST_F(FakeTools, DescribeAMachine) {
  writeFile(dir / "a", R"(1: lo: <LOOPBACK,UP,LOWER_UP> mtu 65536
    inet 127.0.0.1/8 scope host lo
2: eth0@if8: <BROADCAST,UP,LOWER_UP> mtu 1500
    link/ether 00:1A:2B-3C: brd ff:ff
    inet 192.168.1.5/29 scope global eth0
    inet6 fe80::1/64 scope link
    inet 10.0.0.5 peer 10.0.0.6/32 scope global eth0
10: eth0.5: <BROADCAST> mtu 1500
    link/ether 00:1a:2b:3c brd ff:ff
)");
  const std::string eth0 = "2 eth0@if8 00:1A:2B-3C: ", vlan = "10 eth0.5  ", long33(33, '1');
  const std::string addresses = " 192.168.1.5/255.255.255.248 10.0.0.5/255.255.255.255\n";
  const std::array<std::string, 2> rows[] = {
      {"default via 1.1.11 via 1.1.1.1 dev eth0 proto dhcp\n",
       eth0 + "1.1.1.1" + addresses + vlan + "\n"},
      {"default via 1.1.1.1 dev  dev eth0.5", eth0 + addresses + vlan + "1.1.1.1\n"},
      {"via " + long33 + " dev eth0.5 onlink", vlan + long33 + "\n" + eth0 + addresses}};
  for (const auto& [defaultRoute, expected] : rows) {
    writeFile(dir / "r show default", defaultRoute);
    EXPECT_EQ(discovered(), expected) << defaultRoute;
  }
}

TEST_F(FakeTools, MayPrintAnything) {
  const std::string e = "2: e: x\n", down = "10.0.0.0/8 dev e linkdown\n";
  const std::array<std::string, 3> rows[] = {
      {"2: a: b: c\n2: e\n3:: \n: x: y\n4 g: h: i\n99999999999999999999: f: \n", "",
       "2 a: b  \n-1 f  \n"},
      {e, down + "10.0.0.0/8 dev f\n", "2 e  \n"},
      {"1: d: <UP,CAST>\n2: e: <A,UP,CAST>\n3: f: <CAST> mtu 5 6 7 state DOWN\n", down,
       "text: d: ethernet adapter or network is disabled\ne: no IP address\nf: No ethernet link\n"},
      {"2: e: <CAST>\n", down, "literal: No ethernet adapters enabled or network is disabled"},
      {"", down, "literal: Network interfaces not found"}};
  for (const auto& [addresses, routes, expected] : rows) {
    writeFile(dir / "a", addresses);
    writeFile(dir / "r", routes);
    EXPECT_EQ(discovered(), expected) << addresses;
  }
  EXPECT_EQ(reported(), "Network interfaces not found");
}

TEST_F(FakeTools, MayFailAndLeaveNothingBehind) {
  const std::array<std::string, 3> rows[] = {
      {"exec >&- 2>&-; sleep .01", "", "no failure"},
      {"echo 'bro\nken' >&2", "text:  ip r show default: bro\nken\n",
       "The network cannot be used\n* ip r show default: bro\n* ken"},
      {"no tool", "", "no failure"}};
  std::size_t call = 0;
  expectNothingLeft("discovery, ping, set169ip; 3 kinds of tool", rounds(60, 10000), [&] {
    const auto& [script, thrown, shown] = rows[call++ % std::size(rows)];
    install(script);
    setenv("PATH", script == "no tool" ? "/no/such" : path.c_str(), 1);
    EXPECT_EQ(discovered(), thrown) << script;
    EXPECT_EQ(reported(), shown) << script;
    pingLinux("10.0.0.1", 1);
    try {
      set169ip();
    } catch (const std::string&) {
    }
  });
}

/// A network of the test's own, which goes with its process.
struct RealNetwork : testing::Test {
  void SetUp() override {
    lng::language = 0;
    if (unshare(CLONE_NEWNET) != 0 || std::system("command -v ping >/dev/null") != 0)
      GTEST_SKIP() << "needs root for a network namespace, and ping";
  }

  static void run(const std::string& command) {
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
  }

  static void expectFound(const std::string& part) {
    const std::string all = discovered();
    EXPECT_NE(all.find(part), std::string::npos) << "no " << part << " in\n" << all;
  }
};

TEST_F(RealNetwork, IsDiagnosedFoundAndPinged) {
  run("ip link add v0 type veth peer name v1 address 02:00:00:00:00:01 && ip link set lo up &&"
      "ip addr add 10.9.0.1/24 dev v0 && ip link set v0 up");
  EXPECT_EQ(discovered(), "text: v1@v0: ethernet adapter or network is disabled\n"
                          "v0@v1: No ethernet link\n");
  run("ip link set v1 up && ip addr add 10.8.0.6 peer 10.8.0.5 dev v1 &&"
      "ip link add eth2 address 02:00:00:00:00:02 type bridge &&"
      "ip route add default via 10.9.0.9 dev v0");
  set169ip();
  expectFound(" v1@v0 02:00:00:00:00:01  10.8.0.6/255.255.255.255\n");
  expectFound(" 10.9.0.9 10.9.0.1/255.255.255.0\n");
  expectFound(" eth2 02:00:00:00:00:02  169.254.0.22/255.255.255.0\n");
  EXPECT_EQ(NetworkHelper::getFirstMacAddress(), Mac("02:00:00:00:00:01"));
  const Ip4 ip("10.9.0.77"), mask("255.255.255.0");
  EXPECT_EQ(NetworkHelper::getAccessibleInterface(ip, mask), "v0@v1");
  EXPECT_FALSE(NetworkHelper::accessibleViaInterface("v0", ip, mask));
  EXPECT_TRUE(pingLinux("127.0.0.1", 1));
  EXPECT_TRUE(NetworkHelper::ping("::1", 1));
}

TEST_F(FakeTools, StandsBesideAPingOfOnePlainCommand) {
  writeScript(dir / "ping", "echo \"$*\" >> '" + (dir / "log") + "'; test \"$5\" != down");
  EXPECT_TRUE(pingLinux("10.0.0.1", 2));
  EXPECT_TRUE(pingLinux("fe80::1%eth_0-x", 0));
  EXPECT_FALSE(pingLinux("down", 4294967295U));
  for (const std::string host : {"", "-f", "a b", "$(reboot)", "a;b", "a\nb", "a>b", "хост", "a/b"})
    EXPECT_FALSE(pingLinux(host, 1)) << host;
  EXPECT_FALSE(pingLinux(std::string("a\0b", 3), 1));
  EXPECT_EQ(readFile(dir / "log"),
            "-c 1 -W 2 10.0.0.1\n-c 1 -W 0 fe80::1%eth_0-x\n-c 1 -W 4294967295 down\n");
}

} // namespace
