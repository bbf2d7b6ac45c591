#include "bench.h"

void bench::addXml() {}
