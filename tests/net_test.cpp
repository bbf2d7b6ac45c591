#include "qiv/net.h"

#include "support.h"

#include <arpa/inet.h>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <regex>
#include <sched.h>
#include <stdexcept>

using namespace Qiv;
using namespace Qiv::Net;
using support::inChild;
using support::PathPrefix;
using support::readFile;
using support::TempDir;
using support::writeFile;
using support::writeScript;

namespace {

using Ip4 = NetAddr<4, '.'>;
using Ip6 = NetAddr<16, ':'>;
using Mac = NetAddr<6, ':'>;

static_assert(std::is_trivially_copyable_v<Ip4> && sizeof(Ip4) == 4);
static_assert(sizeof(Mac) == 6 && sizeof(Ip6) == 16);

std::string hex(const unsigned char* bytes, std::size_t count) {
  return mac_to_string_hex(bytes, count, ' ');
}

// ---------------------------------------------------------------------------------------------
// Address values
// ---------------------------------------------------------------------------------------------

/// Texts near addresses: pieces of addresses in random order.
std::string randomText(std::mt19937& random, const std::vector<std::string>& pieces) {
  std::string text;
  for (unsigned int i = random() % 16; i > 0; --i)
    text += pieces[random() % pieces.size()];
  return text;
}

TEST(StrictParser, AgreesWithInetPton) {
  const std::regex longGroup("[0-9a-fA-F]{5}"); // leading zeros are ours alone
  std::mt19937 random(1);
  int accepted = 0;
  const auto compare = [&](int family, auto parse, const std::string& text, std::size_t size) {
    unsigned char ours[16], theirs[16];
    std::memset(ours, 0xEE, sizeof ours);
    std::memset(theirs, 0xEE, sizeof theirs);
    const bool valid = inet_pton(family, text.c_str(), theirs) == 1;
    accepted += valid;
    ASSERT_EQ(parse(text.c_str(), ours), valid) << text;
    if (!valid)
      std::memset(theirs, 0xEE, sizeof theirs); // a rejected text leaves the bytes alone
    ASSERT_EQ(hex(ours, size), hex(theirs, size)) << text;
  };
  using Parser = bool (*)(const char*, unsigned char*);
  for (int i = 0; i < 100000; ++i) {
    compare(AF_INET, Parser(ip4ToBytes),
            randomText(random, {"0", "1", "25", "5", ".", ".", "01", " ", "256"}), 4);
    const std::string ip6 =
        randomText(random, {":", ":", ":", "::", "1", "aB", "fe80", "0", "1.2.3.4", "g", "::ffff"});
    if (!std::regex_search(ip6, longGroup))
      compare(AF_INET6, Parser(ip6ToBytes), ip6, 16);
  }
  EXPECT_GT(accepted, 1000);
}

TEST(StrictParser, TakesGroupsOfAnyLength) {
  EXPECT_EQ(Ip6("00001::000ffff"), Ip6("1::ffff"));
  EXPECT_EQ(Ip6("12345::"), Ip6());
  EXPECT_EQ(Ip6(static_cast<const char*>(nullptr)), Ip6());
  EXPECT_EQ(Ip4(static_cast<const char*>(nullptr)), Ip4());
}

TEST(LenientParser, NeverFails) {
  const struct {
    const char *text, *strict, *lenient;
  } rows[] = {
      {"01.2.3.4", "0.0.0.0", "1.2.3.4"},    {"1.2.3", "0.0.0.0", "1.2.3.0"},
      {"1.2.3.4.", "0.0.0.0", "1.2.3.4"},    {"1..2.3", "0.0.0.0", "1.0.2.3"},
      {" 1.2.3.4", "0.0.0.0", "1.2.3.4"},    {"300.1.1.1", "0.0.0.0", "44.1.1.1"},
      {"-1.+2.x.4", "0.0.0.0", "255.2.0.0"}, {"", "0.0.0.0", "0.0.0.0"},
      {"1.2.3.4", "1.2.3.4", "1.2.3.4"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Ip4(row.text).to_string(), row.strict) << row.text;
    EXPECT_EQ(Ip4(std::string(row.text)).to_string(), row.lenient) << row.text;
  }
  const Ip6 ip6(std::string("fe80::1:0x1ffff"));
  EXPECT_EQ(hex(ip6.getData().data(), 16), "FE 80 00 00 00 01 FF FF 00 00 00 00 00 00 00 00");
  EXPECT_EQ(Mac("00:1a-2B:3c:4d:5e").to_string(), "00:1A:2B:3C:4D:5E");
  EXPECT_EQ(Mac(std::string("0x1:101:z")).to_string('-'), "01-01-00-00-00-00");
  EXPECT_THROW(Mac(static_cast<const char*>(nullptr)), std::logic_error);
}

TEST(Formatter, PrintsIp6InNativeOrder) {
  const auto print = [](std::initializer_list<unsigned short> groups) {
    return ipv6_to_string(reinterpret_cast<const unsigned char*>(groups.begin()),
                          2 * groups.size());
  };
  EXPECT_EQ(print({0, 0, 0, 0, 0, 0, 0, 0}), "::");
  EXPECT_EQ(print({1, 0, 2, 0, 0, 0, 0, 3}), "1::2:0:0:0:0:3");
  EXPECT_EQ(print({1, 2, 3, 4, 5, 6, 7, 0}), "1:2:3:4:5:6:7:");
  EXPECT_EQ(print({1, 2, 3, 4, 5, 6, 0, 0}), "1:2:3:4:5:6::");
  EXPECT_EQ(print({0, 0, 0, 0, 0, 0xFFFF, 0xA8C0, 0x0100}), "::ffff:192.168.0.1");
  EXPECT_EQ(print({0, 0, 0, 0, 0xFFFF, 0, 0x0201, 0x0403}), "::ffff:0:1.2.3.4");
  EXPECT_EQ(print({0x64, 0xFF9B, 0, 0, 0, 0, 1, 1}), "64:ff9b::1:1");
  EXPECT_EQ(print({0x64, 0xFF9B, 0, 0, 0, 0, 0xABC}), "64:ff9b::abc");
  EXPECT_EQ(print({}), "");
  EXPECT_EQ(Ip6("2001:db8::1").to_string(), "120:b80d::100");
  // Shorter than an address: nothing behind the length is read.
  const std::vector<unsigned char> mapped = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 1, 0, 9};
  EXPECT_EQ(ipv6_to_string(mapped.data(), mapped.size()), "::ffff:1");
}

