// The weighted quantile that outlier detection starts from.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_ORDER_WEIGHTED_MEDIAN_H
#define QLX_STATS_ORDER_WEIGHTED_MEDIAN_H

#include "stats/qst_ss_task.h"

// quantiles[i] = the quantile of order quantileOrders[0] of variable i under the weights, for included variables: with
// W the sum of weights, where the running sum of weights in order of value first reaches W q. The task needs its
// dataset, `weights`, `quantileOrders` and `quantiles`; nothing is checked. Statuses: 0, -4000.
int32_t _qstdSSWMedian(QstSSTask* task);
int32_t _qstsSSWMedian(QstSSTask* task);

#endif
