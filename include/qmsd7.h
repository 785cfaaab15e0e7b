/* QMSD7: the kernel of a modular toolkit.
 *
 * The library exports one function, qm_call(). A 32-bit function code names the service, a record
 * owned by the caller carries its arguments and results. This header is all that a host or a module
 * needs: it compiles as C and C++ and depends on nothing but fixed-width integers.
 *
 * Results    1 for success, 0 for failure, unless a code says otherwise. After a failure the
 *            calling thread's error state holds a code and a message (QM_CALL_GETERRORW).
 * Records    On 32-bit Windows every field is 32 bits wide. On 64-bit systems pointers and call
 *            entries widen, everything else stays 32 bits. Fields are marked in, out or in/out.
 *            A failed call leaves its out fields alone unless the code says otherwise.
 * Ownership  Records and texts passed in stay the caller's. Buffers handed out are tracked blocks;
 *            the caller gives each back with QM_CALL_REALLOC and size 0.
 * Text       Wide text is UTF-16, narrow text is in the runtime's current locale; both end in a
 *            zero. Buffer lengths count elements, the terminator included. A buffer that is too
 *            short receives a cut, terminated text.
 * Threads    Any code may be called from any thread at any time, from inside modules too, but not
 *            by a thread that must not wait (a library's own load and unload routine).
 */
#ifndef QMSD7_H
#define QMSD7_H

#include <stdint.h>

/* The calling convention of qm_call() and of every module's call entry. */
#if defined(_WIN32) && !defined(_WIN64)
#define QM_STDCALL __stdcall
#else
#define QM_STDCALL
#endif

/* Marks what a library exports. On Windows an export list does this and keeps names undecorated. */
#if defined(__GNUC__) && !defined(_WIN32)
#define QM_EXPORT __attribute__((visibility("default")))
#else
#define QM_EXPORT
#endif

/* The 16-bit wide character and the spelling of its literals: QM_W("text"). */
#if defined(_WIN32)
#ifdef __cplusplus
typedef wchar_t qm_wchar;
#else
typedef unsigned short qm_wchar;
#endif
#define QM_W(text) L##text
#else
#ifdef __cplusplus
typedef char16_t qm_wchar;
#else
typedef uint_least16_t qm_wchar;
#endif
#define QM_W(text) u##text
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The type of every call entry. `handle` addresses an object in a module; 0 is the kernel. */
typedef int32_t(QM_STDCALL* qm_call_fn)(uint32_t handle, uint32_t function, void* params);

/* The kernel library's only export; modules export an entry of their own under the same name. */
QM_EXPORT int32_t QM_STDCALL qm_call(uint32_t handle, uint32_t function, void* params);

/* ---- Function codes --------------------------------------------------------------------------
 * 0x10GGFFFF: group GG, function FFFF. Codes that take text come in pairs, narrow = wide + 1.   */

enum {
  /* General. */
  QM_CALL_NOP = 0x1000000F,           /* no record          does nothing, returns 1              */
  QM_CALL_LISTMODULESW = 0x10000010,  /* qm_list_modules_w  installed module libraries           */
  QM_CALL_LISTMODULESA = 0x10000011,  /* qm_list_modules_a                                       */
  QM_CALL_RESOLVEHANDLE = 0x1000F000, /* qm_resolve_handle  what a direct call needs; adds a ref */

  /* Error state of the calling thread. */
  QM_CALL_GETERRORW = 0x10010000,     /* qm_get_error_w     returns the error code itself        */
  QM_CALL_GETERRORA = 0x10010001,     /* qm_get_error_a     returns the error code itself        */
  QM_CALL_SETERRORW = 0x10010002,     /* qm_set_error_w                                          */
  QM_CALL_SETERRORA = 0x10010003,     /* qm_set_error_a                                          */
  QM_CALL_PUSHERROR = 0x10010004,     /* no record          saves the error on a stack           */
  QM_CALL_POPERROR = 0x10010005,      /* no record          takes it back                        */
  QM_CALL_ADDERRORTEXTS = 0x1001000F, /* qm_add_error_texts registers texts for error codes      */