TEST(Formatter, JoinsAnyCount) {
  const unsigned char bytes[] = {0xAA, 9, 99, 100, 255, 0, 7};
  EXPECT_EQ(ipv4_to_string(bytes, 7, ' '), "170 9 99 100 255 0 7");
  EXPECT_EQ(mac_to_string_hex(bytes, 2, '-'), "AA-09");
  EXPECT_EQ(ipv4_to_string(bytes, 0, '.') + mac_to_string_hex(bytes, 0, '-'), "");
  EXPECT_TRUE(Ip4("9.0.0.0") < Ip4("10.0.0.0") && Ip4("9.0.0.0") != Ip4("9.0.0.1"));
}

TEST(IPv4Subnet, WantsBothDirections) {
  const auto same = [](const char* a, unsigned int maskA, const char* b, unsigned int maskB) {
    return IPv4Subnet(Ip4(a), maskA).inSameSubnet(IPv4Subnet(Ip4(b), maskB));
  };
  EXPECT_TRUE(same("192.168.1.5", 0xFFFFFF00, "192.168.1.255", 0xFFFFFF00));
  EXPECT_FALSE(same("10.0.0.1", 0xFF000000, "10.1.0.1", 0xFFFF0000));
  EXPECT_TRUE(same("10.1.0.2", 0xFF000000, "10.1.0.1", 0xFFFF0000));
  EXPECT_TRUE(same("1.2.3.4", 0, "255.255.255.255", 0));
  EXPECT_EQ(Ip4(IPv4Subnet(Ip4("1.2.3.4"), Ip4("255.0.0.0"))), Ip4("1.2.3.4"));
  EXPECT_EQ(IPv4Subnet(0x01020304, 0).getIP(), Ip4("1.2.3.4"));
}

