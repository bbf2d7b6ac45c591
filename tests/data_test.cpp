#include "qiv/text.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <iostream>
#include <random>

using namespace Qiv;
using Bytes = std::vector<unsigned char>;

namespace {

std::size_t randomBelow(std::size_t limit) {
  static std::minstd_rand engine(1);
  return (engine() >> 8) % limit;
}

Bytes randomBytes(std::size_t count) {
  Bytes bytes(count);
  for (unsigned char& byte : bytes)
    byte = static_cast<unsigned char>(randomBelow(256));
  return bytes;
}

TEST(Base64, AgreesWithGLib) {
  EXPECT_EQ(base64_encode(nullptr, 0), "");
  for (unsigned int length = 1; length <= 300; ++length) {
    const Bytes bytes = randomBytes(length);
    gchar* expected = g_base64_encode(bytes.data(), length);
    const std::string text = base64_encode(bytes.data(), length);
    ASSERT_EQ(text, expected);
    ASSERT_EQ(base64_decode(text), std::string(bytes.begin(), bytes.end()));
    g_free(expected);
  }
}

TEST(Base64, DecodingStopsAtAForeignByte) {
  for (int value = 0; value < 256; ++value) {
    const std::string text = "TWFuTWF" + std::string(1, static_cast<char>(value)) + "TWFu";
    const bool foreign = !g_ascii_isalnum(text[7]) && value != '+' && value != '/';
    gsize length; // GLib skips what is foreign
    guchar* bytes = g_base64_decode(foreign ? "TWFuTWE=" : text.c_str(), &length);
    ASSERT_EQ(base64_decode(text), std::string(reinterpret_cast<char*>(bytes), length)) << value;
    g_free(bytes);
  }
  EXPECT_EQ(base64_decode("TW Fu") + base64_decode("T") + base64_decode("=TWFu"), "M");
}

TEST(StackHelper, PushesAndDrains) {
  std::stack<unsigned char> stack;
  stackHelper::pushData(stack, Bytes{1, 2, 3}.data(), 3, true);
  stackHelper::pushData(stack, nullptr, 0, true);
  stackHelper::pushData(stack, "a\xFF", false, false);
  EXPECT_EQ(stackHelper::stackToVector(stack), (Bytes{0xFF, 'a', 1, 2, 3}));
  stackHelper::pushData(stack, std::string(258, 'x'), true, true);
  EXPECT_EQ(stack.top(), 2);
  EXPECT_EQ(stack.size(), 259U);
}

TEST(Printing, IsHexadecimalAndLeavesItsMode) {
  std::stack<unsigned char> stack;
  stackHelper::pushData(stack, "\nz", true, false);
  testing::internal::CaptureStdout();
  std::cout << std::showbase << std::setw(9); // neither may disturb
  vectorHelper::print({0x0A, 0xFF, 0x10});
  std::cout << std::noshowbase << std::setw(4) << 26 << std::dec << std::nouppercase
            << std::setw(9);
  stackHelper::printStack(stack);
  std::cout << std::setw(4) << 26;
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "0A-FF-10\n  1A0A\n\n-7Az\n\n001A");
  EXPECT_TRUE(stack.empty());
}

bool bit(const Bytes& bytes, std::size_t i) {
  return i / 8 < bytes.size() && (bytes[i / 8] >> i % 8 & 1) != 0;
}

TEST(BitArray, EveryOperationKeepsEveryBit) {
  BitArray array(1);
  for (int step = 0; step < 20000; ++step) {
    const Bytes old = array.getData();
    const std::size_t size = array.getSize(), index = randomBelow(size), action = randomBelow(6);
    const std::size_t newSize = 1 + randomBelow(200);
    const bool value = randomBelow(2) != 0;
    const Bytes source = randomBytes(1 + (value ? old.size() : 1 + randomBelow(20)));
    BitArray other = array.clone();
    other.inverse(index);
    if (action == 0)
      array.set(index, value);
    else if (action == 1)
      array.inverse(index);
    else if (action == 2)
      array.inverseAll();
    else if (action == 3)
      array.resize(newSize, value);
    else if (action == 4)
      array.fillData(source.data(), 1, source.size() - 1, true);
    else
      array = array.xorOperation(other);
    const Bytes& data = array.getData();
    ASSERT_EQ(data.size(), (array.getSize() + 7) / 8);
    for (std::size_t i = 0; i < 8 * data.size(); ++i) {
      const bool expected[] = {i == index ? value : bit(old, i),
                               bit(old, i) != (i == index),
                               i < size && !bit(old, i),
                               bit(old, i) &&
                                   (newSize == size || (value && i < std::min(size, newSize))),
                               bit(source, i + 8),
                               i == index};
      ASSERT_EQ(bit(data, i), expected[action]) << "action " << action << ", bit " << i;
    }
    ASSERT_EQ(array[array.getSize() - 1], bit(data, array.getSize() - 1));
    ASSERT_EQ(array.hasAnyTrue(), data != Bytes(data.size()));
  }
  array.clear();
  EXPECT_FALSE(array.hasAnyTrue());
}

