#include "bench.h"

void bench::addNumeric() {}