TEST(FreeMac, FillsTheFirstGap) {
  const struct {
    std::set<unsigned long> used;
    unsigned long start;
    const char* expected;
  } rows[] = {
      {{}, 5, "00:00:00:00:00:05"},
      {{6, 7}, 5, "00:00:00:00:00:05"},
      {{5, 6, 8}, 5, "00:00:00:00:00:07"},
      {{1, 2, 9}, 5, "00:00:00:00:00:06"},
      {{0x1020304050607, 0x102030405060A}, 0x1020304050607, "02:03:04:05:06:08"},
  };
  for (auto row : rows)
    EXPECT_EQ(getFirstFreeMac(row.used, row.start).to_string(), row.expected) << row.start;
}

TEST(Ipv4Text, ReadsUpToFourParts) {
  const struct {
    const char* text;
    unsigned int expected;
  } rows[] = {
      {"192.168.1.5", 0xC0A80105},
      {"10.1", 0x0A01},
      {"1-2:3 4", 0x01020304},
      {"1.2.3.4.5", 0x01020304},
      {"", 0},
      {"1.2.3.4/24", 0},
      {"..", 0},
      {"0.300", 300},
      {"300.300.300.300", 0x2D2D2D2C},
      {" 1", 1},
      {"1,2", 0},
  };
  for (const auto& row : rows)
    EXPECT_EQ(ipv4_str_to_addr(row.text), row.expected) << row.text;
  EXPECT_THROW(ipv4_str_to_addr("1.a.2.3"), std::invalid_argument);
  EXPECT_THROW(ipv4_str_to_addr("4294967296"), std::out_of_range);
  EXPECT_TRUE(same_ipv4_segment("192.168.1.5", "255.255.255.0", "192.168.1.200", "255.255.255.0"));
  EXPECT_FALSE(same_ipv4_segment("192.168.1.5", "255.255.0.0", "192.168.1.200", "255.255.255.0"));
}

TEST(Ipv4Text, MasksRoundTrip) {
  for (unsigned int length = 1; length <= 32; ++length)
    EXPECT_EQ(maskstring_to_masklen(masklen_to_maskstring(length)), length);
  EXPECT_EQ(masklen_to_maskstring(24), "255.255.255.0");
  EXPECT_EQ(masklen_to_maskstring(1), "128.0.0.0");
  EXPECT_EQ(masklen_to_maskstring(0), "255.255.255.255");
  EXPECT_EQ(masklen_to_maskstring(33), "128.0.0.0");
  EXPECT_EQ(maskstring_to_masklen("0.0.0.0"), 0U);
  EXPECT_EQ(maskstring_to_masklen("255.0.255.0"), 8U);
}

TEST(Checksum, AddsWordsAndTheOddByte) {
  std::mt19937 random(2);
  std::vector<unsigned short> words(150);
  for (auto& word : words)
    word = static_cast<unsigned short>(random());
  unsigned long sum = 0;
  for (int length = 0; length < 300; sum += length++ % 2 ? words[length / 2U - 1] : 0U) {
    unsigned long folded = sum + (length % 2 ? words[length / 2U] & 0xFFU : 0U);
    while (folded >> 16)
      folded = (folded & 0xFFFF) + (folded >> 16);
    EXPECT_EQ(_checksum(words.data(), length), static_cast<unsigned short>(~folded)) << length;
  }
  EXPECT_EQ(_checksum(words.data(), -1), 0xFFFF);
}

