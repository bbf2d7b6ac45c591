#include <sys/sysmacros.h> // defines major and minor as macros, which the header must bear

#include "qiv/text.h"

#include "support.h"
#include "text/base64.h"

#include <algorithm>
#include <glibmm/base64.h>
#include <random>

using namespace Qiv;
using namespace std::string_literals;
using namespace support;
using Bytes = std::vector<unsigned char>;

/// What `action` throws, by its type and text.
template <typename Error>
static std::string thrown(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& error) {
    return error.what();
  }
  return "nothing";
}

TEST(StringHelper, MatchesAtAPosition) {
  const auto isInclude = StringHelper::isInclude;
  EXPECT_FALSE(isInclude("abc", "bc", 1, 2, false));
  EXPECT_TRUE(isInclude("abc", "", 4, 3, false)) << "end - pos is unsigned";
  std::string cut = "abc\0def"s;
  cut.resize(3); // "def" stays in memory
  EXPECT_FALSE(isInclude(cut, "c\0def"s, 2, 99, true));
  EXPECT_FALSE(isInclude(cut, "def", 4, 99, false));
}

TEST(StringHelper, ReplacesInTimeThatFollowsTheLength) {
  const std::string text(10'000'000, 'a'); // comparing at each place would take minutes
  EXPECT_EQ(StringHelper::replaceAll(text, std::string(5'000'000, 'a') + "b", ""), text);
}

TEST(StringHelper, FormatsAnyLength) {
  const auto message = "Qiv::StringHelper::format - Error during formatting.";
  EXPECT_EQ(StringHelper::formatC("%.0d%.0d%.0d", 0, 0, 0), "");
  EXPECT_EQ(StringHelper::formatC("%02d%c%5000d", 1, 0, 3), "01\0"s + std::string(4999, ' ') + "3");
  testing::internal::CaptureStdout();
  EXPECT_EQ(thrown<std::runtime_error>([] { StringHelper::formatC("%2147483648d", 1, 2, 3); }),
            message);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), message);
}

TEST(Version, HoldsPartsButNoNegativeOnes) {
  using Invalid = std::invalid_argument;
  EXPECT_EQ(thrown<Invalid>([] { Version(-1, -1); }), "Значение major < 0");
  EXPECT_EQ(thrown<Invalid>([] { Version(1, -1, -1); }), "Значение minor < 0");
  EXPECT_EQ(thrown<Invalid>([] { Version(1, 1, -1, -1); }), "Значение build < 0");
  EXPECT_EQ(thrown<Invalid>([] { Version(1, 1, 1, -1); }), "Значение revision < 0");
  EXPECT_EQ(thrown<Invalid>([] { Version("1.-5"); }), "Значение < 0");
  Version version(1, 2);
  EXPECT_EQ(version.to_string(4), "1.2.-1.-1");
  EXPECT_EQ(version.to_string(5), "");
  EXPECT_TRUE(version._setItem(3, 300));
  EXPECT_EQ(version.getBytes(), (Bytes{1, 2, 44}));
  EXPECT_TRUE(version.parse(" 5. 6"));
  EXPECT_FALSE(version.parse("9"));
  EXPECT_FALSE(version.parse("7.x.8"));
  EXPECT_EQ(version.to_string(4), "7.6.-1.300") << "what was read stays";
  EXPECT_EQ(thrown<Invalid>([&] { version.setData(1, 2, 3, -1); }), "Значение revision < 0");
  EXPECT_EQ(version.to_string(4), "7.6.-1.300") << "nothing changes";
  version.setData(1, 2, 3, 4);
  const Version other = std::move(version);
  EXPECT_EQ(version.to_string(), "1.2.3.4") << "moving copies";
}

TEST(Version, OrdersAbsentPartsBelowZero) {
  const Version rising[] = {{1, 2}, {1, 2, 0}, {1, 2, 0, 0}, {1, 2, 0, 9}, {1, 10}, {2, 0}};
  for (const Version& a : rising)
    for (const Version& b : rising) {
      EXPECT_EQ(a < b, &a < &b);
      EXPECT_EQ(a > b, &a > &b);
      EXPECT_EQ(a <= b, &a <= &b);
      EXPECT_EQ(a >= b, &a >= &b);
      EXPECT_EQ(a == b, &a == &b);
    }
}

