#include <sys/sysmacros.h> // defines major and minor as macros, which the header must bear

#include "qiv/text.h"
#include "text/base64.h"

#include <climits>
#include <functional>
#include <glib.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <random>
#include <sstream>

using namespace Qiv;
using namespace std::string_literals;
using Bytes = std::vector<unsigned char>;

template <typename Error>
static void expectThrow(const char* text, const std::function<void()>& action) {
  try {
    action();
    ADD_FAILURE() << "not thrown: " << text;
  } catch (const Error& error) {
    EXPECT_STREQ(error.what(), text);
  }
}

TEST(StringHelper, MatchesAtAPosition) {
  EXPECT_TRUE(StringHelper::isInclude("Infinity", "INF", 0, 8, true));
  EXPECT_FALSE(StringHelper::isInclude("Infinity", "INF", 0, 8, false));
  EXPECT_TRUE(StringHelper::isInclude("abc", "bc", 1, 3, false));
  EXPECT_FALSE(StringHelper::isInclude("abc", "bc", 1, 2, false));
  EXPECT_TRUE(StringHelper::isInclude("abc", "", 4, 3, false)) << "end - pos is unsigned";
  EXPECT_FALSE(StringHelper::isInclude("Жук", "жук", 0, 6, true)) << "bytes, not letters";
  std::string cut = "abc\0def"s;
  cut.resize(3); // "def" stays in memory
  EXPECT_FALSE(StringHelper::isInclude(cut, "c\0def"s, 2, 99, true)) << "nothing is read behind";
  EXPECT_FALSE(StringHelper::isInclude(cut, "def", 4, 99, false)) << "nothing is read behind";
}

TEST(StringHelper, SplitsReplacesAndComparesEnds) {
  EXPECT_EQ(StringHelper::split("..a.b.", '.'), (std::vector<std::string>{"", "", "a", "b", ""}));
  EXPECT_EQ(StringHelper::split("", '.'), std::vector<std::string>{""});
  EXPECT_EQ(StringHelper::replaceAll("aba", "a", "aa"), "aabaa");
  EXPECT_EQ(StringHelper::replaceAll("aaa", "aa", "b"), "ba");
  EXPECT_EQ(StringHelper::replaceAll("abc", "", "x"), "abc");
  EXPECT_TRUE(StringHelper::startsWith("abc", "ab") && StringHelper::endsWith("abc", "bc"));
  EXPECT_TRUE(StringHelper::startsWith("", "") && StringHelper::endsWith("abc", ""));
  EXPECT_FALSE(StringHelper::startsWith("ab", "abc") || StringHelper::endsWith("bc", "abc"));
  EXPECT_FALSE(StringHelper::startsWith("abc", "bc") || StringHelper::endsWith("abc", "ab"));
}

TEST(StringHelper, FormatsAnyLength) {
  const auto message = "Qiv::StringHelper::format - Error during formatting.";
  EXPECT_EQ(StringHelper::formatC("%02d%c%5000d", 1, 0, 3), "01\0"s + std::string(4999, ' ') + "3");
  EXPECT_THROW(StringHelper::formatC(nullptr, 1, 2, 3), std::logic_error);
  testing::internal::CaptureStdout();
  expectThrow<std::runtime_error>(message, [] { StringHelper::formatC("%2147483648d", 1, 2, 3); });
  EXPECT_EQ(testing::internal::GetCapturedStdout(), message);
}

TEST(Version, ReadsText) {
  const std::pair<const char*, const char*> rows[] = {
      {"1.2", "1.2"},           {"1.2.3", "1.2.3"},  {"1.2.3.4", "1.2.3.4"},
      {" 1. 2", "1.2"},         {"+1.002", "1.2"},   {"1 .2", "0.0.0.0"},
      {"1", "0.0.0.0"},         {"", "0.0.0.0"},     {"1.2.", "0.0.0.0"},
      {"1..2", "0.0.0.0"},      {"a.b", "0.0.0.0"},  {"1.2147483648", "0.0.0.0"},
      {"1.2.3.4.5", "0.0.0.0"}, {"1.0x2", "0.0.0.0"}};
  for (const auto& [text, written] : rows)
    EXPECT_EQ(Version(text).to_string(), written) << text;
  Version version(1, 2, 3, 4);
  EXPECT_TRUE(version.parse("5.6"));
  EXPECT_EQ(version.to_string(), "5.6.3.4");
  EXPECT_FALSE(version.parse("9") || version.parse("7.x.8"));
  EXPECT_EQ(version.to_string(), "7.6.3.4") << "what was read stays";
}