  /* Tracked memory, slots, whole files. */
  QM_CALL_REALLOC = 0x10020000,     /* qm_realloc         allocate, resize (size > 0), release 0 */
  QM_CALL_MEMSIZE = 0x10020001,     /* qm_mem_size        capacity of a block                    */
  QM_CALL_REALLOCPOS = 0x10020002,  /* qm_realloc_pos     as REALLOC, with the source position   */
  QM_CALL_MEMCHECK = 0x10020003,    /* no record          are all blocks sound?                  */
  QM_CALL_MEMINFO = 0x10020004,     /* qm_mem_info        describes the block at an index        */
  QM_CALL_SLOTCREATE = 0x10020005,  /* qm_slot            creates a shared 8-byte cell           */
  QM_CALL_SLOTJOIN = 0x10020006,    /* qm_slot            joins a cell by its id                 */
  QM_CALL_SLOTRELEASE = 0x10020007, /* qm_slot            releases one use of a cell             */
  QM_CALL_READFILE = 0x10020008,    /* qm_file            reads a whole file                     */
  QM_CALL_WRITEFILE = 0x10020009,   /* qm_file            writes a buffer to a file              */

  /* Modules and handles. */
  QM_CALL_OPENMODULEW = 0x10030000,       /* qm_open_module_w     opens an instance by name      */
  QM_CALL_OPENMODULEA = 0x10030001,       /* qm_open_module_a                                    */
  QM_CALL_CLOSEHANDLE = 0x10030002,       /* qm_handle_ref        drops a reference              */
  QM_CALL_GETKERNELINFO = 0x10030004,     /* qm_info_request      the kernel's information record */
  QM_CALL_CLOSE = 0x10030005,             /* no record            announces the end              */
  QM_CALL_REFHANDLE = 0x10030006,         /* qm_handle_ref        adds a reference               */
  QM_CALL_UNREFHANDLE = 0x10030007,       /* qm_handle_ref        drops a reference              */
  QM_CALL_MODULEVERSIONINFO = 0x10030012, /* qm_module_version    to a module's handle           */
  QM_CALL_VERSIONINFOW = 0x10030013,      /* qm_version_info_w    texts of a version resource    */
  QM_CALL_VERSIONINFOA = 0x10030014,      /* qm_version_info_a                                   */
  QM_CALL_SETKERNELENTRY = 0x1003FFFF,    /* qm_kernel_entry      kernel to module, after loading */

  /* Variants: reference-counted typed values. */
  QM_CALL_VARIANTREF = 0x10040000,                /* the variant        adds a reference */
  QM_CALL_VARIANTRELEASE = 0x10040001,            /* the variant        drops a reference */
  QM_CALL_VARIANTCREATE = 0x10040003,             /* qm_variant_create */
  QM_CALL_VARIANTCOPY = 0x10040004,               /* qm_variant_copy    deep copy */
  QM_CALL_VARIANTRECREATE = 0x10040005,           /* qm_variant_create  releases, creates anew */
  QM_CALL_VARIANTASSIGN = 0x10040006,             /* qm_variant_create  value, id, name in place */
  QM_CALL_VARIANTINFO = 0x10040007,               /* qm_variant_info */
  QM_CALL_VARIANTCONVERT = 0x10040008,            /* qm_variant_convert reads as another type */
  QM_CALL_VARIANTGETITEM = 0x10040009,            /* qm_variant_child   adds a reference */
  QM_CALL_VARIANTTAKEITEM = 0x1004000A,           /* qm_variant_child   removes, hands over */
  QM_CALL_VARIANTITEMPOSITION = 0x1004000B,       /* qm_variant_child   finds `child` */
  QM_CALL_VARIANTINSERTITEM = 0x1004000C,         /* qm_variant_child */
  QM_CALL_VARIANTDELETEITEM = 0x1004000D,         /* qm_variant_child   removes and releases */
  QM_CALL_VARIANTGETATTRIBUTE = 0x1004000E,       /* qm_variant_child   adds a reference */
  QM_CALL_VARIANTTAKEATTRIBUTE = 0x1004000F,      /* qm_variant_child   removes, hands over */
  QM_CALL_VARIANTATTRIBUTEPOSITION = 0x10040010,  /* qm_variant_attribute_position */
  QM_CALL_VARIANTINSERTATTRIBUTE = 0x10040011,    /* qm_variant_child */
  QM_CALL_VARIANTDELETEATTRIBUTE = 0x10040012,    /* qm_variant_child   removes and releases */
  QM_CALL_VARIANTREADARRAY = 0x10040013,          /* qm_variant_array   elements to a buffer */
  QM_CALL_VARIANTREADARRAYSHARED = 0x10040014,    /* qm_variant_array   the same */
  QM_CALL_VARIANTWRITEARRAY = 0x10040016,         /* qm_variant_array   a buffer to elements */
  QM_CALL_VARIANTWRITEARRAYSHARED = 0x10040017,   /* qm_variant_array   the same */
  QM_CALL_VARIANTPATHW = 0x10040018,              /* qm_variant_path_w */
  QM_CALL_VARIANTPATHA = 0x10040019,              /* qm_variant_path_a */
  QM_CALL_VARIANTPATHVALUEW = 0x1004001A,         /* qm_variant_path_value_w */
  QM_CALL_VARIANTPATHVALUEA = 0x1004001B,         /* qm_variant_path_value_a */
  QM_CALL_VARIANTRECREATEDIRECT = 0x1004001D,     /* same as VARIANTRECREATE */
  QM_CALL_VARIANTCREATEDIRECT = 0x1004001E,       /* same as VARIANTCREATE */
  QM_CALL_VARIANTASSIGNDIRECT = 0x1004001F,       /* same as VARIANTASSIGN */
  QM_CALL_VARIANTASSIGNVALUE = 0x10040020,        /* qm_variant_create  keeps id and name */
  QM_CALL_VARIANTASSIGNVALUEDIRECT = 0x10040021,  /* the same */
  QM_CALL_VARIANTINFONAME = 0x10040022,           /* qm_variant_info_name */
  QM_CALL_VARIANTGETITEMDIRECT = 0x10040023,      /* same as VARIANTGETITEM */
  QM_CALL_VARIANTTAKEITEMDIRECT = 0x10040024,     /* same as VARIANTTAKEITEM */
  QM_CALL_VARIANTCOUNTITEMS = 0x10040025,         /* qm_variant_child   by name */
  QM_CALL_VARIANTINSERTITEMDIRECT = 0x10040026,   /* same as VARIANTINSERTITEM */
  QM_CALL_VARIANTGETATTRIBUTEDIRECT = 0x10040027, /* same as VARIANTGETATTRIBUTE */
  QM_CALL_VARIANTFINDATTRIBUTE = 0x10040028,      /* qm_variant_child   adds no reference */
  QM_CALL_VARIANTCOUNTATTRIBUTES = 0x10040029,    /* qm_variant_child   by name */
  QM_CALL_VARIANTINSERTATTRIBUTEDIRECT = 0x1004002A /* same as VARIANTINSERTATTRIBUTE */
};

