#include "fuzz.h"

#include "net/ip_listing.h"
#include "qiv/text.h"

#include <arpa/inet.h>
#include <cstring>
#include <stdexcept>

using namespace Qiv;
using Ip4 = Net::NetAddr<4, '.'>;
using Ip6 = Net::NetAddr<16, ':'>;
using Mac = Net::NetAddr<6, ':'>;

static bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

static void tryAddresses(const std::string& text) {
  unsigned char ours[16] = {7}, others[16] = {7}; // a rejected text leaves them alone
  AGREE(Net::ip4ToBytes(text.c_str(), ours) == (inet_pton(AF_INET, text.c_str(), others) == 1));
  const bool taken = Net::ip6ToBytes(text.c_str(), ours);
  const bool known = inet_pton(AF_INET6, text.c_str(), others) == 1;
  AGREE(taken == known || (taken && has(text, "0"))); // the C library takes no long groups
  AGREE(taken != known || std::memcmp(ours, others, sizeof ours) == 0);
  AGREE(!taken || has(text, "::") || has(text, ".") || Ip6(text) == Ip6(text.c_str()));
  const Ip4 ip4(text);
  AGREE(Ip4(ip4.to_string()) == ip4);
  AGREE(Ip4(ip4.to_string().c_str()) == ip4);
  AGREE(Mac(Mac(text).to_string()) == Mac(text));
  AGREE(Ip6(text).to_string().size() < 40);
}

static void tryNumber(const std::string& text) try {
  const unsigned int number = ipv4_str_to_addr(text), length = maskstring_to_masklen(text);
  AGREE(Ip4(text.c_str()) == Ip4() || Ip4(text.c_str()) == Net::IPv4Subnet(number, 0).getIP());
  AGREE(length == 0 || ipv4_str_to_addr(masklen_to_maskstring(length)) <= number);
} catch (const std::logic_error&) { // so are the two that it throws
  AGREE(text.find_first_of("abcdefABCDEF") != std::string::npos || text.size() >= 10);
}

static void tryListing(const std::string& text) {
  const internal::Gateway gateway = internal::findGateway(text);
  for (const NetworkInterface& iface : internal::parseInterfaces(text, gateway).interfaces) {
    AGREE(!iface.name.empty());
    AGREE(iface.name != "lo");
    AGREE(has(text, ": " + iface.name + ": "));
    const std::string device = iface.name.substr(0, iface.name.find('@'));
    AGREE(iface.gateway == (device == gateway.device ? gateway.address : ""));
    for (const NetworkAddr& address : iface.addresses) {
      AGREE(address.address.find(' ') == std::string::npos);
      AGREE(has(text, "\n    inet " + address.address));
    }
  }
}

void tryText(const std::string& text) {
  for (const char* start : {"", "1.2.3.", "1:2:3:4:5:6:", "1:2:3:4:5:6:7:1.2.3."})
    tryAddresses(start + std::string(text.c_str()));
  tryNumber(text.c_str());
  tryListing(text);
  AGREE(has(text, "<") || internal::diagnose(text) == text);
}
