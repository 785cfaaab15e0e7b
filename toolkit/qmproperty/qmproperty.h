/* qmproperty: the property module. A tree of text values, kept in the TOML file `qmproperty.toml`
 * beside the module's library.
 *
 * Paths      "/group/name": every step names a key, case and all; "/" is the root. A TOML table is
 *            a node with children; everything else is a value. Keys that contain "/" or a line
 *            break cannot be addressed and are not listed.
 * Values     Strings are read as they are, other TOML values as they are written in TOML ("42",
 *            "true", "1979-05-27", "[1, 2]"). What is written through this module is a string.
 * File       Read once, at the first use; a missing file is an empty tree. Changes live in memory
 *            until they are saved. A file that cannot be read or is not TOML is never overwritten:
 *            every call then fails, and the message tells line and column.
 * Handles    All instances are the same tree. Calls need none: QM_PROPERTY_HANDLE reaches it.
 * Results    1 or 0 with the reason in the thread's error state:
 *            2 no such node, 22 a bad argument or a path that leads through a value, 34 a path that
 *            is too deep, 12 out of memory, 14 a file that is not TOML, or the system's errno value
 *            for a file that cannot be read or written.
 * Threads    Any code may be called from any thread at any time.
 */
#ifndef QMPROPERTY_H
#define QMPROPERTY_H

#include "qmsd7.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Function codes, with their records. The first two are declared in qmsd7.h.
 * QM_PROPERTY_READW   qm_property_text  value at `path`; a cut value fills the buffer to its last
 *                                       element
 * QM_PROPERTY_LISTW   qm_property_text  names of the children, sorted, each followed by CR LF; a
 *                                       value has none. A name that does not fit is left out whole.
 * The codes in narrow text do the same as their wide twins.                                      */
#define QM_PROPERTY_READA 0x11000001u   /* qm_property_text_a                                     */
#define QM_PROPERTY_WRITEW 0x11000002u  /* qm_property_write_w   sets a value; makes its nodes    */
#define QM_PROPERTY_WRITEA 0x11000003u  /* qm_property_write_a                                    */
#define QM_PROPERTY_REMOVEW 0x11000004u /* qm_property_remove_w  a value, or a node and all below */
#define QM_PROPERTY_REMOVEA 0x11000005u /* qm_property_remove_a                                   */
#define QM_PROPERTY_SAVE 0x11000006u    /* no record             writes changes to the file       */
#define QM_PROPERTY_LISTA 0x11000009u   /* qm_property_text_a                                     */

/* Deepest path that can be written. */
#define QM_PROPERTY_MAX_DEPTH 64

/* QM_PROPERTY_READA, QM_PROPERTY_LISTA. */
typedef struct qm_property_text_a {
  const char* path; /* in                                                                        */
  char* text;       /* in  buffer, filled by the module                                          */
  int32_t length;   /* in  in bytes; at least 1                                                  */
} qm_property_text_a;

/* QM_PROPERTY_WRITEW. A node with children cannot become a value: remove it first. */
typedef struct qm_property_write_w {
  const qm_wchar* path; /* in                                                                    */
  const qm_wchar* text; /* in                                                                    */
} qm_property_write_w;

/* QM_PROPERTY_WRITEA. */
typedef struct qm_property_write_a {
  const char* path; /* in                                                                        */
  const char* text; /* in                                                                        */
} qm_property_write_a;

/* QM_PROPERTY_REMOVEW. */
typedef struct qm_property_remove_w {
  const qm_wchar* path; /* in  not the root                                                      */
} qm_property_remove_w;

/* QM_PROPERTY_REMOVEA. */
typedef struct qm_property_remove_a {
  const char* path; /* in                                                                        */
} qm_property_remove_a;

/* QM_PROPERTY_SAVE replaces the file in one step: a reader, or a crash, sees the old file or the
 * new one. Comments and the order of keys are not kept. Without changes the file is left alone. */

#ifdef __cplusplus
}
#endif

#endif