/* ---- Handles ---------------------------------------------------------------------------------
 * Handles of opened modules run from 0x10000 to 0xFFFEFFFF. A group handle needs no opening: it
 * addresses the module that serves a group of function codes, e.g. 0xFFFF1100 for 0x1100xxxx.   */

#define QM_GROUP_HANDLE(group) (0xFFFF0000u | (uint32_t)(group))
#define QM_PROPERTY_HANDLE QM_GROUP_HANDLE(0x1100)

/* Codes of the property module that the kernel itself uses (record qm_property_text). */
#define QM_PROPERTY_READW 0x11000000u /* value of a node                                         */
#define QM_PROPERTY_LISTW 0x11000008u /* names of a node's children, one per line                */

/* ---- Errors ----------------------------------------------------------------------------------
 * Codes below 0x1000 are the C runtime's errno values.                                          */

enum {
  QM_ERROR_NOT_FOUND = 2,           /* unknown, empty or closed                                  */
  QM_ERROR_NO_MEMORY = 12,          /* exhausted memory                                          */
  QM_ERROR_DAMAGED = 14,            /* damaged or missing bookkeeping                            */
  QM_ERROR_BUSY = 16,               /* another thread did not finish in time                     */
  QM_ERROR_ARGUMENT = 22,           /* bad argument or unknown code                              */
  QM_ERROR_RANGE = 34,              /* out of range                                              */
  QM_ERROR_LOAD = 0x1000,           /* a library cannot be loaded                                */
  QM_ERROR_VERSION_READ = 0x1002,   /* a version resource cannot be read                         */
  QM_ERROR_SHORT_READ = 0x1002,     /* a file ended early; the same number as above              */
  QM_ERROR_VERSION_FORMAT = 0x1004, /* a version resource lacks a table                          */
  QM_ERROR_MODULE_NOT_OPEN = 0x8000 /* a module that is not open                                 */
};

/* ---- Records: error state ------------------------------------------------------------------ */

/* QM_CALL_GETERRORW. A null record is allowed: the code is returned. */
typedef struct qm_get_error_w {
  int32_t code;   /* out  the thread's error code, 0 when there is none                          */
  qm_wchar* text; /* in   buffer for the message; null: none wanted                              */
  int32_t length; /* in   its length in characters; below 1: no text is written                  */
} qm_get_error_w;

/* QM_CALL_GETERRORA. */
typedef struct qm_get_error_a {
  int32_t code;   /* out                                                                         */
  char* text;     /* in                                                                          */
  int32_t length; /* in   in bytes                                                               */
} qm_get_error_a;

