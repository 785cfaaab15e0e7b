/* exgreeter: an example module. It greets, in words that a property may choose. */
#ifndef EXGREETER_H
#define EXGREETER_H

#include "qmsd7.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The codes of group 0x1201. They need a handle: open "exgreeter". The group that it is opened with
 * names the property "/<group>/greeting"; without one the greeting is "Hello". */
#define EXGREETER_GREETW 0x12010000u /* exgreeter_greet_w                                         */

/* EXGREETER_GREETW. Errors: 22 no name, 2 unknown handle, 12. */
typedef struct exgreeter_greet_w {
  const qm_wchar* name; /* in   whom to greet                                                    */
  qm_wchar* text;       /* out  e.g. "Hello, Ada!": a tracked block, released by the caller      */
} exgreeter_greet_w;

#ifdef __cplusplus
}
#endif

#endif