// ---------------------------------------------------------------------------------------------
// Discovery, from the texts of a fake `ip`
// ---------------------------------------------------------------------------------------------

struct FakeIp : testing::Test {
  FakeIp() {
    lng::language = 0;
    writeScript(dir / "ip", "case \"$*\" in\n"
                            "'r show default') f=default ;;\n"
                            "r) f=routes ;;\n"
                            "a) f=addresses ;;\n"
                            "*) echo \"unexpected: $*\" >&2 ;;\n"
                            "esac\n"
                            "cat '" +
                                dir.getPath() + "'/$f");
    for (const char* name : {"default", "routes", "addresses"})
      writeFile(dir / name, "");
  }

  /// What discovery throws, with the type in front; empty when it returns.
  static std::string thrown() {
    try {
      getNetworkInterfacesLinux();
    } catch (const char* text) {
      return std::string("literal: ") + text;
    } catch (const std::string& text) {
      return "string: " + text;
    }
    return "";
  }

  const TempDir dir;
  const PathPrefix path{dir.getPath()};
};

constexpr const char* listing =
    "1: lo: <LOOPBACK,UP,LOWER_UP> mtu 65536 qdisc noqueue state UNKNOWN\n"
    "    link/loopback 00:00:00:00:00:00 brd 00:00:00:00:00:00\n"
    "    inet 127.0.0.1/8 scope host lo\n"
    "2: eth0: <BROADCAST,MULTICAST,UP,LOWER_UP> mtu 1500 qdisc noqueue state UP\n"
    "    link/ether 00:1a:2b:3c:4d:5e brd ff:ff:ff:ff:ff:ff\n"
    "    inet 192.168.1.5/24 brd 192.168.1.255 scope global eth0\n"
    "    inet 10.0.0.5/8 scope global secondary eth0\n"
    "    inet6 fe80::1/64 scope link\n"
    "7: wlan0: <BROADCAST,MULTICAST> mtu 1500 state DOWN\n"
    "    link/ether 00:1a:2b:3c brd ff:ff:ff:ff:ff:ff\n";

TEST_F(FakeIp, ReadsTheListing) {
  writeFile(dir / "default",
            "default via 192.168.1.1 dev eth0 proto dhcp\nvia 9.9.9.9 dev wlan0\n");
  writeFile(dir / "addresses", listing);
  const NetworkInterfaces list = getNetworkInterfacesLinux();
  ASSERT_EQ(list.interfaces.size(), 2U);
  const NetworkInterface& eth0 = list.interfaces.front();
  EXPECT_EQ(eth0.index, 2);
  EXPECT_EQ(eth0.name, "eth0");
  EXPECT_EQ(eth0.caption, "eth0");
  EXPECT_EQ(eth0.mac, "00:1a:2b:3c:4d:5e");
  EXPECT_EQ(eth0.gateway, "192.168.1.1");
  ASSERT_EQ(eth0.addresses.size(), 2U);
  EXPECT_EQ(eth0.addresses[0].address + " " + eth0.addresses[0].mask, "192.168.1.5 255.255.255.0");
  EXPECT_EQ(eth0.addresses[1].address + " " + eth0.addresses[1].mask, "10.0.0.5 255.0.0.0");
  const NetworkInterface& wlan0 = list.interfaces.back();
  EXPECT_EQ(wlan0.index, 7);
  EXPECT_EQ(wlan0.mac + wlan0.gateway + wlan0.extra, "");
  EXPECT_TRUE(wlan0.addresses.empty() && wlan0.present);
  EXPECT_FALSE(list.hasAddress || list.hasInterface);
}

