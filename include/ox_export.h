/* Export control shared by every public header of libYewWpfWrap.
 *
 * OX_API marks a function or global as part of the library's binary
 * interface; everything else is built with hidden visibility. The
 * OX_BEGIN_DECLS / OX_END_DECLS pair keeps the names unmangled when a
 * header is read by a C++ compiler. */
#ifndef OX_EXPORT_H
#define OX_EXPORT_H

#include <stdint.h>

#if defined(_WIN32) || defined(__CYGWIN__)
#  if defined(OX_BUILDING_LIBRARY)
#    define OX_API __declspec(dllexport)
#  else
#    define OX_API __declspec(dllimport)
#  endif
#elif defined(__GNUC__) || defined(__clang__)
#  define OX_API __attribute__((visibility("default")))
#else
#  define OX_API
#endif

#ifdef __cplusplus
#  define OX_BEGIN_DECLS extern "C" {
#  define OX_END_DECLS }
#else
#  define OX_BEGIN_DECLS
#  define OX_END_DECLS
#endif

/* Status codes returned as int32_t by the filters. Any other value is a
 * code passed up unchanged from a called filter. */
#define OX_OK 0
#define OX_REFUSED 1
#define OX_ABORTED 2
#define OX_WRITE_FAILED (-1)

#endif /* OX_EXPORT_H */
