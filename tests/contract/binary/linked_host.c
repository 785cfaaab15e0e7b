/* A host in C that is linked against the library, the way the header promises. */
#include "include/qmsd7.h"

int main(void) { return qm_call(0, QM_CALL_NOP, 0) == 1 ? 0 : 1; }
