#ifndef QIV_TEXT_H
#define QIV_TEXT_H

/// Text and data utilities. All work on bytes, without knowledge of a character set.
///
///     for (const std::string& piece : Qiv::StringHelper::split("1..2", '.'))
///       use(piece); // "1", "", "2"
///
/// The functions keep no state and may be called from any thread; objects need a lock when threads
/// share them.

#include "qiv/export.h"

#include <cstddef>
#include <sigc++/signal.h>
#include <stack>
#include <string>
#include <utility>
#include <vector>

namespace Qiv {

/// Searching, cutting and formatting of byte strings. Safe to call from any thread.
class QIV_API StringHelper {
public:
  /// True when `part` stands in `text` exactly at `pos` and ends at or before `end`. Not a search.
  /// Pass text.size() as `end` for no limit; an `end` before `pos` is no limit either. `ignoreCase`
  /// compares as the C library's tolower does.
  static bool isInclude(const std::string& text, const std::string& part, std::size_t pos,
                        std::size_t end, bool ignoreCase);

  /// `text` with every `from` replaced by `to`, left to right; replacements are not scanned again.
  /// An empty `from` changes nothing. Takes time in proportion to the lengths, whatever the texts.
  static std::string replaceAll(std::string text, const std::string& from, const std::string& to);

  /// Compare bytes; an empty prefix or suffix stands at every text.
  /// @{
  static bool startsWith(const std::string& text, const std::string& prefix);
  static bool endsWith(const std::string& text, const std::string& suffix);
  /// @}

  /// The n + 1 pieces between n delimiters; empty pieces are kept.
  static std::vector<std::string> split(const std::string& text, char delimiter);

  /// The text that printf would write. The library provides it for three ints, which the format
  /// must fit: the compiler does not check it. When the C library cannot format, throws
  /// std::runtime_error and prints the same text to standard output. A null format throws
  /// std::logic_error.
  template <typename... Args>
  static std::string formatC(const char* format, Args... args);
};

/// @cond
extern template QIV_API std::string StringHelper::formatC<int, int, int>(const char*, int, int,
                                                                         int);
/// @endcond

/// Bytes as text. Safe to call from any thread.
class QIV_API BitConverter {
public:
  /// Two upper-case hexadecimal digits: 10 gives "0A".
  static std::string to_HexString(unsigned char value);
};

// ---------------------------------------------------------------------------------------------
// Versions
// ---------------------------------------------------------------------------------------------

/// A version of two to four parts, major.minor[.build[.revision]]. An absent part is -1 and orders
/// below 0: 1.2 < 1.2.0 < 1.2.0.0.
///
///     if (Qiv::Version(text) < Qiv::Version(1, 2))
///       refuse();
class QIV_API Version {
public:
  /// 0.0
  Version() = default;
  /// Parts that are not given are absent. A negative one throws std::invalid_argument with a
  /// Russian text that names it.
  /// @{
  Version(int major, int minor);
  Version(int major, int minor, int build);
  Version(int major, int minor, int build, int revision);
  /// @}
  /// Reads the text as parse does, and throws as it does; 0.0.0.0 when it is no version.
  Version(const std::string& text);

  /// There is no move: it would take the separator from its source.
  /// @{
  Version(const Version&) = default;
  Version& operator=(const Version&) = default;
  /// @}

  /// What stands between the parts in text: always ".".
  const std::string& getSeparator() const { return separator; }
  /// The part, -1 when it is absent.
  /// @{
  int getMajor() const { return major; }
  int getMinor() const { return minor; }
  int getBuild() const { return build; }
  int getRevision() const { return revision; }
  /// @}

  /// The parts up to the first absent one.
  std::string to_string() const;
  /// The first `count` parts, an absent one as "-1". Empty unless `count` is 1 to 4.
  std::string to_string(int count) const;

  /// The low byte of each part that is present.
  std::vector<unsigned char> getBytes() const;

  /// 1 when this version is the greater, -1 when it is the smaller, 0 when all parts are equal.
  int compareTo(const Version& other) const;

