#include "fuzz.h"

#include "qiv/text.h"

#include <algorithm>
#include <stdexcept>

using namespace Qiv;

static void tryVersion(const std::string& text) try {
  const std::string read = Version(text).to_string();
  AGREE(Version(read) == Version(text));
  AGREE(read == "0.0.0.0" ||
        std::count(read.begin(), read.end(), '.') == std::count(text.begin(), text.end(), '.'));
} catch (const std::invalid_argument&) {
  AGREE(text.find('-') != std::string::npos);
}

static std::string replacedByFind(std::string text, const std::string& from,
                                  const std::string& to) {
  for (std::size_t at = 0; !from.empty() && (at = text.find(from, at)) != std::string::npos;)
    at = text.replace(at, from.size(), to).find(to, at) + to.size();
  return text;
}

static void tryMatch(const std::string& text, const std::string& part) {
  const auto alike = [](unsigned char a, unsigned char b) {
    return std::tolower(a) == std::tolower(b);
  };
  for (std::size_t pos = 0; pos + part.size() <= text.size(); ++pos) {
    const auto start = text.begin() + static_cast<std::ptrdiff_t>(pos);
    AGREE(StringHelper::isInclude(text, part, pos, text.size(), true) ==
          std::equal(part.begin(), part.end(), start, alike));
    AGREE(StringHelper::isInclude(text, part, pos, text.size(), false) ==
          std::equal(part.begin(), part.end(), start));
  }
}

static void tryRecent(const std::string& text) {
  RecentCollection recent(3);
  recent.deserialize(text);
  AGREE(recent.serialize() == text.substr(std::min(text.find_first_not_of(';'), text.size())));
  std::vector<std::string> known = recent.getCollection();
  for (const std::string& piece : StringHelper::split(text, '.')) {
    AGREE(recent.tryAdd(piece));
    if (const auto last = known.end(); known.empty() || known.back() != piece) {
      if (const auto found = std::find(known.begin(), last, piece); found != last)
        known.erase(found);
      known.push_back(piece);
    }
    if (known.size() > 3)
      known.erase(known.begin());
    AGREE(recent.getCollection() == known && recent.getLast() == known.back());
  }
  recent.tryAdd(recent.getCollection()[0]); // its own entry
  AGREE(recent.getLast() == known[0]);
  recent.deserialize(recent.getCollection()[0]);
  RecentCollection none(0);
  AGREE(none.tryAdd(text) && none.serialize().empty() && none.getLast().empty());
}

void tryText(const std::string& text) {
  tryVersion(text);
  const std::string part = text.substr(0, 2);
  std::string joined;
  for (const std::string& piece : StringHelper::split(text, ';'))
    joined += piece + part;
  AGREE(joined == StringHelper::replaceAll(text, ";", part) + part);
  AGREE(StringHelper::replaceAll(text, part, ";;;") == replacedByFind(text, part, ";;;"));
  std::string alike = "A"; // text after text, so that a search fails often before it finds
  for (int i = 0; i < 20; ++i) {
    alike.insert(0, text).append(text);
    AGREE(StringHelper::replaceAll(alike, text + "A", part) ==
          replacedByFind(alike, text + "A", part));
  }
  AGREE(StringHelper::endsWith(text, part) == (text.rfind(part) == text.size() - part.size()));
  tryRecent(text);
  tryMatch(text, part);
  tryMatch(text, "A" + part + "z");
}
