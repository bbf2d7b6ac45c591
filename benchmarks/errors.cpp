#include "bench.h"

void bench::addErrors() {}