  /// The order of compareTo.
  /// @{
  bool operator==(const Version& other) const { return compareTo(other) == 0; }
  bool operator>(const Version& other) const { return compareTo(other) > 0; }
  bool operator<(const Version& other) const { return compareTo(other) < 0; }
  bool operator>=(const Version& other) const { return compareTo(other) >= 0; }
  bool operator<=(const Version& other) const { return compareTo(other) <= 0; }
  /// @}

  /// Sets all parts. A negative one throws std::invalid_argument and nothing changes.
  void setData(int major, int minor, int build, int revision);

  /// Reads two to four numbers between dots, each as tryConvert<int, true> (qiv/numeric.h) does.
  /// Parts are set one by one: what stands before a piece that fails stays set, and parts that the
  /// text does not reach keep their values. False when the text is no version; a negative piece
  /// throws std::invalid_argument.
  bool parse(const std::string& text);

  /// Sets the item of an index from 0 (major) to 3 (revision); false for any other. A negative
  /// value throws std::invalid_argument, whatever the index.
  bool _setItem(int index, int value);

private:
  std::string separator = ".";
  int major = 0;
  int minor = 0;
  int build = -1;
  int revision = -1;
};

// ---------------------------------------------------------------------------------------------
// Byte encodings
// ---------------------------------------------------------------------------------------------

/// Base64 (RFC 4648, section 4) with padding and without line breaks.
QIV_API std::string base64_encode(const unsigned char* data, unsigned int length);

/// The bytes before the first "=" or other character foreign to Base64; what follows is ignored
/// without an error. Padding is not needed. A single leftover character gives no byte.
QIV_API std::string base64_decode(const std::string& text);

/// Byte stacks, in which a reader finds first what was pushed last. Each stack belongs to one
/// thread at a time; printing changes std::cout for the whole process.
class QIV_API stackHelper {
public:
  /// The bytes of the text in order.
  static std::vector<unsigned char> stringToVector(const std::string& text);

  /// Pushes the bytes in order, so that the last one is on top; with `reverse` the first one is.
  static void pushData(std::stack<unsigned char>& stack, const unsigned char* data,
                       std::size_t length, bool reverse);

  /// The same for the bytes of a text, then with `pushLength` their number's low 8 bits.
  static void pushData(std::stack<unsigned char>& stack, const std::string& text, bool reverse,
                       bool pushLength);

  /// Empties the stack: the bytes from top to bottom.
  static std::vector<unsigned char> stackToVector(std::stack<unsigned char>& stack);

  /// Empties the stack, to std::cout: for each byte from the top two hexadecimal digits, the byte
  /// itself and a line end, with "-" between bytes and a line end after all. Leaves std::cout in
  /// upper-case hexadecimal mode with the fill character "0".
  static void printStack(std::stack<unsigned char>& stack);
};

/// Bytes on standard output, whose state is the process's.
class QIV_API vectorHelper {
public:
  /// Writes a line like "0A-FF-10" to std::cout and leaves it in upper-case hexadecimal mode.
  static void print(const std::vector<unsigned char>& bytes);
};

// ---------------------------------------------------------------------------------------------
// Collections
// ---------------------------------------------------------------------------------------------

/// Bits packed in bytes: bit i is bit i % 8, counted from the least significant one, of byte i / 8.
///
///     Qiv::BitArray pins(10);
///     pins.set(9, true); // the bytes are 0x00, 0x02
///
/// An index at or beyond the size throws std::out_of_range "Index out of range". A call that throws
/// changes nothing. An array belongs to one thread at a time.
class QIV_API BitArray {
public:
  /// `size` bits, all false.
  explicit BitArray(std::size_t size);
  /// Copies the bytes, padding included.
  BitArray(const BitArray&) = default;
  /// Leaves `other` empty.
  BitArray(BitArray&& other) noexcept
      : size(std::exchange(other.size, 0)), data(std::move(other.data)) {}
  /// Copies, or moves and leaves `other` empty.
  BitArray& operator=(BitArray other) noexcept {
    std::swap(size, other.size);
    data.swap(other.data);
    return *this;
  }

  /// An array of its own with the same bits.
  BitArray clone() const { return *this; }

  /// In bits.
  std::size_t getSize() const { return size; }
  /// The (size + 7) / 8 bytes. The reference is valid as long as the array lives.
  const std::vector<unsigned char>& getData() const { return data; }

