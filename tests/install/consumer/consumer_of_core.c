/* Needs the core library alone.
   SPDX-License-Identifier: Apache-2.0 */
#include <qlx/core.h>

int main(void) {
  qlx_serv_deallocate(qlx_serv_allocate(1, 128));
  return 0;
}
