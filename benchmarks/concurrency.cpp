#include "bench.h"

void bench::addConcurrency() {}