/* How QM_CALL_SETERRORW/A combines the new message with the old one. */
enum {
  QM_SET_ERROR_REPLACE = 0,     /* code text, new text                                         */
  QM_SET_ERROR_APPEND = 1,      /* old message, line break, code text, new text                */
  QM_SET_ERROR_PREPEND = 2,     /* code text, new text, line break, old message                */
  QM_SET_ERROR_LITERAL = 0x100, /* the text is no format                                       */
  QM_SET_ERROR_NO_CODE_TEXT = 0x2000 /* leave the code's own text out                            */
};

/* QM_CALL_SETERRORW. Errors: 22 "(!ptr)" for a null record.
 * In a wide format "%s" takes wide text and "%hs" narrow text.                                  */
typedef struct qm_set_error_w {
  uint32_t flags;       /* in  QM_SET_ERROR_ values                                              */
  int32_t code;         /* in                                                                    */
  const qm_wchar* text; /* in  message or format; null counts as empty                           */
  void* arguments;      /* in  the format's va_list, cast: `record.arguments = (void*)list;`     */
} qm_set_error_w;

/* QM_CALL_SETERRORA. "%s" takes narrow text. */
typedef struct qm_set_error_a {
  uint32_t flags;   /* in                                                                        */
  int32_t code;     /* in                                                                        */
  const char* text; /* in                                                                        */
  void* arguments;  /* in                                                                        */
} qm_set_error_a;

typedef struct qm_error_text {
  int32_t code;
  const qm_wchar* text; /* copied; null clears the code's text                                   */
} qm_error_text;

/* QM_CALL_ADDERRORTEXTS. Every pair is tried; 0 when one could not be stored.
 * Errors: 22 "(!ptr)" for a null record, or null `pairs` with a count above 0.                  */
typedef struct qm_add_error_texts {
  int32_t count;              /* in  below 1: nothing to do, returns 1                           */
  const qm_error_text* pairs; /* in                                                              */
} qm_add_error_texts;

/* ---- Records: tracked memory --------------------------------------------------------------- */

/* QM_CALL_REALLOC. A null pointer allocates, size 0 releases (and nulls the pointer).
 * Errors: 22 a negative size or a pointer that is no tracked block; 14 damaged bookkeeping;
 * 12 out of memory. On failure block and pointer are as before.                                 */
typedef struct qm_realloc {
  void* pointer; /* in/out                                                                       */
  int32_t size;  /* in      bytes                                                                */
} qm_realloc;

/* QM_CALL_MEMSIZE. Errors: 22 null or unknown pointer; 14 damaged bookkeeping. */
typedef struct qm_mem_size {
  void* pointer; /* in                                                                           */
  int32_t size;  /* out  capacity in bytes: the requested size rounded up to a multiple of 4     */
} qm_mem_size;

/* QM_CALL_REALLOCPOS. As qm_realloc; the position is shown by QM_CALL_MEMINFO. */
typedef struct qm_realloc_pos {
  void* pointer;    /* in/out                                                                    */
  int32_t size;     /* in      bytes                                                             */
  const char* file; /* in      copied; null keeps an existing block's position                   */
  int32_t line;     /* in                                                                        */
} qm_realloc_pos;

/* QM_CALL_MEMINFO. Walk the live blocks with index 0, 1, ... until the call fails with 34.
 * A free index gives empty texts, line -1, capacity -1 and a null pointer.
 * Errors: 22 a negative index or size; 34 an index at or above the count.                       */
typedef struct qm_mem_info {
  int32_t index;     /* in   position in the block list                                          */
  char* file;        /* in   buffer for the source file name, or null                            */
  int32_t file_size; /* in   bytes                                                               */
  char* dump;        /* in   buffer for the first eight bytes, as characters and in hexadecimal  */
  int32_t dump_size; /* in   bytes                                                               */
  int32_t line;      /* out                                                                      */
  int32_t capacity;  /* out  bytes                                                               */
  void* pointer;     /* out  the block                                                           */
} qm_mem_info;

/* ---- Records: slots and files -------------------------------------------------------------- */

/* QM_CALL_SLOTCREATE: a new cell of 8 zero bytes with one use. QM_CALL_SLOTJOIN: one more use.
 * QM_CALL_SLOTRELEASE: one use less; the last one ends the cell. The cell does not move while it
 * lives; those who share it agree among themselves how they access it.
 * Errors, all with "(slot)": 2 no cell with that id; 34 no id or no use left; 12.               */
