#include "qiv/text.h"

#include <iomanip>
#include <iostream>

namespace Qiv {

std::vector<unsigned char> stackHelper::stringToVector(const std::string& text) {
  return {text.begin(), text.end()};
}

void stackHelper::pushData(std::stack<unsigned char>& stack, const unsigned char* data,
                           std::size_t length, bool reverse) {
  for (std::size_t i = 0; i < length; ++i)
    stack.push(data[reverse ? length - 1 - i : i]);
}

void stackHelper::pushData(std::stack<unsigned char>& stack, const std::string& text, bool reverse,
                           bool pushLength) {
  pushData(stack, reinterpret_cast<const unsigned char*>(text.data()), text.size(), reverse);
  if (pushLength)
    stack.push(static_cast<unsigned char>(text.size()));
}

std::vector<unsigned char> stackHelper::stackToVector(std::stack<unsigned char>& stack) {
  std::vector<unsigned char> bytes;
  bytes.reserve(stack.size());
  for (; !stack.empty(); stack.pop())
    bytes.push_back(stack.top());
  return bytes;
}

void stackHelper::printStack(std::stack<unsigned char>& stack) {
  std::cout << std::uppercase << std::hex << std::setfill('0') << std::setw(0);
  while (!stack.empty()) {
    const unsigned char byte = stack.top();
    std::cout << BitConverter::to_HexString(byte) << static_cast<char>(byte) << std::endl;
    stack.pop();
    if (!stack.empty())
      std::cout << '-';
  }
  std::cout << std::endl;
}

} // namespace Qiv
