#ifndef QIV_NET_H
#define QIV_NET_H

/// Network addresses, the machine's interfaces, reachability, FTP upload.
///
///     Qiv::NetworkInterfaces found;
///     if (Qiv::Result result = Qiv::NetworkHelper::tryGetNetworkInterfaces(found); !result)
///       show(Qiv::ObjectErrorHelper::toDisplayString({result.getError()}, 0));
///     for (const Qiv::NetworkInterface& iface : found.interfaces)
///       show(iface.name, iface.mac);
///
/// Address values throw nothing but for a null MAC text. Discovery and the operations built on it
/// run the `ip` tool and throw bare texts, a `const char*` or a `std::string`. All may be called
/// from any thread, but for the FTP upload, which must not run twice at once; what runs a program
/// blocks until it ends.

#include "qiv/errors.h"
#include "qiv/export.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <set>
#include <string>
#include <vector>

namespace Qiv {
namespace Net {

// ---------------------------------------------------------------------------------------------
// Address values
// ---------------------------------------------------------------------------------------------

/// An address of N bytes, in the order in which they are written in text.
///
/// NetAddr<4, '.'> is an IPv4 address, NetAddr<16, ':'> IPv6 and NetAddr<6, ':'> a MAC address.
/// Addresses are values: copies may go to other threads.
///
/// The argument type selects the parser: a `const char*` is read strictly and a text that is no
/// address gives all zero; a `std::string` is read leniently, as ip4ToBytes and its sisters tell.
template <std::size_t N, char Sep>
class NetAddr {
public:
  /// All zero.
  NetAddr() = default;
  /// The bytes in the order of the text.
  explicit NetAddr(const std::array<unsigned char, N>& data) : bytes(data) {}
  /// Strict. A MAC address is read leniently here too; its null text throws std::logic_error, the
  /// null text of the others gives all zero.
  NetAddr(const char* text);
  /// Lenient.
  NetAddr(const std::string& text);

  /// The text form. IPv6 ignores the separator.
  std::string to_string(char separator = Sep) const;

  /// The bytes, valid as long as the address lives.
  const std::array<unsigned char, N>& getData() const { return bytes; }

  /// Compare the bytes in order, so that addresses sort as numbers do.
  /// @{
  friend bool operator==(const NetAddr& a, const NetAddr& b) { return a.bytes == b.bytes; }
  friend bool operator!=(const NetAddr& a, const NetAddr& b) { return a.bytes != b.bytes; }
  friend bool operator<(const NetAddr& a, const NetAddr& b) { return a.bytes < b.bytes; }
  /// @}

private:
  std::array<unsigned char, N> bytes{};
};

// clang-format off
/// @cond
template <> QIV_API NetAddr<4, '.'>::NetAddr(const char* text);
template <> QIV_API NetAddr<4, '.'>::NetAddr(const std::string& text);
template <> QIV_API std::string NetAddr<4, '.'>::to_string(char separator) const;
template <> QIV_API NetAddr<6, ':'>::NetAddr(const char* text);
template <> QIV_API NetAddr<6, ':'>::NetAddr(const std::string& text);
template <> QIV_API std::string NetAddr<6, ':'>::to_string(char separator) const;
template <> QIV_API NetAddr<16, ':'>::NetAddr(const char* text);
template <> QIV_API NetAddr<16, ':'>::NetAddr(const std::string& text);
template <> QIV_API std::string NetAddr<16, ':'>::to_string(char separator) const;
/// @endcond
// clang-format on

/// Strict parsers, into 4 and 16 bytes: true when the whole text is an address, otherwise false and
/// `dst` is untouched. IPv4 takes four decimal octets without leading zeros. IPv6 is RFC 4291 text
/// with "::" and a dotted-quad tail; a group may have any number of leading zeros.
/// @{
QIV_API bool ip4ToBytes(const char* text, unsigned char* dst);
QIV_API bool ip6ToBytes(const char* text, unsigned char* dst);
/// @}

/// Lenient parsers, into 4, 16 and 6 bytes: always true. Each part is read by strtoul (blanks, a
/// sign, "0x" before hexadecimal); what is missing is 0, what does not fit is truncated, "::" is
/// one empty group. A null MAC text throws std::logic_error.
/// @{
QIV_API bool ip4ToBytes(const std::string& text, unsigned char* dst);
QIV_API bool ip6ToBytes(const std::string& text, unsigned char* dst);
QIV_API bool macToBytes(const std::string& text, unsigned char* dst);
QIV_API bool macToBytes(const char* text, unsigned char* dst);
/// @}

/// `count` decimal bytes (or upper-case hexadecimal ones for a MAC) joined by the separator.
/// @{
QIV_API std::string ipv4_to_string(const unsigned char* bytes, unsigned long count, char separator);
QIV_API std::string mac_to_string_hex(const unsigned char* bytes, unsigned long count,
                                      char separator);
/// @}

/// IPv6 text with two peculiarities that stored texts rely on: groups are read in the machine's own
/// byte order ("2001:db8::1" prints as "120:b80d::100"), and the first run of zero groups is the
/// one compressed, however short. `length` is in bytes; an odd last byte is ignored.
QIV_API std::string ipv6_to_string(const unsigned char* bytes, unsigned long length);

/// A host with its IPv4 subnet. Numbers are in host order, the first octet most significant.
class QIV_API IPv4Subnet {
public:
  /// From the host's address under the mask to that plus the mask's complement, in 32 bits. A mask
  /// is not checked for gaps.
  /// @{
  IPv4Subnet(unsigned int ip, unsigned int mask);
  IPv4Subnet(const NetAddr<4, '.'>& ip, unsigned int mask);
  IPv4Subnet(const NetAddr<4, '.'>& ip, const NetAddr<4, '.'>& mask);
  /// @}