typedef struct qm_slot {
  int32_t id; /* out for create, otherwise in                                                    */
  void* data; /* out  the 8 bytes, aligned to 8; not used by release                             */
} qm_slot;

/* How qm_file.filename is to be read. */
enum { QM_FILE_NAME_NARROW = 1, QM_FILE_NAME_WIDE = 2 };

/* QM_CALL_READFILE: the whole file in a tracked block of the caller; an empty file gives a null
 * `data`. After a failure `data` is null and `size` 0 (before the file was opened), -1 (the file
 * cannot be opened or read) or the file's size (no memory for the block).
 * QM_CALL_WRITEFILE: replaces the file, making missing directories; a failed write leaves no file.
 * Names may hold %VARIABLES%; "/" separates as well as "\".
 * Errors: 22 "(!filename)", "(!data)"; errno values with "(filename)", "(file)", "(file creation)",
 * "(file writing)", "(file closing)"; 0x1002 "(file)" for a short read; 12.                     */
typedef struct qm_file {
  void* data;           /* out for reading, in for writing                                       */
  const void* filename; /* in   narrow or wide text                                              */
  int32_t size;         /* out for reading, in for writing: bytes, at most 0x7FFFFFFA            */
  int32_t kind;         /* in   QM_FILE_NAME_NARROW or QM_FILE_NAME_WIDE                         */
} qm_file;

/* ---- Records: modules and handles ---------------------------------------------------------- */

/* QM_CALL_OPENMODULEW. The module receives this very record, so a module may define further fields
 * behind the three. `handle` is 0 after a failure.
 * Errors: 22 "(!ptr || !name)"; 0x1000 no such library; 2 or 22 a library that is no module;
 * 16 another thread has been loading it for more than two seconds; 12; or the module's own.     */
typedef struct qm_open_module_w {
  const qm_wchar* name;  /* in                                                                   */
  const qm_wchar* group; /* in   property group for aliases, and the module's own use; or null   */
  uint32_t handle;       /* out  close with QM_CALL_CLOSEHANDLE                                  */
} qm_open_module_w;

/* QM_CALL_OPENMODULEA. The module sees a wide record of its own with the same three fields. */
typedef struct qm_open_module_a {
  const char* name;  /* in                                                                       */
  const char* group; /* in                                                                       */
  uint32_t handle;   /* out                                                                      */
} qm_open_module_a;

/* QM_CALL_CLOSEHANDLE, QM_CALL_UNREFHANDLE: drops a reference; the last one closes the module's
 * instance and sets `handle` to 0. QM_CALL_REFHANDLE: adds a reference.
 * Errors: 2 "(handle=%08x)" for an unknown handle.                                              */
typedef struct qm_handle_ref {
  uint32_t handle; /* in/out                                                                     */
} qm_handle_ref;

/* QM_CALL_RESOLVEHANDLE: for callers that want to call a module without the kernel in between:
 * entry(owner_handle, code, record). The reference it adds is the caller's to give back.
 * Errors: 2 unknown handle; 22 the module is not open.                                          */
typedef struct qm_resolve_handle {
  uint32_t handle;       /* in                                                                   */
  uint32_t owner_handle; /* out  the module's own handle for the instance                        */
  void* library;         /* out  the module's library handle                                     */
  qm_call_fn entry;      /* out  the module's call entry                                         */
} qm_resolve_handle;

#define QM_MODULE_ID 0x716D0000u          /* qm_module_info.id                                   */
#define QM_EXTENDED_MODULE_ID 0x386A56B6u /* qm_extended_info.id                                 */
#define QM_KERNEL_VERSION 0x0703011Du     /* 7.3.1.29                                            */

/* What a module tells about itself: exported as data under the name `qmmoduleinfo` and answered to
 * QM_CALL_GETKERNELINFO. The module owns it; it must stay valid while the library is loaded.    */
typedef struct qm_module_info {
  uint32_t id;                      /* QM_MODULE_ID                                           */
  uint32_t version;                 /* major, minor, patch, build: one byte each, from the top */
  const char* description;          /* narrow                                                 */
  const qm_wchar* description_wide; /* the same, wide                                         */
  qm_call_fn call;                  /* the module's call entry                                */
} qm_module_info;

/* The older, extended kind of `qmmoduleinfo`. The kernel reads `id`, words 2, 3 and `call`. */
typedef struct qm_extended_info {
  uint32_t id; /* QM_EXTENDED_MODULE_ID                                                          */
  uint32_t word1;
  const void* word2;
  const void* word3;
  const void* word4;
  qm_call_fn call; /* speaks the older protocol's codes                                          */
} qm_extended_info;