  /// The bit.
  /// @{
  bool get(std::size_t index) const { return (data[checkedByte(index)] & bitMask(index)) != 0; }
  bool operator[](std::size_t index) const { return get(index); }
  /// @}

  /// True when a byte is not zero. Padding that came with fillData counts too.
  bool hasAnyTrue() const;

  /// Change one bit.
  /// @{
  void set(std::size_t index, bool value) {
    unsigned char& byte = data[checkedByte(index)];
    byte = static_cast<unsigned char>(value ? byte | bitMask(index) : byte & ~bitMask(index));
  }
  void inverse(std::size_t index) { data[checkedByte(index)] ^= bitMask(index); }
  /// @}

  /// Bits that are added are false. Without `keepValues` all are, unless the size stays as it is.
  /// Growing bit by bit with `keepValues` is cheap: memory grows ahead of the size, as a vector's
  /// does.
  void resize(std::size_t newSize, bool keepValues);
  /// Make all bits false, or the opposite of what they are. Padding is zero afterwards.
  /// @{
  void clear();
  void inverseAll();
  /// @}

  /// The exclusive or of all bytes, as a new array or in place. Throw std::invalid_argument when
  /// the sizes differ.
  /// @{
  BitArray xorOperation(const BitArray& other) const;
  void xorWith(const BitArray& other);
  /// @}

  /// Copies `count` bytes from source + offset as they are, padding beyond the size included. When
  /// the array has not that many bytes, `allowResize` makes it count * 8 bits long; otherwise
  /// throws std::runtime_error. Throws std::length_error when there is no such size.
  void fillData(const unsigned char* source, std::size_t offset, std::size_t count,
                bool allowResize);

  /// Where a bit lies in getData(): its byte, and the mask within that.
  /// @{
  static std::size_t byteIndex(std::size_t index) { return index >> 3; }
  static unsigned char bitMask(std::size_t index) {
    return static_cast<unsigned char>(1U << (index & 7));
  }
  /// @}

private:
  std::size_t checkedByte(std::size_t index) const {
    if (index >= size)
      throwOutOfRange();
    return byteIndex(index);
  }
  [[noreturn]] static void throwOutOfRange();

  std::size_t size;
  std::vector<unsigned char> data;
};

/// The strings used last, each once, the newest at the back; kept as one line of text.
///
///     Qiv::RecentCollection files(10);
///     files.signalChanged.connect(showFiles);
///     files.deserialize(settings.recentFiles); // "a.xml;b.xml"
///     files.tryAdd("a.xml");                   // now "b.xml;a.xml"
///
/// Slots may change the collection. The destructor is not virtual: delete an object of a subclass
/// only as what it is (compilers warn unless it is final). A copy shares the slots. A collection
/// with its copies belongs to one thread, in which the slots are called.
class QIV_API RecentCollection {
public:
  /// An empty collection. With a `maxCount` of 0 it stays empty, whatever is added.
  explicit RecentCollection(unsigned int maxCount);

  /// The newest entry, "" when there is none.
  std::string getLast() const;
  /// The limit that tryAdd keeps.
  unsigned int getMaxCount() const { return maxCount; }
  /// The entries, the oldest first. The reference is valid as long as the collection lives.
  const std::vector<std::string>& getCollection() const { return collection; }

  /// The entries joined with ";". Entries that hold ";" and empty ones at the front do not survive
  /// the way back.
  std::string serialize() const;

  /// Makes `item` the newest entry. Drops the oldest one, and never more than that, when there are
  /// then more than maxCount. Returns false and does nothing when _canAdd refuses.
  bool tryAdd(const std::string& item);

  /// Replaces the entries with the pieces of `text` that _canAdd lets in; neither maxCount nor
  /// duplicates are looked at.
  void deserialize(const std::string& text);

  /// Override to refuse entries; is asked before each is added.
  virtual bool _canAdd(const std::string& item);

  /// Emitted after each deserialize and each tryAdd that returns true, changed or not.
  sigc::signal<void> signalChanged;

private:
  unsigned int maxCount;
  std::vector<std::string> collection;
};

} // namespace Qiv

#endif
