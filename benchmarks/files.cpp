#include "bench.h"

void bench::addFiles() {}