/* QM_CALL_GETKERNELINFO, to the kernel or to a module. A null record is allowed. */
typedef struct qm_info_request {
  const qm_module_info* info; /* out  owned by the answering side                                */
} qm_info_request;

/* QM_CALL_SETKERNELENTRY: the kernel's first call to a module, once after loading, handle 0.
 * The record lives during the call only; the result is ignored.                                 */
typedef struct qm_kernel_entry {
  qm_call_fn entry; /* in  the kernel's qm_call                                                  */
} qm_kernel_entry;

/* ---- Records: listing and version information ---------------------------------------------- */

/* QM_CALL_LISTMODULESW. Searches ".", the PATH entries and the system's `qm` folder, in this order,
 * without removing duplicates; libraries without version information are left out.
 * `paths`, each path and `versions` are tracked blocks of the caller; with a count of 0 they may
 * still be non-null. Errors: 22 "Null pointer detected" for a null record.                      */
typedef struct qm_list_modules_w {
  uint32_t reserved;       /*      not used                                                      */
  const qm_wchar* pattern; /* in   file name pattern without extension; null: all                */
  qm_wchar** paths;        /* out  `count` full paths                                            */
  uint32_t* versions;      /* out  `count` packed versions, as in qm_module_info                 */
  int32_t count;           /* out                                                                */
} qm_list_modules_w;

/* QM_CALL_LISTMODULESA. */
typedef struct qm_list_modules_a {
  uint32_t reserved;
  const char* pattern; /* in                                                                     */
  char** paths;        /* out  null when the count is 0; an entry is null if memory ran out      */
  uint32_t* versions;  /* out                                                                    */
  int32_t count;       /* out                                                                    */
} qm_list_modules_a;

/* Texts of a version resource, all in one tracked block. */
typedef struct qm_version_pair {
  qm_wchar* key;
  qm_wchar* value;
} qm_version_pair;

typedef struct qm_version_props {
  uint32_t count;
  qm_version_pair pairs[1]; /* `count` of them, in the resource's order; the texts follow        */
} qm_version_props;

/* QM_CALL_VERSIONINFOW. Errors: 22 "(!params)", "(fname)", a `props` that is no tracked block;
 * 2 "(info)" no version resource, "(props)" no texts; 0x1002, 0x1004 unreadable; 12.            */
typedef struct qm_version_info_w {
  const qm_wchar* file;    /* in                                                                 */
  qm_version_props* props; /* in/out  null or an earlier result, which is resized and reused     */
} qm_version_info_w;

/* QM_CALL_VERSIONINFOA. Names are cut at 259 characters. */
typedef struct qm_version_info_a {
  const char* file;        /* in                                                                 */
  qm_version_props* props; /* in/out                                                             */
} qm_version_info_a;

/* QM_CALL_MODULEVERSIONINFO, to a module's handle: the module file's version texts.
 * The block stays the kernel's, valid until the module is unloaded: never release or resize it. */
typedef struct qm_module_version {
  qm_version_props* props; /* out                                                                */
} qm_module_version;

/* ---- Records: variants -----------------------------------------------------------------------
 * A variant is a reference-counted value owned by the kernel: scalar, array, text, binary block,
 * object reference or container, with a name, an id and a list of attribute variants. It is used
 * through its address only. Every variant handed out carries a reference for the caller, who gives
 * it back with QM_CALL_VARIANTRELEASE.                                                          */

typedef struct qm_variant qm_variant;

/* Type codes. */
enum {
  QM_TYPE_EMPTY = 0,
  QM_TYPE_SIGNED = 1,        /* size 1, 2, 4 or 8 bytes; 0 is a number without width, value 0 */
  QM_TYPE_UNSIGNED = 2,      /* likewise                                                      */
  QM_TYPE_FLOATING = 3,      /* size 4 or 8 (or 0)                                            */
  QM_TYPE_DATETIME = 4,      /* size 8 (or 0): a packed date-time                             */
  QM_TYPE_EMPTY_ARRAY = 64,  /* cannot be created                                             */
  QM_TYPE_SIGNED_ARRAY = 65, /* size is that of an element                                    */
  QM_TYPE_UNSIGNED_ARRAY = 66,
  QM_TYPE_FLOATING_ARRAY = 67,
  QM_TYPE_DATETIME_ARRAY = 68,
  QM_TYPE_CONTAINER = 128,  /* created empty; size counts its items                          */
  QM_TYPE_BINARY = 129,     /* size in bytes                                                 */
  QM_TYPE_TEXT = 130,       /* narrow; size in bytes, terminator included                    */
  QM_TYPE_WIDE_TEXT = 131,  /* size in characters, terminator included                       */
  QM_TYPE_OBJECT = 132,     /* size is the number of code words                              */
  QM_TYPE_TEXT_AUTO = 4226, /* narrow text that may turn out to be a number or a date-time   */
  QM_TYPE_TEXT_UTF8 = 8322, /* UTF-8 text, becomes wide text                                 */
  QM_TYPE_WIDE_TEXT_AUTO = 4227,
  QM_TYPE_WIDE_TEXT_UTF8 = 8323
};

