#include <sys/sysmacros.h> // defines major and minor as macros, which the header must bear

#include "qiv/text.h"

#include "support.h"
#include "text/base64.h"

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
  EXPECT_TRUE(isInclude("abc", "bc", 1, 3, false) && !isInclude("abc", "bc", 1, 2, false));
  EXPECT_TRUE(isInclude("abc", "", 4, 3, false)) << "end - pos is unsigned";
  std::string cut = "abc\0def"s;
  cut.resize(3); // "def" stays in memory
  EXPECT_FALSE(isInclude(cut, "c\0def"s, 2, 99, true) || isInclude(cut, "def", 4, 99, false));
  for (const char* locale : {"de_DE.ISO-8859-1", "C"})
    for (int i = setlocale(LC_ALL, locale) ? 0 : 1 << 16; i < 1 << 16; ++i) {
      if (locale != "C"s && strncasecmp("\xC4", "\xE4", 1) != 0)
        break; // that of a sanitizer, which folds ASCII only
      const std::string a(1, static_cast<char>(i)), b(1, static_cast<char>(i >> 8));
      const bool alike = std::tolower(i & 0xFF) == std::tolower(i >> 8);
      ASSERT_EQ(isInclude("<" + a, b, 1, 2, true), alike) << locale << i;
      ASSERT_EQ(isInclude("<" + a, b, 1, 2, false), a == b) << locale << i;
    }
}

TEST(StringHelper, SplitsReplacesAndComparesEnds) {
  EXPECT_EQ(StringHelper::split("..a.b.", '.'), (std::vector<std::string>{"", "", "a", "b", ""}));
  EXPECT_EQ(StringHelper::split("", '.'), std::vector<std::string>{""});
  expectRows("aba,a,aa aabaa  aaa,aa,b ba  abc,,x abc  abab,b, aa", [](const std::string& text) {
    const auto row = StringHelper::split(text, ',');
    return StringHelper::replaceAll(row[0], row[1], row[2]);
  });
  for (const std::string text : {"", "a", "ab", "abc", "bc", "c", "b", "abcd", "abcabc"}) {
    EXPECT_EQ(StringHelper::startsWith("abc", text), "abc"s.rfind(text, 0) == 0) << text;
    EXPECT_EQ(StringHelper::endsWith("abc", text), g_str_has_suffix("abc", text.c_str())) << text;
  }
}

TEST(StringHelper, FormatsAnyLength) {
  const auto message = "Qiv::StringHelper::format - Error during formatting.";
  EXPECT_EQ(StringHelper::formatC("%02d%c%5000d", 1, 0, 3), "01\0"s + std::string(4999, ' ') + "3");
  EXPECT_THROW(StringHelper::formatC(nullptr, 1, 2, 3), std::logic_error);
  testing::internal::CaptureStdout();
  EXPECT_EQ(thrown<std::runtime_error>([] { StringHelper::formatC("%2147483648d", 1, 2, 3); }),
            message);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), message);
}

TEST(Version, ReadsText) {
  expectRows(
      "1.2 1.2  1.2.3 1.2.3  _1._2 1.2  1_.2 0.0.0.0  1 0.0.0.0  1.2.3.4.5 0.0.0.0  ~ 0.0.0.0",
      [](const std::string& text) { return Version(text).to_string(); });
  Version version(1, 2, 3, 4);
  EXPECT_TRUE(version.parse("5.6") && !version.parse("9") && !version.parse("7.x.8"));
  EXPECT_EQ(version.to_string(), "7.6.3.4") << "what was read stays";
}

