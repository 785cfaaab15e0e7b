/* The smallest host: asks the kernel for its version and opens a module. */
#include <stdio.h>

#include "qmsd7.h"

int main(void) {
  qm_info_request kernel = {NULL};
  qm_call(0, QM_CALL_GETKERNELINFO, &kernel);
  printf("%s, version %08x\n", kernel.info->description, (unsigned)kernel.info->version);

  qm_open_module_a module = {"exgreeter", NULL, 0};
  if (!qm_call(0, QM_CALL_OPENMODULEA, &module)) {
    char text[256];
    qm_get_error_a error = {0, text, sizeof text};
    qm_call(0, QM_CALL_GETERRORA, &error);
    printf("error %d: %s\n", (int)error.code, text);
    return 1;
  }
  printf("%s is open, handle %08x\n", module.name, (unsigned)module.handle);

  qm_handle_ref handle = {module.handle};
  return !qm_call(0, QM_CALL_CLOSEHANDLE, &handle);
}