  /// True when each host lies in the other's subnet, ends included.
  bool inSameSubnet(const IPv4Subnet& other) const;

  /// The host.
  /// @{
  NetAddr<4, '.'> getIP() const;
  operator NetAddr<4, '.'>() const { return getIP(); }
  /// @}

private:
  bool contains(unsigned int address) const { return network <= address && address <= broadcast; }

  unsigned int network;
  unsigned int broadcast;
  unsigned int ip;
};

/// The number after the last used one before the first gap above `start`, which counts as used;
/// `start` itself when the used numbers above it leave no gap. The low 48 bits are the address.
QIV_API NetAddr<6, ':'> getFirstFreeMac(std::set<std::uint64_t>& used, std::uint64_t start);

} // namespace Net

// ---------------------------------------------------------------------------------------------
// IPv4 addresses and masks as text
// ---------------------------------------------------------------------------------------------

/// Up to four decimal parts between any of ". : -" and blank, as a number in host order: "10.1" is
/// 0x0A01. 0 for an empty text or a foreign character. A part that begins with a letter a-f throws
/// std::invalid_argument, one beyond int std::out_of_range.
QIV_API unsigned int ipv4_str_to_addr(const std::string& text);

/// True when both addresses, each under its mask, are equal. Throws as ipv4_str_to_addr does.
QIV_API bool same_ipv4_segment(const std::string& ip1, const std::string& mask1,
                               const std::string& ip2, const std::string& mask2);

/// 24 gives "255.255.255.0"; 0 as well as 32 gives "255.255.255.255".
QIV_API std::string masklen_to_maskstring(const unsigned int& length);

/// The length of the shortest prefix mask that covers the mask. Throws as ipv4_str_to_addr does.
QIV_API unsigned int maskstring_to_masklen(const std::string& text);

// ---------------------------------------------------------------------------------------------
// Interfaces of this machine
// ---------------------------------------------------------------------------------------------

/// One IPv4 address of an interface with its mask.
struct NetworkAddr {
  std::string address; ///< "192.168.1.5"
  std::string mask;    ///< "255.255.255.0"
};

/// An interface of this machine as `ip` lists it.
struct NetworkInterface {
  int index = 0;                      ///< the kernel's number of the interface, from 1
  std::string caption;                ///< the name again
  std::string name;                   ///< as `ip` prints it: "eth0", in a container "eth0@if8"
  std::string extra;                  ///< empty
  std::string mac;                    ///< as `ip` prints it; empty when there is none
  std::vector<NetworkAddr> addresses; ///< in the order of `ip`; IPv4 only
  std::string gateway;                ///< the default gateway, on the interface that leads to it
  bool present = true;                ///< true of every interface that is found
};

/// What discovery found at one moment.
struct NetworkInterfaces {
  std::list<NetworkInterface> interfaces; ///< all but "lo"
  bool hasAddress = false;                ///< some interface has an address
  bool hasInterface = false;              ///< there is an interface
};

/// Why there is no network, in lng::language. The text lives as long as the process.
/// @{
QIV_API inline const char* ethsNotFound() {
  static const char* const ar[] = {"Network interfaces not found",
                                   "Сетевые интерфейсы не обнаружены"};
  return ar[lng::language];
}
QIV_API inline const char* networkAdaptersOff() {
  static const char* const ar[] = {"No ethernet adapters enabled or network is disabled",
                                   "Сетевые адаптеры или поддержка сети отключены"};
  return ar[lng::language];
}
QIV_API inline const char* networkAdapterOff() {
  static const char* const ar[] = {"ethernet adapter or network is disabled",
                                   "сетевой адаптер или поддержка сети отключены"};
  return ar[lng::language];
}
QIV_API inline const char* cableNotPlug() {
  static const char* const ar[] = {"No ethernet link", "Сетевой кабель не подключен"};
  return ar[lng::language];
}
QIV_API inline const char* noIpAddr() {
  static const char* const ar[] = {"no IP address", "IP адрес не задан"};
  return ar[lng::language];
}
/// @}

/// The interfaces except "lo", in the order of `ip a`; both flags are left false. When there is
/// no default gateway and every route is down, throws why: `const char*` (ethsNotFound,
/// networkAdaptersOff) or a std::string with a line for each interface. A std::string of the
/// command and its error text is thrown when `ip` complains. Without an `ip` tool the list is
/// empty.
QIV_API NetworkInterfaces getNetworkInterfacesLinux();

/// Adds a copy of `iface` unless it is nameless or "lo".
QIV_API void _addToNetIfs(NetworkInterfaces& list, const NetworkInterface& iface);

/// Questions about the network. Each call but ping discovers the interfaces anew and throws what
/// getNetworkInterfacesLinux throws. Safe to call from any thread, which waits for the tools.
class QIV_API NetworkHelper {
public:
  /// The interfaces with the two flags set.
  static NetworkInterfaces getNetworkInterfaces();

