/// The entry of libFuzzer. Without it, a program that tries each file of a folder and every short
/// text over an alphabet: PROGRAM FOLDER ALPHABET

#include "fuzz.h"

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <iterator>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  tryText({data, data + size});
  return 0;
}

#ifndef QIV_LIBFUZZER
static std::string text;

static void tryEach(const std::string& alphabet, int more) {
  tryText(text);
  for (std::size_t i = 0; i < alphabet.size() && more > 0; ++i, text.pop_back())
    tryEach(alphabet, (text += alphabet[i], more - 1));
}

int main(int, char** arguments) try {
  for (const auto& entry : std::filesystem::directory_iterator(arguments[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    tryText(text.assign(std::istreambuf_iterator<char>(file), {}));
  }
  text.clear();
  tryEach(arguments[2], std::getenv("QIV_PROVE") ? 5 : 4);
} catch (const char* statement) {
  std::cerr << std::quoted(text) << " disagrees: " << statement << "\n";
  return 1;
}
#endif