TEST(Version, HoldsPartsButNoNegativeOnes) {
  Version version(1, 2);
  const std::pair<const char*, std::function<void()>> rows[] = {
      {"Значение major < 0", [] { Version(-1, -1); }},
      {"Значение minor < 0", [] { Version(1, -1, -1); }},
      {"Значение build < 0", [] { Version(1, 1, -1, -1); }},
      {"Значение revision < 0", [&] { version.setData(5, 5, 5, -1); }},
      {"Значение < 0", [&] { version._setItem(9, -1); }},
      {"Значение < 0", [] { Version("1.2.3.4.-5"); }}};
  for (const auto& [message, action] : rows)
    expectThrow<std::invalid_argument>(message, action);
  EXPECT_FALSE(version._setItem(4, 1) || version._setItem(-1, 1));
  EXPECT_EQ(version.to_string(4), "1.2.-1.-1");
  EXPECT_TRUE(version._setItem(3, 300));
  EXPECT_EQ(version.getBytes(), (Bytes{1, 2, 44}));
  EXPECT_EQ(Version(0, 257, 0).getBytes(), (Bytes{0, 1, 0}));
  EXPECT_EQ(version.to_string() + version.to_string(0) + version.to_string(5), "1.2");
}

TEST(Version, OrdersAnAbsentPartBelowZero) {
  const Version rising[] = {{1, 2}, {1, 2, 0}, {1, 2, 0, 0}, {1, 2, 0, 9}, {1, 10}, {2, 0}};
  for (const Version& a : rising)
    for (const Version& b : rising) {
      EXPECT_EQ(a.compareTo(b), (&a > &b) - (&a < &b));
      EXPECT_TRUE((a < b) == (&a < &b) && (a <= b) == (&a <= &b) && (a == b) == (&a == &b));
      EXPECT_TRUE((a > b) == (&a > &b) && (a >= b) == (&a >= &b));
    }
}

static std::mt19937 engine;

static Bytes randomBytes(std::size_t count) {
  Bytes bytes(count);
  std::generate(bytes.begin(), bytes.end(), std::ref(engine));
  return bytes;
}

static const bool avx2Ways[] = {false, __builtin_cpu_supports("avx2") != 0};

TEST(Base64, AgreesWithGLib) {
  for (const bool avx2 : avx2Ways)
    for (unsigned int length = 0; length <= 300; ++length) {
      const Bytes bytes = randomBytes(length);
      gchar* const glib = g_base64_encode(bytes.data(), length);
      const std::string text = glib;
      g_free(glib);
      ASSERT_EQ(internal::encodeBase64(bytes.data(), length, avx2), text);
      ASSERT_EQ(internal::decodeBase64(text, avx2), std::string(bytes.begin(), bytes.end()));
    }
}

TEST(Base64, StopsAtTheFirstForeignCharacter) {
  const std::string text = base64_encode(randomBytes(96).data(), 96);
  for (const bool avx2 : avx2Ways)
    for (int byte = CHAR_MIN; byte <= CHAR_MAX; ++byte)
      for (std::size_t place = 0; place < text.size(); ++place) {
        std::string damaged = text;
        damaged[place] = static_cast<char>(byte);
        const bool foreign = !g_ascii_isalnum(damaged[place]) && byte != '+' && byte != '/';
        const std::size_t length = foreign ? place * 3 / 4 : 96;
        ASSERT_EQ(internal::decodeBase64(damaged, avx2).size(), length) << byte << " " << place;
      }
  EXPECT_EQ(base64_decode("TW Fu") + base64_decode("T") + base64_decode("=TWFu"), "M");
}

