#include "qiv/concurrency.h"

#include <utility>

namespace Qiv {

// As in PointerConnectionsDispatcher, disconnecting comes last and touches only what is local.

PointerNamedConnectionsDispatcher::~PointerNamedConnectionsDispatcher() {
  while (!connections.empty())
    disconnectAll();
}

void PointerNamedConnectionsDispatcher::connect(const void* object, const std::string& name,
                                                const sigc::connection& connection) {
  std::exchange(connections[object][name], connection).disconnect();
}

void PointerNamedConnectionsDispatcher::disconnect(const void* object, const std::string& name) {
  const auto names = connections.find(object);
  if (names == connections.end())
    return;
  auto entry = names->second.extract(name);
  if (names->second.empty())
    connections.erase(names);
  if (entry)
    entry.mapped().disconnect();
}

void PointerNamedConnectionsDispatcher::disconnectObject(const void* object) {
  if (auto names = connections.extract(object))
    for (auto& entry : names.mapped())
      entry.second.disconnect();
}

void PointerNamedConnectionsDispatcher::disconnectAll() {
  auto all = std::exchange(connections, {});
  for (auto& names : all)
    for (auto& entry : names.second)
      entry.second.disconnect();
}

} // namespace Qiv
