#include "qiv/concurrency.h"

#include <utility>

namespace Qiv {

// Cutting a connection runs the destructors of its slot, and so any code at all. It comes last,
// when the table is in order, and touches only what is local: the dispatcher itself may go.

PointerConnectionsDispatcher::~PointerConnectionsDispatcher() {
  while (!connections.empty())
    disconnectAll();
}

void PointerConnectionsDispatcher::connect(const void* object, const sigc::connection& connection) {
  std::exchange(connections[object], connection).disconnect();
}

void PointerConnectionsDispatcher::disconnect(const void* object) {
  if (auto entry = connections.extract(object))
    entry.mapped().disconnect();
}

void PointerConnectionsDispatcher::disconnectAll() {
  auto all = std::exchange(connections, {});
  for (auto& entry : all)
    entry.second.disconnect();
}

} // namespace Qiv