TEST(BitArray, AgreesWithVectorOfBool) {
  for (int round = 0; round < 20000; ++round) {
    const std::size_t size = 1 + engine() % 99, newSize = engine() % 99, index = engine() % size;
    BitArray array(size), every3rd(size);
    std::vector<bool> bits(size);
    if (round % 2 != 0)
      array.inverseAll();
    for (std::size_t i = 0; i < size; ++i) {
      bits[i] = engine() % 64 == 0;
      array.set(i, bits[i] != (i % 3 == 0));
      every3rd.set(i, i % 3 == 0);
    }
    array = array.xorOperation(every3rd);
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
  const auto index = "Index out of range";
  expectThrow<std::out_of_range>(index, [&] { array.get(10); });
  expectThrow<std::out_of_range>(index, [&] { array.set(10, false); });
  expectThrow<std::out_of_range>(index, [&] { array.inverse(SIZE_MAX); });
  expectThrow<std::invalid_argument>("BitArrays must have the same size for XOR operation",
                                     [&] { array.xorWith(BitArray(9)); });
  expectThrow<std::runtime_error>("BitArray::fillData: Incorrect size",
                                  [&] { array.fillData(bytes.data(), 0, 1, false); });
  EXPECT_THROW(array.fillData(bytes.data(), 0, SIZE_MAX / 8 + 1, true), std::length_error);
  EXPECT_TRUE(array.getSize() == 10 && array.getData() == Bytes(2, 0xFF)) << "padding is kept";
  array.resize(16, true);
  EXPECT_EQ(array.getData(), (Bytes{0xFF, 3})) << "until the size changes";
  array.fillData(array.getData().data(), 1, 1, true);
  EXPECT_TRUE(array.getSize() == 8 && array.getData() == Bytes{3}) << "filled from itself";
  const BitArray moved = std::move(array);
  EXPECT_THROW(array.get(0), std::out_of_range);
  (array = moved).fillData(nullptr, 5, 0, true);
  EXPECT_EQ(array.getSize() + array.getData().size(), 0U);
  (array = moved).clear();
  EXPECT_EQ(array.getData(), Bytes{0});
}

TEST(RecentCollection, KeepsTheNewestAtTheBack) {
  const std::tuple<const char*, unsigned int, const char*, const char*, const char*> rows[] = {
      {"drops the oldest", 3, "a;b;c", "d", "b;c;d"},
      {"drops one only", 2, "x;y;z;w", "v", "y;z;w;v"},
      {"drops for the newest too", 2, "x;y;z;w", "w", "y;z;w"},
      {"keeps the older twin", 9, "a;b;a", "a", "a;b;a"},
      {"moves the first of two", 9, "a;b;a;c", "a", "b;a;c;a"},
      {"holds nothing", 0, "", "a", ""},
      {"no separator after empty", 9, ";;a;;b", "c;d", "a;;b;c;d"}};
  for (const auto& [name, maxCount, start, item, expected] : rows) {
    RecentCollection recent(maxCount);
    int changes = 0;
    recent.signalChanged.connect([&changes] { ++changes; });
    recent.deserialize(start);
    EXPECT_TRUE(recent.tryAdd(item) && changes == 2) << name;
    EXPECT_EQ(recent.serialize(), expected) << name;
  }
}

struct Distinct : RecentCollection {
  using RecentCollection::RecentCollection;
  bool _canAdd(const std::string& item) override { return item != getLast(); }
};

TEST(RecentCollection, AsksBeforeEachEntryAndTakesItsOwn) {
  const std::string name(100, 'n');
  Distinct recent(3);
  recent.tryAdd(";" + name + ";" + name + ";b;c");
  recent.deserialize(recent.getCollection()[0]);
  recent.tryAdd(recent.getCollection()[0]);
  EXPECT_EQ(recent.getCollection(), (std::vector<std::string>{"b", "c", name}));
  recent.signalChanged.connect([] { FAIL() << "refused, but announced"; });
  EXPECT_FALSE(recent.tryAdd(name));
}
