#ifndef QIV_TEXT_BASE64_H
#define QIV_TEXT_BASE64_H

#include <cstddef>
#include <string>

namespace Qiv::internal {

/// Both ways, with and without AVX2, behind base64_encode and base64_decode.
std::string encodeBase64(const unsigned char* data, std::size_t length, bool avx2);
std::string decodeBase64(const std::string& text, bool avx2);

/// These do what they can in steps of a whole register and return how much of the input that is: a
/// multiple of 24 bytes, or of 32 characters, none of them foreign. The rest is the caller's.
/// `out` has room for what the whole input gives.
#if defined(__x86_64__) || defined(__i386__)
bool hasAvx2();
std::size_t encodeByAvx2(const unsigned char* data, std::size_t length, char* out);
std::size_t decodeByAvx2(const unsigned char* text, std::size_t length, char* out);
#else
inline bool hasAvx2() {
  return false;
}
inline std::size_t encodeByAvx2(const unsigned char*, std::size_t, char*) {
  return 0;
}
inline std::size_t decodeByAvx2(const unsigned char*, std::size_t, char*) {
  return 0;
}
#endif

} // namespace Qiv::internal

#endif
