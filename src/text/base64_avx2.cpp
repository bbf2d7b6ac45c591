// Base64 in registers of 32 bytes, after W. Muła and D. Lemire, "Faster Base64 Encoding and
// Decoding Using AVX2 Instructions", ACM Transactions on the Web 12 (3), 2018. The functions ask
// for AVX2 one by one: with a flag for the file, inline functions of headers might use it too and
// be linked where the processor lacks it.

#include "text/base64.h"

#if defined(__x86_64__) || defined(__i386__)

#include <immintrin.h>

namespace Qiv::internal {

namespace {

/// Shuffles look up in each half of a register by itself, so both get the table.
[[gnu::target("avx2")]] __m256i twice(__m128i table) {
  return _mm256_broadcastsi128_si256(table);
}

/// Three bytes in each 32 bits become four values of six bits.
[[gnu::target("avx2")]] __m256i unpack(__m256i bytes) {
  // a b c, repeated as b a c b, is two numbers of 16 bits: ab and bc. Multiplying shifts each
  // value to its place, the first and third down from the high half of the product.
  const __m256i pairs = _mm256_shuffle_epi8(
      bytes, twice(_mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10)));
  const __m256i firstAndThird = _mm256_mulhi_epu16(
      _mm256_and_si256(pairs, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
  const __m256i secondAndFourth = _mm256_mullo_epi16(
      _mm256_and_si256(pairs, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
  return _mm256_or_si256(firstAndThird, secondAndFourth);
}

/// Makes characters of values, by adding what their range asks for.
[[gnu::target("avx2")]] __m256i toCharacters(__m256i values) {
  constexpr char digit = '0' - 52;
  const __m256i offsets =
      twice(_mm_setr_epi8('A', 'a' - 26, digit, digit, digit, digit, digit, digit, digit, digit,
                          digit, digit, '+' - 62, '/' - 63, 0, 0));
  // 0 for upper case, 1 for lower case, then one for each value.
  const __m256i from26 = _mm256_cmpgt_epi8(values, _mm256_set1_epi8(25)); // -1 where it holds
  const __m256i range = _mm256_sub_epi8(_mm256_subs_epu8(values, _mm256_set1_epi8(51)), from26);
  return _mm256_add_epi8(values, _mm256_shuffle_epi8(offsets, range));
}

/// Makes values of characters; false when one is foreign.
[[gnu::target("avx2")]] bool toValues(__m256i& text) {
  // A bit for each group of high digits: 2_, 3_, 4_ and 6_, 5_ and 7_, all others.
  const __m256i groups =
      twice(_mm_setr_epi8(16, 16, 1, 2, 4, 8, 4, 8, 16, 16, 16, 16, 16, 16, 16, 16));
  // The groups in which a low digit makes a foreign character.
  const __m256i foreign =
      twice(_mm_setr_epi8(21, 17, 17, 17, 17, 17, 17, 17, 17, 17, 19, 26, 27, 27, 27, 26));
  // By high digit; "/" goes one to the left, away from "+".
  const __m256i offsets = twice(_mm_setr_epi8(0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a',
                                              26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0));
  const __m256i digit = _mm256_set1_epi8(15);
  const __m256i high = _mm256_and_si256(_mm256_srli_epi32(text, 4), digit);
  const __m256i low = _mm256_and_si256(text, digit);
  if (!_mm256_testz_si256(_mm256_shuffle_epi8(groups, high), _mm256_shuffle_epi8(foreign, low)))
    return false;
  const __m256i slash = _mm256_cmpeq_epi8(text, _mm256_set1_epi8('/'));
  text = _mm256_add_epi8(text, _mm256_shuffle_epi8(offsets, _mm256_add_epi8(high, slash)));
  return true;
}

/// Four values of six bits become three bytes; 24 stand at the start.
[[gnu::target("avx2")]] __m256i pack(__m256i values) {
  const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi16(0x0140));
  const __m256i fours = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
  const __m256i bytes = _mm256_shuffle_epi8(
      fours, twice(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1)));
  return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
}

} // namespace

bool hasAvx2() {
  return __builtin_cpu_supports("avx2");
}

[[gnu::target("avx2")]] std::size_t encodeByAvx2(const unsigned char* data, std::size_t length,
                                                 char* out) {
  std::size_t done = 0;
  // Each half takes 12 bytes, but reads 16.
  for (; length - done >= 28; done += 24, out += 32) {
    const auto* const in = reinterpret_cast<const __m128i*>(data + done);
    const auto* const next = reinterpret_cast<const __m128i*>(data + done + 12);
    const __m256i bytes = _mm256_set_m128i(_mm_loadu_si128(next), _mm_loadu_si128(in));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), toCharacters(unpack(bytes)));
  }
  return done;
}

[[gnu::target("avx2")]] std::size_t decodeByAvx2(const unsigned char* text, std::size_t length,
                                                 char* out) {
  std::size_t done = 0;
  // 24 bytes come out, but 32 are written: 12 characters more make room for them.
  for (; length - done >= 44; done += 32, out += 24) {
    __m256i block = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(text + done));
    if (!toValues(block))
      break;
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), pack(block));
  }
  return done;
}

} // namespace Qiv::internal

#endif