TEST_F(FakeIp, FindsTheGateway) {
  const struct {
    const char *route, *gateway;
  } rows[] = {
      {"default via 10.0.0.1 dev eth0 proto dhcp", "10.0.0.1"},
      {"default via 1.1.1 dev eth0", ""},
      {"via 1.1 via 10.0.0.1 dev , dev eth0", "10.0.0.1"},
      {"default via 10.0.0.1 dev eth1", ""},
      {"\ndefault via 10.0.0.1 dev eth0", ""},
      {"default via 10.0.0.1", ""},
  };
  writeFile(dir / "addresses", listing);
  for (const auto& row : rows) {
    writeFile(dir / "default", row.route);
    EXPECT_EQ(getNetworkInterfacesLinux().interfaces.front().gateway, row.gateway) << row.route;
  }
}

TEST_F(FakeIp, HelperAnswersFromTheListing) {
  writeFile(dir / "addresses", listing);
  const NetworkInterfaces list = NetworkHelper::getNetworkInterfaces();
  EXPECT_TRUE(list.hasAddress && list.hasInterface);
  EXPECT_EQ(NetworkHelper::getFirstMacAddress(), Mac("00:1a:2b:3c:4d:5e"));
  const Ip4 ip("192.168.1.77"), mask("255.255.255.0");
  EXPECT_TRUE(NetworkHelper::accessibleViaInterface("eth0", ip, mask));
  EXPECT_FALSE(NetworkHelper::accessibleViaInterface("eth", ip, mask));
  EXPECT_FALSE(NetworkHelper::accessibleViaInterface("wlan0", ip, mask));
  EXPECT_EQ(NetworkHelper::getAccessibleInterface(ip, mask), "eth0");
  EXPECT_EQ(NetworkHelper::getAccessibleInterface(Ip4("10.1.2.3"), Ip4("255.255.0.0")), "");

  writeFile(dir / "addresses", "3: eth3: <UP> mtu 1\n");
  const NetworkInterfaces bare = NetworkHelper::getNetworkInterfaces();
  EXPECT_TRUE(!bare.hasAddress && bare.hasInterface);
  EXPECT_EQ(NetworkHelper::getFirstMacAddress(), Mac());
  writeFile(dir / "addresses", "1: lo: <UP> mtu 1\n    inet 127.0.0.1/8\n");
  EXPECT_TRUE(NetworkHelper::getNetworkInterfaces().interfaces.empty());
  EXPECT_EQ(NetworkHelper::getFirstMacAddress(), Mac());
}

TEST_F(FakeIp, ThrowsWhatIpComplainsOf) {
  writeScript(dir / "ip", "echo broken >&2");
  EXPECT_EQ(thrown(), "string:  ip r show default: broken\n");
  setenv("PATH", "/no/such", 1);
  EXPECT_EQ(thrown(), "") << "no `ip` at all gives an empty list";
}

TEST_F(FakeIp, DiagnosesADeadNetwork) {
  const std::string cast = ",MULTICAST,BROADCAST";
  const auto line = [&](const std::string& flags, const std::string& state) {
    return "2: eth0: <" + flags + cast + "> mtu 1500 qdisc noqueue state " + state + " group x\n";
  };
  const struct {
    const char* name;
    std::string addresses;
    const char *english, *russian;
  } rows[] = {
      {"nothing", "", "literal: Network interfaces not found",
       "literal: Сетевые интерфейсы не обнаружены"},
      {"all off", line("X", "DOWN"), "literal: No ethernet adapters enabled or network is disabled",
       "literal: Сетевые адаптеры или поддержка сети отключены"},
      {"no cable", line("A,UP", "DOWN"), "string: eth0: No ethernet link\n",
       "string: eth0: Сетевой кабель не подключен\n"},
      {"no address", line("A,UP", "UP"), "string: eth0: no IP address\n",
       "string: eth0: IP адрес не задан\n"},
      {"UP comes first", line("UP", "UP"),
       "string: eth0: ethernet adapter or network is disabled\n",
       "string: eth0: сетевой адаптер или поддержка сети отключены\n"},
      {"flags hold for later lines", line("A,UP", "DOWN") + line("A", "UP"),
       "string: eth0: No ethernet link\neth0: No ethernet link\n",
       "string: eth0: Сетевой кабель не подключен\neth0: Сетевой кабель не подключен\n"},
      {"half a flag", line("A,U,UP", "UP"), "string: eth0: no IP address\n",
       "string: eth0: IP адрес не задан\n"},
  };
  writeFile(dir / "routes", "10.0.0.0/8 dev eth0 linkdown\n");
  for (const auto& row : rows) {
    writeFile(dir / "addresses", row.addresses);
    lng::language = 0;
    EXPECT_EQ(thrown(), row.english) << row.name;
    lng::language = 1;
    EXPECT_EQ(thrown(), row.russian) << row.name;
  }
  writeFile(dir / "routes", "10.0.0.0/8 dev eth0 linkdown\n10.0.0.0/8 dev eth1\n");
  EXPECT_EQ(thrown(), "");
}

