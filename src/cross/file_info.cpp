#include "qiv/files.h"

cross::FileInfo::FileInfo(const char* path) : st() {
  if (!path || stat(path, &st) != 0)
    st.st_dev = static_cast<dev_t>(-1);
}
