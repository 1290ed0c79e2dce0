/* Entry points, kernel tables and cost tables of every function.
   SPDX-License-Identifier: Apache-2.0 */
#ifndef QLX_QVM_FUNCTIONS_H
#define QLX_QVM_FUNCTIONS_H
#endif
