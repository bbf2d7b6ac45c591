#ifndef QIV_EXPORT_H
#define QIV_EXPORT_H

/// Marks what leaves the library; everything else is built with hidden visibility.
#define QIV_API __attribute__((visibility("default")))

#endif
