#include "qiv/text.h"

namespace Qiv {

std::string BitConverter::to_HexString(unsigned char value) {
  constexpr char digits[] = "0123456789ABCDEF";
  return {digits[value >> 4], digits[value & 0x0F]};
}

} // namespace Qiv