TEST_F(FakeIp, SurvivesHostileListings) {
  const std::string head = "2: eth0: <UP> mtu 1\n";
  const struct {
    const char* name;
    std::string addresses, expected; ///< "index name mac address/mask" of each interface
  } rows[] = {
      {"huge numbers", "99999999999999999999: e: x\n    inet 1.2.3.4/99999999999999999999 \n",
       "-1 e  1.2.3.4/255.255.255.254;"},
      {"no last newline", head + "    inet 1.2.3.4/24", "2 eth0  1.2.3.4/255.255.255.0;"},
      {"no length", head + "    inet 1.2.3.4/\n    inet 1.2.3.4\n    inet",
       "2 eth0  1.2.3.4/255.255.255.255;"},
      {"CR LF", "2: eth0: <UP>\r\n    inet 1.2.3.4/24\r\n", "2 eth0  1.2.3.4/255.255.255.0;"},
      {"NUL", head + std::string("\0007: x: y\n", 9), "2 eth0  ;"},
      {"name without end", "2: eth0\n3:: \n: x: y\n-4: e4: x\n", "-4 e4  ;"},
      {"name with colons", "2: a: b: c\n", "2 a: b  ;"},
      {"addresses first", "    inet 1.2.3.4/24\n    link/ether 00:11:22:33:44:55\n", ""},
      {"megabytes",
       head + "    link/ether " + std::string(3000000, 'g') + "\n" + std::string(1000000, ':') +
           "\n",
       "2 eth0  ;"},
      {"second address run", head + "    link/ether 00    link/ether 00:11:22:33:44:55 x\n",
       "2 eth0 00:11:22:33:44:55 ;"},
  };
  for (const auto& row : rows) {
    writeFile(dir / "addresses", row.addresses);
    std::string found;
    for (const NetworkInterface& iface : getNetworkInterfacesLinux().interfaces) {
      found += std::to_string(iface.index) + " " + iface.name + " " + iface.mac + " ";
      for (const NetworkAddr& address : iface.addresses)
        found += address.address + "/" + address.mask;
      found += ";";
    }
    EXPECT_EQ(found, row.expected) << row.name;
  }
}

TEST(AddToNetIfs, FiltersAndPutsLongGatewaysFirst) {
  NetworkInterfaces list;
  NetworkInterface iface;
  for (const char* name : {"", "lo", "a", "b"}) {
    iface.name = name;
    iface.gateway = std::string(iface.name == "b" ? 33 : 32, '1');
    _addToNetIfs(list, iface);
  }
  EXPECT_EQ(list.interfaces.size(), 2U);
  EXPECT_EQ(list.interfaces.front().name, "b");
}

// ---------------------------------------------------------------------------------------------
// Discovery and ping with the real tools, in a network of the test's own
// ---------------------------------------------------------------------------------------------

struct RealNetwork : testing::Test {
  void SetUp() override {
    lng::language = 0;
    if (unshare(CLONE_NEWNET) != 0)
      GTEST_SKIP() << "needs root for a network namespace";
    run("ip link set lo up");
  }
  /// `ping` and `ip` of the system; a step that fails fails the test.
  static void run(const std::string& command) {
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
  }
};

