/* Export, linkage and alignment macros that every public header uses. QLX_ALIGN8 gives a member of a record 8-byte
   alignment where a target's own rule would give 4.
   SPDX-License-Identifier: Apache-2.0 */
#ifndef QLX_API_H
#define QLX_API_H

#ifdef __cplusplus
#define QLX_BEGIN_C extern "C" {
#define QLX_END_C }
#define QLX_ALIGN8 alignas(8)
#else
#define QLX_BEGIN_C
#define QLX_END_C
#define QLX_ALIGN8 _Alignas(8)
#endif

/* QLX_CORE_API marks what the core library offers, QLX_API what the kernel library offers. */
#ifdef _WIN32
#ifdef QLX_BUILDING_CORE
#define QLX_CORE_API __declspec(dllexport)
#else
#define QLX_CORE_API __declspec(dllimport)
#endif
#ifdef QLX_BUILDING_AVX
#define QLX_API __declspec(dllexport)
#else
#define QLX_API __declspec(dllimport)
#endif
#else
#define QLX_CORE_API __attribute__((visibility("default")))
#define QLX_API __attribute__((visibility("default")))
#endif

#endif
