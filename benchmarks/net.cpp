#include "bench.h"

void bench::addNet() {}