TEST_F(RealNetwork, FindsABridgeWithItsGateway) {
  run("ip link add br0 type bridge && ip link set br0 address 02:00:00:00:00:01");
  run("ip link add v0 type veth peer name v1 && ip link set v0 master br0");
  run("ip link set v0 up && ip link set v1 up && ip link set br0 up");
  run("ip addr add 192.168.7.5/24 dev br0 && ip route add default via 192.168.7.1");
  const NetworkInterfaces list = NetworkHelper::getNetworkInterfaces();
  const auto br0 = std::find_if(list.interfaces.begin(), list.interfaces.end(),
                                [](const NetworkInterface& iface) { return iface.name == "br0"; });
  ASSERT_NE(br0, list.interfaces.end());
  EXPECT_EQ(br0->mac, "02:00:00:00:00:01");
  EXPECT_EQ(br0->gateway, "192.168.7.1");
  ASSERT_EQ(br0->addresses.size(), 1U);
  EXPECT_EQ(br0->addresses[0].address, "192.168.7.5");
  EXPECT_EQ(NetworkHelper::getAccessibleInterface(Ip4("192.168.7.9"), Ip4("255.255.255.0")), "br0");
}

TEST_F(RealNetwork, DiagnosesAPeerThatIsDown) {
  run("ip link add v0 type veth peer name v1 && ip link set v0 up");
  run("ip addr add 10.9.0.1/24 dev v0");
  EXPECT_EQ(FakeIp::thrown(), "string: v1@v0: ethernet adapter or network is disabled\n"
                              "v0@v1: No ethernet link\n");
}

TEST_F(RealNetwork, AddsTheLinkLocalAddress) {
  try {
    set169ip();
    ADD_FAILURE() << "an address was added to no device";
  } catch (const std::string& message) {
    EXPECT_EQ(message, " ip addr add 169.254.0.22/24 dev eth2: Cannot find device \"eth2\"\n");
  }
  run("ip link add eth2 type bridge");
  set169ip();
  EXPECT_EQ(getNetworkInterfacesLinux().interfaces.back().addresses.at(0).address, "169.254.0.22");
}

TEST_F(RealNetwork, PingsWhatAnswers) {
  if (std::system("command -v ping >/dev/null") != 0)
    GTEST_SKIP() << "needs ping";
  EXPECT_TRUE(pingLinux("127.0.0.1", 1));
  EXPECT_TRUE(pingLinux("::1", 1));
  EXPECT_FALSE(NetworkHelper::ping("192.0.2.1", 1));
}

TEST(Ping, RunsOnePlainCommand) {
  const TempDir dir;
  const PathPrefix path(dir.getPath());
  writeScript(dir / "ping", "echo \"$*\" >> '" + (dir / "log") + "'; test \"$5\" != down");
  EXPECT_TRUE(pingLinux("10.0.0.1", 2));
  EXPECT_TRUE(pingLinux("fe80::1%eth_0-x", 0));
  EXPECT_FALSE(pingLinux("down", 4294967295U));
  const std::string log =
      "-c 1 -W 2 10.0.0.1\n-c 1 -W 0 fe80::1%eth_0-x\n-c 1 -W 4294967295 down\n";
  EXPECT_EQ(readFile(dir / "log"), log);
  for (const std::string host : {"", "-f", "a b", "$(reboot)", "a;b", "a\nb", "a>b", "хост", "a/b"})
    EXPECT_FALSE(pingLinux(host, 1)) << host;
  EXPECT_FALSE(pingLinux(std::string("a\0b", 3), 1));
  EXPECT_EQ(readFile(dir / "log"), log);
}

TEST(Discovery, LeavesNoDescriptor) {
  support::expectNoDescriptorLeft(100, [] { getNetworkInterfacesLinux(); });
}

} // namespace
