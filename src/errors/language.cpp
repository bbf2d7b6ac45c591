#include "qiv/errors.h"

unsigned char lng::language = 1;
