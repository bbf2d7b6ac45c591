// What a program pays for the libraries that it is linked with, when it uses only `split` of ours.

#ifdef USES_SPLIT
#include <qiv/text.h>
int main(int, char** argv) {
  return Qiv::StringHelper::split(*argv, '\n').empty();
}
#else
int main() {}
#endif
