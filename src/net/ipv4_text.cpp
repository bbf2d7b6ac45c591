#include "net/ipv4_number.h"

#include <cstdint>

namespace Qiv {

unsigned int ipv4_str_to_addr(const std::string& text) {
  static constexpr const char* digits = "1234567890abcdefABCDEF";
  static constexpr const char* allowed = " 1234567890abcdefABCDEF.:-";
  if (text.find_first_not_of(allowed) != std::string::npos)
    return 0;

  unsigned int sum = 0;
  std::size_t position = text.find_first_of(digits);
  for (int part = 0; part < 4 && position != std::string::npos; ++part) {
    std::size_t consumed;
    const int value = std::stoi(text.substr(position), &consumed);
    sum = (sum << 8) + static_cast<unsigned int>(value);
    position = text.find_first_of(digits, position + consumed);
  }
  return sum;
}

bool same_ipv4_segment(const std::string& ip1, const std::string& mask1, const std::string& ip2,
                       const std::string& mask2) {
  return (ipv4_str_to_addr(ip1) & ipv4_str_to_addr(mask1)) ==
         (ipv4_str_to_addr(ip2) & ipv4_str_to_addr(mask2));
}

std::string masklen_to_maskstring(const unsigned int& length) {
  const unsigned int mask = 0U - (1U << ((32U - length) % 32U));
  return internal::toAddress(mask).to_string();
}

unsigned int maskstring_to_masklen(const std::string& text) {
  const std::uint64_t hosts = (std::uint64_t{1} << 32) - ipv4_str_to_addr(text);
  unsigned int hostBits = 0;
  while (std::uint64_t{1} << hostBits < hosts)
    ++hostBits;
  return 32 - hostBits;
}

} // namespace Qiv
