#include "qiv/text.h"

#include <algorithm>

namespace Qiv {

RecentCollection::RecentCollection(unsigned int maxCount) : maxCount(maxCount) {}

std::string RecentCollection::getLast() const {
  return collection.empty() ? std::string() : collection.back();
}

std::string RecentCollection::serialize() const {
  std::size_t length = collection.size();
  for (const std::string& entry : collection)
    length += entry.size();
  std::string text;
  text.reserve(length);
  for (const std::string& entry : collection) {
    if (!text.empty())
      text += ';';
    text += entry;
  }
  return text;
}

bool RecentCollection::tryAdd(const std::string& item) {
  if (!_canAdd(item))
    return false;
  if (collection.empty() || collection.back() != item) {
    // `item` may be an entry itself, so the equal one moves instead of being made anew.
    const auto found = std::find(collection.begin(), collection.end(), item);
    if (found == collection.end())
      collection.push_back(item);
    else
      std::rotate(found, found + 1, collection.end());
  }
  if (collection.size() > maxCount)
    collection.erase(collection.begin());
  signalChanged.emit();
  return true;
}

void RecentCollection::deserialize(const std::string& text) {
  // Split first: `text` may be an entry.
  std::vector<std::string> pieces;
  if (!text.empty())
    pieces = StringHelper::split(text, ';');
  collection.clear();
  collection.reserve(pieces.size());
  for (std::string& piece : pieces)
    if (_canAdd(piece))
      collection.push_back(std::move(piece));
  signalChanged.emit();
}

bool RecentCollection::_canAdd(const std::string&) {
  return true;
}

} // namespace Qiv