TEST(Base64, AgreesWithGLibBothWays) {
  EXPECT_EQ(base64_decode(base64_encode(Bytes{0, 0xFF}.data(), 2)), "\0\xFF"s);
  for (const bool avx2 : {false, internal::hasAvx2()})
    for (unsigned int length = 0; length <= 300; ++length) {
      std::string bytes(length, ' ');
      std::generate(bytes.begin(), bytes.end(), std::mt19937(length));
      const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
      const std::string text = Glib::Base64::encode(bytes);
      ASSERT_EQ(internal::encodeBase64(data, length, avx2), text);
      ASSERT_EQ(internal::decodeBase64(text, avx2), bytes);
      for (int byte = 0; byte < 256 && length > 0; ++byte) { // a foreign one ends the text
        const std::size_t end = (length + 13 * static_cast<unsigned int>(byte)) % text.size();
        const std::string cut = text.substr(0, end) + static_cast<char>(byte) + text;
        const bool foreign = !g_ascii_isalnum(byte) && byte != '+' && byte != '/';
        ASSERT_TRUE(!foreign || internal::decodeBase64(cut, avx2) == bytes.substr(0, end * 3 / 4));
      }
    }
}

TEST(BitArray, AgreesWithVectorOfBool) {
  std::mt19937 random;
  for (int round = 0; round < rounds(5000, 100000); ++round) {
    const std::size_t size = 1 + random() % 599, newSize = random() % 599, index = random() % size;
    BitArray array(size), other(size);
    std::vector<bool> bits(size);
    array.inverseAll();
    for (std::size_t i = 0; i < size; ++i)
      other.set(i, !(bits[i] = random() % 512 == 0));
    array = array.xorOperation(other);
    array.inverse(index);
    bits[index].flip();
    array.resize(newSize, round % 3 != 0);
    bits.resize(round % 3 != 0 || newSize == size ? newSize : 0);
    bits.resize(newSize);
    ASSERT_EQ(array.getSize(), newSize);
    for (std::size_t i = 0; i < newSize; ++i)
      ASSERT_EQ(array[i], bits[i]);
    ASSERT_EQ(array.hasAnyTrue(), std::count(bits.begin(), bits.end(), true) != 0);
  }
}

TEST(BitArray, FillsAndThrows) {
  const Bytes bytes = {1, 0xFF, 0xFF, 2};
  BitArray array(10);
  BitArray shorter(9);
  shorter.inverseAll();
  array.fillData(bytes.data(), 1, 2, false);
  EXPECT_EQ(thrown<std::out_of_range>([&] { array.get(10); }), "Index out of range");
  EXPECT_EQ(thrown<std::invalid_argument>([&] { array.xorWith(shorter); }),
            "BitArrays must have the same size for XOR operation");
  EXPECT_EQ(thrown<std::runtime_error>([&] { array.fillData(bytes.data(), 0, 1, false); }),
            "BitArray::fillData: Incorrect size");
  EXPECT_EQ(array.getData(), Bytes(2, 0xFF)) << "padding is kept, and what fails changes nothing";
  array.resize(16, true);
  EXPECT_EQ(array.getData(), (Bytes{0xFF, 3})) << "until the size changes";
  array.clear();
  EXPECT_EQ(array.getData(), Bytes(2));
  EXPECT_THROW(array.fillData(bytes.data(), 0, SIZE_MAX / 4, true), std::length_error);
  array.fillData(bytes.data(), 1, 3, true);
  EXPECT_EQ(array.getSize(), 24U);
}

TEST(BitArray, IsEmptyWhenMovedFromAndGrowsBitByBit) {
  BitArray array(9);
  array.set(8, true);
  BitArray other = std::move(array);
  for (std::size_t size = 1; size <= 4'000'000; ++size) // copying each time would take minutes
    array.resize(size, true);
  EXPECT_FALSE(array.hasAnyTrue());
  array = std::move(other);
  EXPECT_EQ(array.getData(), (Bytes{0, 1}));
  EXPECT_EQ(other.getSize(), 0U);
}

TEST(ByteStack, IsFilledDrainedAndPrinted) {
  std::stack<unsigned char> stack;
  stackHelper::pushData(stack, std::string(257, 'a'), false, true);
  EXPECT_EQ(stackHelper::stackToVector(stack)[0], 1) << "the low byte of the length";
  stackHelper::pushData(stack, "xJ", true, false);
  testing::internal::CaptureStdout();
  stackHelper::printStack(stack);
  vectorHelper::print({0x0A, 0xFF});
  vectorHelper::print({});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "78x\n-4AJ\n\n0A-FF\n\n");
}