/* The data record of an object reference: an object that lives in a module.
 * codes[0] takes a reference on the object, codes[1] gives it back; the kernel calls the module
 * with the code and the object's value in place of a record. */
typedef struct qm_object_data {
  uint32_t value;
  const qm_wchar* module; /* copied; "" is the kernel itself                                     */
  uint32_t codes[4];      /* `size` words, at least 4                                            */
} qm_object_data;

/* QM_CALL_VARIANTCREATE, -RECREATE, -ASSIGN, -ASSIGNVALUE and their -DIRECT twins.
 * `data` is given exactly when `nitems` is not 0. Create: `variant` is null after a failure.
 * Recreate: releases the given variant (if any), null after a failure. Assign: exchanges the value
 * of the given variant in place; on failure nothing changes.
 * Errors: 22 "(items)", "(type)", "(size)", "(size || nitems)", "(data)", "(cdata)", "(variant)";
 * 12.                                                                                           */
typedef struct qm_variant_create {
  qm_variant* variant;  /* in/out                                                                */
  int32_t id;           /* in   the creator's own, not interpreted                               */
  const qm_wchar* name; /* in   copied; may be null                                              */
  int32_t type;         /* in                                                                    */
  int32_t size;         /* in                                                                    */
  int32_t nitems;       /* in   elements of an array, 1 for other values, 0 without data         */
  const void* data;     /* in   copied; qm_object_data for an object reference                   */
} qm_variant_create;

/* QM_CALL_VARIANTCOPY: a deep copy in which sharing is kept. A null source gives a null copy. */
typedef struct qm_variant_copy {
  qm_variant* source; /* in                                                                      */
  qm_variant* copy;   /* out  null after a failure                                               */
} qm_variant_copy;

/* QM_CALL_VARIANTINFO. A null variant gives id -1 and zeros. */
typedef struct qm_variant_info {
  qm_variant* variant; /* in                                                                     */
  int32_t id;          /* out                                                                    */
  int32_t type;        /* out                                                                    */
  int32_t size;        /* out                                                                    */
  int32_t nitems;      /* out  elements of an array, items of a container, 1 for other values    */
  int32_t nattributes; /* out                                                                    */
} qm_variant_info;

/* QM_CALL_VARIANTINFONAME. Errors: 22 "(namebuff)" when only one of buffer and length is given. */
typedef struct qm_variant_info_name {
  qm_variant* variant; /* in                                                                     */
  int32_t id;          /* out                                                                    */
  qm_wchar* name;      /* in   buffer for the name, or null                                      */
  int32_t length;      /* in   its length in characters                                          */
  int32_t type;        /* out                                                                    */
  int32_t size;        /* out                                                                    */
  int32_t nitems;      /* out                                                                    */
  int32_t nattributes; /* out                                                                    */
} qm_variant_info_name;

/* How a child is described in qm_variant_child; tested in this order. */
enum {
  QM_FIND_INDEX = 0x2,        /* `index` is given; otherwise it counts as 0                    */
  QM_FIND_LAST = 0x200,       /* the last child; insertion: append                             */
  QM_FIND_NTH_OF_ID = 0x4,    /* the index-th child with that id                               */
  QM_FIND_NTH_OF_NAME = 0x10, /* the index-th child with that name                             */
  QM_FIND_NAME_FROM = 0x8,    /* the first child at or after the index with that name          */
  QM_FIND_ID_FROM = 0x1,      /* the first child at or after the index with that id            */
  QM_INSERT_AFTER = 0x100     /* insertion: behind the child found                             */
};

/* Selecting, inserting and removing items and attributes.
 * QM_CALL_VARIANTITEMPOSITION looks for the address in `child`. QM_CALL_VARIANTFINDATTRIBUTE tells
 * id and position and leaves `child` null. QM_CALL_VARIANTCOUNTITEMS and -COUNTATTRIBUTES look at
 * the name alone: `id` becomes the number of children with it, `index` the position of the first of
 * them from the given index on, or -1; `child` becomes null.
 * Errors: 22 "(parent)", "(type)" no container, "(item)", "(ix)"; 2 no such child; 12. */
