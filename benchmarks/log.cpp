#include "bench.h"

void bench::addLog() {}
