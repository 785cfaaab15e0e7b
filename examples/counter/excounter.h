/* excounter: an example module. Every instance counts on its own; calls without an instance,
 * through the handle QM_GROUP_HANDLE(0x1200), share one more counter. */
#ifndef EXCOUNTER_H
#define EXCOUNTER_H

#include "qmsd7.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The codes of group 0x1200. */
#define EXCOUNTER_ADD 0x12000000u   /* excounter_add                                              */
#define EXCOUNTER_RESET 0x12000001u /* no record      back to 0                                   */

#define EXCOUNTER_LIMIT 1000

/* The counter would pass its limit; it keeps its value. */
#define EXCOUNTER_ERROR_LIMIT 0x8101

/* EXCOUNTER_ADD. Errors: 0x8101 beyond -EXCOUNTER_LIMIT to EXCOUNTER_LIMIT, 2 unknown handle. */
typedef struct excounter_add {
  int32_t step;  /* in   what to add                                                             */
  int32_t value; /* out  the counter's new value                                                 */
} excounter_add;

#ifdef __cplusplus
}
#endif

#endif