TEST(Version, HoldsPartsButNoNegativeOnes) {
  using Invalid = std::invalid_argument;
  Version version(1, 2);
  EXPECT_EQ(thrown<Invalid>([] { Version(-1, -1); }), "Значение major < 0");
  EXPECT_EQ(thrown<Invalid>([] { Version(1, -1, -1); }), "Значение minor < 0");
  EXPECT_EQ(thrown<Invalid>([] { Version(1, 1, -1, -1); }), "Значение build < 0");
  EXPECT_EQ(thrown<Invalid>([&] { version.setData(5, 5, 5, -1); }), "Значение revision < 0");
  EXPECT_EQ(thrown<Invalid>([&] { version._setItem(9, -1); }), "Значение < 0");
  EXPECT_EQ(thrown<Invalid>([] { Version("1.2.3.4.-5"); }), "Значение < 0");
  EXPECT_FALSE(version._setItem(4, 1) || version._setItem(-1, 1));
  EXPECT_EQ(version.to_string(4), "1.2.-1.-1");
  EXPECT_TRUE(version._setItem(3, 300) && version.getBytes() == (Bytes{1, 2, 44}));
  EXPECT_EQ(Version(0, 257, 0).getBytes(), (Bytes{0, 1, 0}));
  EXPECT_EQ(version.to_string() + version.to_string(0) + version.to_string(5), "1.2");
  const Version rising[] = {{1, 2}, {1, 2, 0}, {1, 2, 0, 0}, {1, 2, 0, 9}, {1, 10}, {2, 0}};
  for (const Version& a : rising)
    for (const Version& b : rising) // an absent part is below zero
      EXPECT_TRUE(a.compareTo(b) == (&a > &b) - (&a < &b) && (a < b) == (&a < &b) &&
                  (a <= b) == (&a <= &b) && (a == b) == (&a == &b) && (a > b) == (&a > &b) &&
                  (a >= b) == (&a >= &b));
}

TEST(Base64, AgreesWithGLib) {
  for (const bool avx2 : {false, __builtin_cpu_supports("avx2") != 0})
    for (unsigned int length = 0; length <= 300; ++length) {
      std::string bytes(length, ' ');
      std::generate(bytes.begin(), bytes.end(), std::mt19937(length));
      const auto* const data = reinterpret_cast<const unsigned char*>(bytes.data());
      const std::string text = Glib::Base64::encode(bytes);
      ASSERT_EQ(internal::encodeBase64(data, length, avx2), text);
      ASSERT_EQ(base64_encode(data, length), text);
      ASSERT_EQ(internal::decodeBase64(text, avx2), bytes);
      for (int byte = 0; byte < 256 && length > 0; ++byte) {
        const std::size_t end = (length + 13 * static_cast<unsigned int>(byte)) % text.size();
        const std::string cut = text.substr(0, end) + static_cast<char>(byte) + text;
        const bool foreign = !g_ascii_isalnum(byte) && byte != '+' && byte != '/';
        ASSERT_TRUE(!foreign || internal::decodeBase64(cut, avx2) == bytes.substr(0, end * 3 / 4));
      }
    }
  EXPECT_EQ(base64_decode("TW Fu") + base64_decode("T") + base64_decode("=TWFu"), "M");
}

TEST(BitArray, AgreesWithVectorOfBool) {
  std::mt19937 random;
  for (int round = 0; round < rounds(5000, 100000); ++round) {
    const std::size_t size = 1 + random() % 599, newSize = random() % 599, index = random() % size;
    BitArray array(size), other(size);
    std::vector<bool> bits(size);
    array.inverseAll();
    if (round % 2 != 0)
      other.inverseAll();
    for (std::size_t i = 0; i < size; ++i) {
      bits[i] = random() % 512 == 0;
      other.set(i, !bits[i]);
    }
    array = array.xorOperation(other);
    array.inverse(index);
    bits[index].flip();
    array.resize(newSize, round % 3 != 0);
    bits.resize(round % 3 != 0 || newSize == size ? newSize : 0);
    bits.resize(newSize);
    Bytes packed((newSize + 7) / 8);
    for (std::size_t i = 0; i < newSize; ++i) {
      ASSERT_EQ(array[i], bits[i]);
      packed[i / 8] |= static_cast<unsigned char>(bits[i] << i % 8);
    }
    ASSERT_EQ(array.getData(), packed);
    ASSERT_EQ(array.hasAnyTrue(), packed != Bytes(packed.size()));
  }
}

