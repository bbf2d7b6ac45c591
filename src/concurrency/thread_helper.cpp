#include "qiv/concurrency.h"

#include <cerrno>
#include <pthread.h>

namespace Qiv {

int ThreadHelper::setCurrentThreadName(const char* name) {
  return name ? pthread_setname_np(pthread_self(), name) : EINVAL;
}

std::string ThreadHelper::getCurrentThreadName() {
  char name[255] = "";
  pthread_getname_np(pthread_self(), name, sizeof name);
  return name;
}

} // namespace Qiv
