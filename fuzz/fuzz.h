#ifndef QIV_FUZZ_H
#define QIV_FUZZ_H

#include <string>

/// Tries every parser of a family on one text; each family has its own.
void tryText(const std::string& text);

/// Throws the statement when it is not true.
#define AGREE(statement) ((statement) ? void() : throw #statement)

#endif
