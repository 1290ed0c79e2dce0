/* Vector math: accuracy, error handling, status, kernel tables and entry points.
   SPDX-License-Identifier: Apache-2.0

   Elementwise functions over arrays. For type letter t (s float, d double, c complex float, z complex double) and
   function Name, five exports lead to the same three kernels:

     _qvm<t>Name, _qvm<t>Name_HA         high accuracy, under any mode
     _qvm<t>Name_21 (s, c), _50 (d, z)   low accuracy
     _qvm<t>Name_11 (s, c), _26 (d, z)   enhanced performance
     qlx_qvm_kernel_<t>Name_ttab[3]      the kernels in the order LA, HA, EP: index it with
                                         qlx_qvm_kernel_GetTTableIndex() to follow the thread's mode
     qlx_qvm_kernel_<t>Name_ctab[3]      their relative cost for one element

   NameI is the strided form: each array is followed by its stride in elements. Arrays belong to the caller; a result
   array may be the same as an argument array, and may not overlap one in another way. The length and the pointers are
   trusted. A length of 0 or below touches no array. */
#ifndef QLX_QVM_H
#define QLX_QVM_H

#include <stdint.h>

#include "qlx/api.h"

QLX_BEGIN_C

/* A complex element: real part first. */
typedef struct QvmComplexFloat {
  float re, im;
} QvmComplexFloat;
typedef struct QvmComplexDouble {
  double re, im;
} QvmComplexDouble;

/* ---- Mode word -------------------------------------------------------------------------------------------------- */

enum {
  QVM_ACCURACY_MASK = 0xF,
  QVM_LA = 0x1, /* low accuracy: below 4 ULP */
  QVM_HA = 0x2, /* high accuracy: below 1 ULP */
  QVM_EP = 0x3, /* enhanced performance: about half of the significand's bits */

  QVM_PRECISION_MASK = 0xF0, /* carried for the caller; no kernel reads it and SetMode keeps it */

  QVM_ERRMODE_MASK = 0xFF00,
  QVM_ERRMODE_IGNORE = 0x100, /* alone: store the status, do nothing else */
  QVM_ERRMODE_ERRNO = 0x200,  /* set errno */
  QVM_ERRMODE_STDERR = 0x400, /* print to stderr */
  QVM_ERRMODE_EXCEPT = 0x800, /* leave the floating-point exception flag set */
  QVM_ERRMODE_CALLBACK = 0x1000,
  QVM_ERRMODE_NOERR = 0x2000,   /* alone: not even the status is stored */
  QVM_ERRMODE_DEFAULT = 0x1A00, /* errno, exception, callback */

  QVM_DENORMAL_MASK = 0x3C0000,
  QVM_DENORMAL_FAST = 0x280000,     /* flush to zero, denormals are zero */
  QVM_DENORMAL_ACCURATE = 0x140000, /* both off */

  QVM_TRAP_MASK = 0xF000000, /* exceptions that a report delivers as a trap */
  QVM_TRAP_INVALID = 0x1000000,
  QVM_TRAP_DIVBYZERO = 0x2000000,
  QVM_TRAP_OVERFLOW = 0x4000000,
  QVM_TRAP_UNDERFLOW = 0x8000000,

  QVM_MODE_DEFAULT = 0x1A02 /* HA, default error handling */
};

/* Status of a report; the thread keeps the last one. */
enum {
  qvm_status_ok = 0,
  qvm_status_bad_size = -1,
  qvm_status_bad_memory = -2,
  qvm_status_domain = 1,   /* argument outside the function's domain */
  qvm_status_pole = 2,     /* a finite argument gives an infinite result */
  qvm_status_overflow = 3, /* result too large */
  qvm_status_underflow = 4 /* result denormal or zero */
};

/* What a callback learns of one element. Floats are widened; the imaginary members are set for complex types alone.
   With bad_size and bad_memory no argument or result member is set. */
typedef struct QvmElementReport {
  int32_t code;  /* the status */
  int32_t index; /* element's index, counted from SetInterfInputVectorPointer's address when one is set */
  QLX_ALIGN8 double arg1;
  double arg2; /* equals arg1 for a function of one argument */
  double res1; /* what the callback leaves here is stored, when it returns 0 */
  double res2; /* equals res1 for a function of one result */
  char func_name[64];
  int32_t func_name_len;
  QLX_ALIGN8 double arg1_im;
  double arg2_im;
  double res1_im;
  double res2_im;
} QvmElementReport;

/* Called on the kernel's thread, inside the kernel, with the kernel's floating-point control words in force. A nonzero
   return ends the handling of this element and keeps the kernel's result; 0 goes on, and stores res2 and then res1.
   A callback must not throw, and must not leave by longjmp: the kernel has control words to restore. */
typedef int32_t (*QvmErrorCallback)(QvmElementReport* report);

/* ---- Mode, status and callback of the calling thread ------------------------------------------------------------ */
/* Each under two names with the same behaviour. A new thread starts from the environment variable QLX_QVM_MODE, a
   comma-separated list such as "QVM_LA,QVM_ERRMODE_STDERR"; when it is absent or has a bad token, from 0x1A02. */

#define QLX_QVM_DECLARE_STATE(PREFIX)                                                                                 \
  /* The mode word. */                                                                                                \
  QLX_API uint32_t PREFIX##GetMode(void);                                                                             \
  /* Replaces each group of which `mode` has a bit, except the precision group. Returns the mode before. */           \
  QLX_API uint32_t PREFIX##SetMode(uint32_t mode);                                                                    \
  /* The last status stored. */                                                                                       \
  QLX_API int32_t PREFIX##GetErrStatus(void);                                                                         \
  /* Stores a status, without a report. Returns the one before. */                                                    \
  QLX_API int32_t PREFIX##SetErrStatus(int32_t status);                                                               \
  /* Stores 0. Returns the status before. */                                                                          \
  QLX_API int32_t PREFIX##ClearErrStatus(void);                                                                       \
  QLX_API QvmErrorCallback PREFIX##GetErrorCallBack(void);                                                            \
  /* Stores the callback and sets (null: clears) the mode's callback bit; a group is never cleared to 0, so the bit   \
     stays when it was the only one. Returns the callback before. */                                                  \
  QLX_API QvmErrorCallback PREFIX##SetErrorCallBack(QvmErrorCallback callback);                                       \
  QLX_API QvmErrorCallback PREFIX##ClearErrorCallBack(void);                                                          \
  /* The start of the whole first argument array, of which a kernel gets a slice: reports count indices from it. Null \
     for none. Returns `pointer`. */                                                                                  \
  QLX_API const void* PREFIX##SetInterfInputVectorPointer(const void* pointer);

QLX_QVM_DECLARE_STATE(_qvm)
QLX_QVM_DECLARE_STATE(qlx_qvm_kernel_)
#undef QLX_QVM_DECLARE_STATE

/* The kernel table's slot of the thread's mode: accuracy group minus 1. Not checked. */
QLX_API int32_t qlx_qvm_kernel_GetTTableIndex(void);
/* The same of `mode`; the first argument is not read. */
QLX_API int32_t qlx_qvm_kernel_GetTTableIndexM(uint32_t unused, uint32_t mode);

/* The number of the processor generation that this library serves: 8. */
QLX_API int32_t dll_cpu_version(void);

QLX_END_C

#include "qlx/qvm_functions.h"

#endif
