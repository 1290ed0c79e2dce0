// The process-wide table of read-only data that streams share, as chunks use it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "qlx/qst.h"

namespace qlx::rng {

// Makes the identity of a new chunk and the table agree: a row of that identity gains a reference and gives the chunk
// its data; else the chunk's data becomes a row; else, with 127 rows in use, the chunk's identity is cleared.
void share(QstChunk* chunk);

// Whether `id` is a row, with the row's data in *data when it is. The data stays while the caller's chunk holds its
// reference.
bool find_shared(const uint64_t* id, void** data);

}  // namespace qlx::rng
