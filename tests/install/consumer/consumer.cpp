// Uses both installed libraries from C++.
// SPDX-License-Identifier: Apache-2.0
#include <qlx/core.h>
#include <qlx/qvm.h>

#include <vector>

int main() {
  std::vector<int> seen(5);
  qlx_qst_serv_threader_for(5, 0, seen.data(), [](int task, void* context) { static_cast<int*>(context)[task] = 1; });
  for (int mark : seen) {
    if (mark != 1) return 1;
  }
  return dll_cpu_version() == 8 ? 0 : 1;
}
