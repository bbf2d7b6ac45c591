/// Cuts, compares, encodes and remembers.

#include <iostream>
#include <qiv/text.h>

namespace {

void compareVersions() {
  for (const std::string& text : Qiv::StringHelper::split("1.2;1.2.0;1.10", ';'))
    std::cout << text
              << (Qiv::Version(text) < Qiv::Version(1, 2, 0) ? " is too old\n" : " will do\n");
}

void packBits() {
  Qiv::BitArray pins(10);
  pins.set(0, true);
  pins.set(9, true);
  pins.inverseAll();
  Qiv::vectorHelper::print(pins.getData());
}

void encode(const std::string& text) {
  const std::string encoded = Qiv::base64_encode(
      reinterpret_cast<const unsigned char*>(text.data()), static_cast<unsigned int>(text.size()));
  std::cout << encoded << " is " << Qiv::base64_decode(encoded) << "\n";
}

/// A list of recent files that keeps notes out.
class RecentFiles final : public Qiv::RecentCollection {
public:
  RecentFiles() : RecentCollection(3) {}
  bool _canAdd(const std::string& item) override {
    return !Qiv::StringHelper::endsWith(item, ".txt");
  }
};

void remember() {
  RecentFiles files;
  files.signalChanged.connect([&files] { std::cout << files.serialize() << "\n"; });
  files.deserialize("a.xml;b.xml"); // as the settings kept it
  for (const char* opened : {"c.xml", "notes.txt", "a.xml", "d.xml"})
    if (!files.tryAdd(opened))
      std::cout << opened << " is not kept\n";
}

} // namespace

int main() {
  compareVersions();
  packBits();
  encode("Grüße");
  remember();
}
