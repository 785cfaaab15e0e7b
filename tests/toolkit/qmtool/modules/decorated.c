/* A module that exports its names with the compiler's decoration. */
#include <stddef.h>

#include "qmsd7.h"

QM_EXPORT int32_t _qm_call(uint32_t handle, uint32_t function, void* params) {
  return params != NULL && handle == function;
}
