/* Export and language-linkage macros shared by every public header. */
#ifndef ZPPORT_ZPEXPORT_H
#define ZPPORT_ZPEXPORT_H

#if defined(__GNUC__)
#define ZP_EXPORT __attribute__((visibility("default")))
#else
#define ZP_EXPORT
#endif

#ifdef __cplusplus
#define ZP_EXTERN_C_BEGIN extern "C" {
#define ZP_EXTERN_C_END }
#define ZP_STATIC_ASSERT(cond, msg) static_assert(cond, msg)
#else
#define ZP_EXTERN_C_BEGIN
#define ZP_EXTERN_C_END
#define ZP_STATIC_ASSERT(cond, msg) _Static_assert(cond, msg)
#endif

#endif /* ZPPORT_ZPEXPORT_H */
