/* mymodule: counts words. This is what its callers include. */
#ifndef MYMODULE_H
#define MYMODULE_H

#include <qmsd7.h>

/* The function codes. Their upper half is the module's group: choose one that no other module of
 * the application has. */
#define MYMODULE_COUNT 0x13000000u /* mymodule_count  counts the words of a text                  */
#define MYMODULE_RESET 0x13000001u /* no record       starts the total over                       */

/* MYMODULE_COUNT. Errors: 22 no text. */
typedef struct mymodule_count {
  const qm_wchar* text; /* in                                                                     */
  int32_t words;        /* out  words of this text                                                */
  int32_t total;        /* out  words of all texts that this handle has been given                */
} mymodule_count;

#endif
