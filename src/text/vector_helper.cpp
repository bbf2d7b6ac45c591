#include "qiv/text.h"

#include <iomanip>
#include <iostream>

namespace Qiv {

void vectorHelper::print(const std::vector<unsigned char>& bytes) {
  std::string line;
  line.reserve(3 * bytes.size());
  for (const unsigned char byte : bytes) {
    if (!line.empty())
      line += '-';
    line += BitConverter::to_HexString(byte);
  }
  std::cout << std::uppercase << std::hex << std::setw(0) << line << std::endl;
}

} // namespace Qiv