TEST(BitArray, FillsAndThrows) {
  const Bytes bytes = {1, 0xFF, 0xFF, 2};
  BitArray array(10);
  array.fillData(bytes.data(), 1, 2, false);
  using Range = std::out_of_range;
  EXPECT_EQ(thrown<Range>([&] { array.get(10); }), "Index out of range");
  EXPECT_EQ(thrown<Range>([&] { array.set(10, false); }), "Index out of range");
  EXPECT_EQ(thrown<Range>([&] { array.inverse(SIZE_MAX); }), "Index out of range");
  EXPECT_EQ(thrown<std::invalid_argument>([&] { array.xorWith(BitArray(9)); }),
            "BitArrays must have the same size for XOR operation");
  EXPECT_EQ(thrown<std::runtime_error>([&] { array.fillData(bytes.data(), 0, 1, false); }),
            "BitArray::fillData: Incorrect size");
  EXPECT_THROW(array.fillData(bytes.data(), 0, SIZE_MAX / 8 + 1, true), std::length_error);
  EXPECT_TRUE(array.getSize() == 10 && array.getData() == Bytes(2, 0xFF)) << "padding is kept";
  array.resize(16, true);
  EXPECT_EQ(array.getData(), (Bytes{0xFF, 3})) << "until the size changes";
  array.fillData(array.getData().data(), 1, 1, true);
  EXPECT_TRUE(array.getSize() == 8 && array.getData() == Bytes{3}) << "filled from itself";
  const BitArray moved = std::move(array);
  EXPECT_THROW(array.get(0), Range);
  (array = moved).clear();
  EXPECT_EQ(array.getData(), Bytes{0});
  array.fillData(nullptr, 5, 0, true);
  EXPECT_TRUE(array.getSize() == 0 && array.getData().empty());
}

TEST(ByteStack, IsFilledDrainedAndPrinted) {
  std::stack<unsigned char> stack;
  stackHelper::pushData(stack, std::string(257, 'a'), false, true);
  EXPECT_EQ(stackHelper::stackToVector(stack)[0], 1) << "the low byte of the length";
  stackHelper::pushData(stack, "xJ", true, false);
  testing::internal::CaptureStdout();
  stackHelper::printStack(stack);
  vectorHelper::print({0x0A, 0xFF});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "78x\n-4AJ\n\n0A-FF\n");
}

struct Distinct : RecentCollection {
  using RecentCollection::RecentCollection;
  bool _canAdd(const std::string& item) override { return item != getLast(); }
};

TEST(RecentCollection, KeepsTheNewestAtTheBack) {
  expectRows("3/a;b;c/d 2:b;c;d  2/x;y;z;w/v 2:y;z;w;v  2/x;y;z;w/w 2:y;z;w  9/a;b;a/a 2:a;b;a "
             "9/a;b;a;c/a 2:b;a;c;a  0//a 2:  9/;;a;;b/c;d 2:a;;b;c;d",
             [](const std::string& text) {
               const auto row = StringHelper::split(text, '/');
               RecentCollection recent(static_cast<unsigned int>(text[0] - '0'));
               int changes = 0;
               recent.signalChanged.connect([&changes] { ++changes; });
               recent.deserialize(row[1]);
               EXPECT_TRUE(recent.tryAdd(row[2]));
               return std::to_string(changes) + ":" + recent.serialize();
             });
  const std::string name(100, 'n');
  Distinct recent(3);
  recent.tryAdd(";" + name + ";" + name + ";b;c");
  recent.deserialize(recent.getCollection()[0]); // takes its own entries
  recent.tryAdd(recent.getCollection()[0]);
  EXPECT_EQ(recent.getCollection(), (std::vector<std::string>{"b", "c", name}));
  recent.signalChanged.connect([] { FAIL() << "refused, but announced"; });
  EXPECT_FALSE(recent.tryAdd(name));
}
