/* Made by tools/catalogue/print_header from src/frame/catalogue.def; don't edit.
   Kernel tables, cost tables and entry points of every function; qlx/qvm.h tells how to read the names.
   SPDX-License-Identifier: Apache-2.0 */
#ifndef QLX_QVM_FUNCTIONS_H
#define QLX_QVM_FUNCTIONS_H

#include <stdint.h>

#include "qlx/api.h"

QLX_BEGIN_C

/* Ceil: r = the least integer not below a. */
QLX_API extern void (*const qlx_qvm_kernel_sCeil_ttab[3])(int32_t n, const float *a, float *r);
QLX_API extern const float qlx_qvm_kernel_sCeil_ctab[3];
QLX_API void _qvmsCeil_21(int32_t n, const float *a, float *r);
QLX_API void _qvmsCeil(int32_t n, const float *a, float *r);
QLX_API void _qvmsCeil_HA(int32_t n, const float *a, float *r);
QLX_API void _qvmsCeil_11(int32_t n, const float *a, float *r);
QLX_API extern void (*const qlx_qvm_kernel_sCeilI_ttab[3])(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_sCeilI_ctab[3];
QLX_API void _qvmsCeilI_21(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsCeilI(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsCeilI_HA(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsCeilI_11(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern void (*const qlx_qvm_kernel_dCeil_ttab[3])(int32_t n, const double *a, double *r);
QLX_API extern const float qlx_qvm_kernel_dCeil_ctab[3];
QLX_API void _qvmdCeil_50(int32_t n, const double *a, double *r);
QLX_API void _qvmdCeil(int32_t n, const double *a, double *r);
QLX_API void _qvmdCeil_HA(int32_t n, const double *a, double *r);
QLX_API void _qvmdCeil_26(int32_t n, const double *a, double *r);
QLX_API extern void (*const qlx_qvm_kernel_dCeilI_ttab[3])(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_dCeilI_ctab[3];
QLX_API void _qvmdCeilI_50(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdCeilI(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdCeilI_HA(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdCeilI_26(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);

/* Floor: r = the greatest integer not above a. */
QLX_API extern void (*const qlx_qvm_kernel_sFloor_ttab[3])(int32_t n, const float *a, float *r);
QLX_API extern const float qlx_qvm_kernel_sFloor_ctab[3];
QLX_API void _qvmsFloor_21(int32_t n, const float *a, float *r);
QLX_API void _qvmsFloor(int32_t n, const float *a, float *r);
QLX_API void _qvmsFloor_HA(int32_t n, const float *a, float *r);
QLX_API void _qvmsFloor_11(int32_t n, const float *a, float *r);
QLX_API extern void (*const qlx_qvm_kernel_sFloorI_ttab[3])(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_sFloorI_ctab[3];
QLX_API void _qvmsFloorI_21(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsFloorI(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsFloorI_HA(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsFloorI_11(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern void (*const qlx_qvm_kernel_dFloor_ttab[3])(int32_t n, const double *a, double *r);
QLX_API extern const float qlx_qvm_kernel_dFloor_ctab[3];
QLX_API void _qvmdFloor_50(int32_t n, const double *a, double *r);
QLX_API void _qvmdFloor(int32_t n, const double *a, double *r);
QLX_API void _qvmdFloor_HA(int32_t n, const double *a, double *r);
QLX_API void _qvmdFloor_26(int32_t n, const double *a, double *r);
QLX_API extern void (*const qlx_qvm_kernel_dFloorI_ttab[3])(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_dFloorI_ctab[3];
QLX_API void _qvmdFloorI_50(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdFloorI(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdFloorI_HA(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdFloorI_26(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);

/* Trunc: r = a rounded toward zero. */
QLX_API extern void (*const qlx_qvm_kernel_sTrunc_ttab[3])(int32_t n, const float *a, float *r);
QLX_API extern const float qlx_qvm_kernel_sTrunc_ctab[3];
QLX_API void _qvmsTrunc_21(int32_t n, const float *a, float *r);
QLX_API void _qvmsTrunc(int32_t n, const float *a, float *r);
QLX_API void _qvmsTrunc_HA(int32_t n, const float *a, float *r);
QLX_API void _qvmsTrunc_11(int32_t n, const float *a, float *r);
QLX_API extern void (*const qlx_qvm_kernel_sTruncI_ttab[3])(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_sTruncI_ctab[3];
QLX_API void _qvmsTruncI_21(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsTruncI(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsTruncI_HA(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsTruncI_11(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern void (*const qlx_qvm_kernel_dTrunc_ttab[3])(int32_t n, const double *a, double *r);
QLX_API extern const float qlx_qvm_kernel_dTrunc_ctab[3];
QLX_API void _qvmdTrunc_50(int32_t n, const double *a, double *r);
QLX_API void _qvmdTrunc(int32_t n, const double *a, double *r);
QLX_API void _qvmdTrunc_HA(int32_t n, const double *a, double *r);
QLX_API void _qvmdTrunc_26(int32_t n, const double *a, double *r);
QLX_API extern void (*const qlx_qvm_kernel_dTruncI_ttab[3])(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_dTruncI_ctab[3];
QLX_API void _qvmdTruncI_50(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdTruncI(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdTruncI_HA(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdTruncI_26(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);

/* Rint: r = a rounded to the nearest integer, ties to even; sets the inexact flag. */
QLX_API extern void (*const qlx_qvm_kernel_sRint_ttab[3])(int32_t n, const float *a, float *r);
QLX_API extern const float qlx_qvm_kernel_sRint_ctab[3];
QLX_API void _qvmsRint_21(int32_t n, const float *a, float *r);
QLX_API void _qvmsRint(int32_t n, const float *a, float *r);
QLX_API void _qvmsRint_HA(int32_t n, const float *a, float *r);
QLX_API void _qvmsRint_11(int32_t n, const float *a, float *r);
QLX_API extern void (*const qlx_qvm_kernel_sRintI_ttab[3])(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_sRintI_ctab[3];
QLX_API void _qvmsRintI_21(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsRintI(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsRintI_HA(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsRintI_11(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern void (*const qlx_qvm_kernel_dRint_ttab[3])(int32_t n, const double *a, double *r);
QLX_API extern const float qlx_qvm_kernel_dRint_ctab[3];
QLX_API void _qvmdRint_50(int32_t n, const double *a, double *r);
QLX_API void _qvmdRint(int32_t n, const double *a, double *r);
QLX_API void _qvmdRint_HA(int32_t n, const double *a, double *r);
QLX_API void _qvmdRint_26(int32_t n, const double *a, double *r);
QLX_API extern void (*const qlx_qvm_kernel_dRintI_ttab[3])(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_dRintI_ctab[3];
QLX_API void _qvmdRintI_50(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdRintI(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdRintI_HA(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdRintI_26(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);

/* Sqrt: r = the square root of a. */
QLX_API extern void (*const qlx_qvm_kernel_sSqrt_ttab[3])(int32_t n, const float *a, float *r);
QLX_API extern const float qlx_qvm_kernel_sSqrt_ctab[3];
QLX_API void _qvmsSqrt_21(int32_t n, const float *a, float *r);
QLX_API void _qvmsSqrt(int32_t n, const float *a, float *r);
QLX_API void _qvmsSqrt_HA(int32_t n, const float *a, float *r);
QLX_API void _qvmsSqrt_11(int32_t n, const float *a, float *r);
QLX_API extern void (*const qlx_qvm_kernel_sSqrtI_ttab[3])(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_sSqrtI_ctab[3];
QLX_API void _qvmsSqrtI_21(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsSqrtI(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsSqrtI_HA(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsSqrtI_11(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern void (*const qlx_qvm_kernel_dSqrt_ttab[3])(int32_t n, const double *a, double *r);
QLX_API extern const float qlx_qvm_kernel_dSqrt_ctab[3];
QLX_API void _qvmdSqrt_50(int32_t n, const double *a, double *r);
QLX_API void _qvmdSqrt(int32_t n, const double *a, double *r);
QLX_API void _qvmdSqrt_HA(int32_t n, const double *a, double *r);
QLX_API void _qvmdSqrt_26(int32_t n, const double *a, double *r);
QLX_API extern void (*const qlx_qvm_kernel_dSqrtI_ttab[3])(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_dSqrtI_ctab[3];
QLX_API void _qvmdSqrtI_50(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdSqrtI(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdSqrtI_HA(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdSqrtI_26(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);

/* InvSqrt: r = 1 / the square root of a. */
QLX_API extern void (*const qlx_qvm_kernel_sInvSqrt_ttab[3])(int32_t n, const float *a, float *r);
QLX_API extern const float qlx_qvm_kernel_sInvSqrt_ctab[3];
QLX_API void _qvmsInvSqrt_21(int32_t n, const float *a, float *r);
QLX_API void _qvmsInvSqrt(int32_t n, const float *a, float *r);
QLX_API void _qvmsInvSqrt_HA(int32_t n, const float *a, float *r);
QLX_API void _qvmsInvSqrt_11(int32_t n, const float *a, float *r);
QLX_API extern void (*const qlx_qvm_kernel_sInvSqrtI_ttab[3])(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_sInvSqrtI_ctab[3];
QLX_API void _qvmsInvSqrtI_21(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsInvSqrtI(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsInvSqrtI_HA(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API void _qvmsInvSqrtI_11(int32_t n, const float *a, int32_t inca, float *r, int32_t incr);
QLX_API extern void (*const qlx_qvm_kernel_dInvSqrt_ttab[3])(int32_t n, const double *a, double *r);
QLX_API extern const float qlx_qvm_kernel_dInvSqrt_ctab[3];
QLX_API void _qvmdInvSqrt_50(int32_t n, const double *a, double *r);
QLX_API void _qvmdInvSqrt(int32_t n, const double *a, double *r);
QLX_API void _qvmdInvSqrt_HA(int32_t n, const double *a, double *r);
QLX_API void _qvmdInvSqrt_26(int32_t n, const double *a, double *r);
QLX_API extern void (*const qlx_qvm_kernel_dInvSqrtI_ttab[3])(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API extern const float qlx_qvm_kernel_dInvSqrtI_ctab[3];
QLX_API void _qvmdInvSqrtI_50(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdInvSqrtI(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdInvSqrtI_HA(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);
QLX_API void _qvmdInvSqrtI_26(int32_t n, const double *a, int32_t inca, double *r, int32_t incr);

QLX_END_C

#endif