template <typename Error, typename Action>
void expectThrow(const char* text, Action action) {
  try {
    action();
    FAIL() << "not thrown: " << text;
  } catch (const Error& error) {
    EXPECT_STREQ(error.what(), text);
  }
}

TEST(BitArray, ThrowsAndChangesNothing) {
  const Bytes bytes(3, 0xFF);
  BitArray array(10);
  array.fillData(bytes.data(), 0, 2, false);
  expectThrow<std::out_of_range>("Index out of range", [&] { array.get(10); });
  expectThrow<std::out_of_range>("Index out of range", [&] { array.set(10, false); });
  expectThrow<std::out_of_range>("Index out of range", [&] { array.inverse(SIZE_MAX); });
  expectThrow<std::invalid_argument>("BitArrays must have the same size for XOR operation",
                                     [&] { array.xorWith(BitArray(9)); });
  expectThrow<std::runtime_error>("BitArray::fillData: Incorrect size",
                                  [&] { array.fillData(bytes.data(), 0, 3, false); });
  EXPECT_THROW(array.fillData(bytes.data(), 0, SIZE_MAX / 8 + 1, true), std::length_error);
  EXPECT_EQ(array.getSize(), 10U);
  EXPECT_EQ(array.getData(), Bytes(2, 0xFF));
}

TEST(BitArray, FillsFromItselfAndFromNothing) {
  BitArray array(24);
  array.set(17, true);
  array.fillData(array.getData().data(), 2, 1, true);
  EXPECT_EQ(array.getData(), Bytes{2});
  const BitArray moved = std::move(array);
  EXPECT_THROW(array.get(0), std::out_of_range);
  (array = moved).fillData(nullptr, 5, 0, true);
  EXPECT_EQ(array.getSize() + array.getData().size(), 0U);
}

TEST(RecentCollection, KeepsTheNewestAtTheBack) {
  const struct {
    const char* name;
    unsigned int maxCount;
    const char *start, *item, *expected;
  } rows[] = {
      {"drops_the_oldest", 3, "a;b;c", "d", "b;c;d"},
      {"moves_a_known_one", 3, "b;c;d", "c", "b;d;c"},
      {"drops_one_only", 2, "x;y;z;w", "v", "y;z;w;v"},
      {"drops_for_the_newest_too", 2, "x;y;z;w", "w", "y;z;w"},
      {"keeps_the_older_twin", 9, "a;b;a", "a", "a;b;a"},
      {"moves_the_first_of_two", 9, "a;b;a;c", "a", "b;a;c;a"},
      {"holds_nothing", 0, "", "a", ""},
      {"no_separator_after_empty", 9, ";;a;;b", "c;d", "a;;b;c;d"},
  };
  for (const auto& row : rows) {
    RecentCollection recent(row.maxCount);
    int changes = 0;
    recent.signalChanged.connect([&changes] { ++changes; });
    recent.deserialize(row.start);
    EXPECT_TRUE(recent.tryAdd(row.item)) << row.name;
    EXPECT_EQ(recent.serialize(), row.expected) << row.name;
    EXPECT_EQ(changes, 2) << row.name;
  }
}

/// Refuses empty entries and those it has.
struct Distinct : RecentCollection {
  using RecentCollection::RecentCollection;
  bool _canAdd(const std::string& item) override {
    return !item.empty() && serialize().find(item) == std::string::npos;
  }
};

TEST(RecentCollection, AsksBeforeEachEntry) {
  Distinct recent(2);
  recent.deserialize("a;;b;a;");
  EXPECT_EQ(recent.serialize(), "a;b");
  recent.signalChanged.connect([] { FAIL() << "refused, but announced"; });
  EXPECT_FALSE(recent.tryAdd(""));
}

TEST(RecentCollection, SurvivesItsOwnEntriesAndItsSlots) {
  const std::string name(100, 'n');
  RecentCollection recent(3);
  recent.tryAdd(name + ";b;c");
  recent.deserialize(recent.getCollection()[0]);
  recent.tryAdd(recent.getCollection()[0]);
  EXPECT_EQ(recent.serialize(), "b;c;" + name);
  recent.signalChanged.connect([&] {
    if (recent.getLast() == "b")
      recent.deserialize("");
  });
  EXPECT_TRUE(recent.tryAdd(recent.getCollection()[0]));
  EXPECT_EQ(recent.getLast(), "");
}

} // namespace