typedef struct qm_variant_child {
  qm_variant* holder;   /* in                                                                    */
  uint32_t flags;       /* in      QM_FIND_ values                                               */
  int32_t id;           /* in/out  the wanted id; the child's id                                 */
  int32_t index;        /* in/out  the wanted index; the child's position                        */
  const qm_wchar* name; /* in      the wanted name; null: unnamed children                       */
  qm_variant* child;    /* in for insertion and position, otherwise out */
} qm_variant_child;

/* QM_CALL_VARIANTATTRIBUTEPOSITION. Errors: 22 "(parent)", "(item)"; 2 not an attribute of it. */
typedef struct qm_variant_attribute_position {
  qm_variant* holder;    /* in                                                                   */
  qm_variant* attribute; /* in                                                                   */
  int32_t id;            /* out                                                                  */
  int32_t index;         /* out                                                                  */
} qm_variant_attribute_position;

/* QM_CALL_VARIANTCONVERT. On failure all fields stay; the target may have been written.
 * Errors: 22 "(param)", "(type)", "(ix)", "(srclen)", "(tgtlen)", "(target || tgtlen)".         */
typedef struct qm_variant_convert {
  qm_variant* source; /* in                                                                      */
  int32_t id;         /* out     the source's id                                                 */
  int32_t type;       /* in      type wanted                                                     */
  int32_t size;       /* in/out  width wanted; what was written: bytes, characters for wide text */
  int32_t count;      /* in      elements; 0 counts as 1                                         */
  void* target;       /* in      filled                                                          */
  int32_t capacity;   /* in      of the target, in bytes                                         */
} qm_variant_convert;

/* QM_CALL_VARIANTREADARRAY: elements to a buffer. QM_CALL_VARIANTWRITEARRAY: the other way round,
 * `width` and `type` then describe the buffer's elements.
 * Errors: 22 "(variant)", "(target || tgtlen)", "(type)", "(ix)", "(srclen)", "(tgtlen)".       */
typedef struct qm_variant_array {
  qm_variant* variant; /* in                                                                     */
  int32_t width;       /* in  of a buffer element, in bytes                                      */
  int32_t type;        /* in  of the buffer's elements                                           */
  int32_t first;       /* in  first array element                                                */
  int32_t count;       /* in  above 0                                                            */
  void* buffer;        /* in                                                                     */
  int32_t capacity;    /* in  of the buffer, in bytes                                            */
} qm_variant_array;

/* QM_CALL_VARIANTPATHW: finds a variant below another by a path such as "L,N=size" or "a/b[2]".
 * Errors: 22 "(path)", "(root)", "(syntax)", "(type)", "(ix)"; 2 nothing there; each of
 * the later ones with the position in the path.                                                 */
typedef struct qm_variant_path_w {
  qm_variant* root;     /* in                                                                    */
  const qm_wchar* path; /* in                                                                    */
  qm_variant* result;   /* out  with a reference for the caller                                  */
} qm_variant_path_w;

/* QM_CALL_VARIANTPATHA. Errors also: 12 "(mem or char coding)". */
typedef struct qm_variant_path_a {
  qm_variant* root;
  const char* path;
  qm_variant* result;
} qm_variant_path_a;

/* QM_CALL_VARIANTPATHVALUEW: finds by path and converts in one call. */
typedef struct qm_variant_path_value_w {
  qm_variant* root;     /* in                                                                    */
  const qm_wchar* path; /* in                                                                    */
  int32_t id;           /* the rest as in qm_variant_convert                                     */
  int32_t type;
  int32_t size;
  int32_t count;
  void* target;
  int32_t capacity;
} qm_variant_path_value_w;

/* QM_CALL_VARIANTPATHVALUEA. */
typedef struct qm_variant_path_value_a {
  qm_variant* root;
  const char* path;
  int32_t id;
  int32_t type;
  int32_t size;
  int32_t count;
  void* target;
  int32_t capacity;
} qm_variant_path_value_a;

/* ---- Records: property module -------------------------------------------------------------- */

/* QM_PROPERTY_READW, QM_PROPERTY_LISTW. */
typedef struct qm_property_text {
  const qm_wchar* path; /* in  e.g. "/default/groups"                                            */
  qm_wchar* text;       /* in  buffer, filled by the module                                      */
  int32_t length;       /* in  in characters                                                     */
} qm_property_text;

#ifdef __cplusplus
}
#endif

#endif
