#include "qiv/concurrency.h"

namespace Qiv {

namespace {

void change(bool& current, bool value, const sigc::signal<void, bool>& changed) {
  if (value == current)
    return;
  current = value;
  changed.emit(value);
}

} // namespace

sigc::signal<void, bool> DebugManager::signalEnabledChanged;
sigc::signal<void, bool> DebugManager::signalSetupChanged;
bool DebugManager::_enabled = false;
bool DebugManager::_setup = false;

bool DebugManager::getIsEnabled() {
  return _enabled;
}
bool DebugManager::getSetup() {
  return _setup;
}

void DebugManager::setIsEnabled(bool value) {
  change(_enabled, value, signalEnabledChanged);
}
void DebugManager::setSetup(bool value) {
  change(_setup, value, signalSetupChanged);
}

} // namespace Qiv