  /// The same without exceptions: `out` is left as it was on failure. The error tells the reason in
  /// lng::language. Where that differs from interface to interface, it says that the network cannot
  /// be used and has an inner error for each of them, such as "eth0: No ethernet link"; what the
  /// `ip` tool complains of is inner errors, too.
  static Result tryGetNetworkInterfaces(NetworkInterfaces& out);

  /// The MAC of the first interface, all zero when there is none.
  static Net::NetAddr<6, ':'> getFirstMacAddress();

  /// True when an address of the interface and ip/mask lie in each other's subnet. The name is
  /// NetworkInterface::name: where that is "eth0@if8", "eth0" is the name of no interface.
  static bool accessibleViaInterface(const std::string& interfaceName,
                                     const Net::NetAddr<4, '.'>& ip,
                                     const Net::NetAddr<4, '.'>& mask);

  /// The name of the first interface of which accessibleViaInterface is true; empty: none.
  static std::string getAccessibleInterface(const Net::NetAddr<4, '.'>& ip,
                                            const Net::NetAddr<4, '.'>& mask);

  /// pingLinux.
  static bool ping(const std::string& host, unsigned int timeout);
};

/// Adds 169.254.0.22/24 to eth2. Throws what spawnSyncWithThrow (qiv/files.h) throws.
QIV_API void set169ip();

// ---------------------------------------------------------------------------------------------
// Ping
// ---------------------------------------------------------------------------------------------

/// True when `host` answers one echo request of the `ping` tool within `timeout`, passed to its -W
/// (seconds). False for every failure. A host that is empty, starts with "-" or holds anything but
/// ASCII letters, digits and . : % _ - is not tried: the command goes through a shell. So does a
/// host that is a bare number, which the shell takes for a descriptor: it gives false.
QIV_API bool pingLinux(const std::string& host, unsigned int timeout);

/// The Internet checksum (RFC 1071) of `length` bytes, in native byte order.
QIV_API unsigned short _checksum(unsigned short* data, int length);

// ---------------------------------------------------------------------------------------------
// FTP upload
// ---------------------------------------------------------------------------------------------

namespace Net {
namespace Web {

/// Uploads over FTP, through buffers of the process: one upload at a time, whatever the object.
class QIV_API Client {
public:
  /// Stores a local file as `urlPrefix` + "qivor_upload.part" and, once it is complete, has the
  /// server rename it to `remoteName`. Blocks until done; standard error shows the progress.
  ///
  /// Returns 1 when the local file cannot be examined, which standard output tells, otherwise 0,
  /// EVEN WHEN THE TRANSFER FAILED: standard error tells why, and all that the server has of it is
  /// the temporary file or a part. Refused, with nothing sent, are null texts, a remote name with a
  /// line break or of more than 4,090 bytes, a URL of more than 4,095 with the temporary name, a
  /// folder, and a file that cannot be opened.
  ///
  /// `urlPrefix` is an FTP URL that ends with "/" and holds user and password where they are
  /// needed. Calls must not overlap, nor run while another thread starts or ends libcurl, and two
  /// programs must not upload into the same remote folder at once.
  int FTPUpload(const char* remoteName, const char* urlPrefix, const char* localPath);
};

} // namespace Web
} // namespace Net

} // namespace Qiv

#endif
