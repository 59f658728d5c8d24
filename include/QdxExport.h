// Marks the classes and functions that form the library's exported interface.
// Everything else in the library is built with hidden visibility.
#ifndef QDX_EXPORT_H
#define QDX_EXPORT_H

#if defined(__GNUC__) || defined(__clang__)
#define QDX_EXPORT __attribute__((visibility("default")))
#else
#define QDX_EXPORT
#endif

#endif
