// The tests' property store: answers from a table of lines (tests/modules/test_module.h).
#include <stdlib.h>
#include <string.h>

#include "tests/modules/module_support.h"

extern const char test_module::kDefaults[] = "";

namespace {

constexpr size_t kStoreSize = 65536;
char g_lines[kStoreSize];  // empty: read from TM_STORE at the first use
bool g_filled = false;

void fill(const char* lines) {
  strncpy(g_lines, lines, kStoreSize - 1);
  g_filled = true;
}

const char* lines() {
  if (!g_filled) {
    test_module::environment("TM_STORE", g_lines, kStoreSize);
    g_filled = true;
  }
  return g_lines;
}

const char* next_line(const char* line) {
  const char* end = strchr(line, '\n');
  return end == nullptr ? nullptr : end + 1;
}

// What stands behind "KEY=", up to the line's end; null when no line begins so.
const char* find(const char* key) {
  const size_t size = strlen(key);
  for (const char* line = lines(); line != nullptr; line = next_line(line)) {
    if (strncmp(line, key, size) == 0 && line[size] == '=') return line + size + 1;
  }
  return nullptr;
}

long number_setting(const char* key, int base) {
  const char* value = find(key);
  return value == nullptr ? 0 : strtol(value, nullptr, base);
}

char unescape(char letter) {
  switch (letter) {
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    default:
      return letter;
  }
}

// Writes into the caller's buffer as far as it goes.
class Writer {
 public:
  explicit Writer(const qm_property_text& request)
      : at_(request.text), end_(request.text + request.length - 1) {}
  ~Writer() { *at_ = 0; }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  void put(char letter) {
    if (at_ < end_) *at_++ = static_cast<qm_wchar>(static_cast<unsigned char>(letter));
  }
  void put_value(const char* value) {
    for (; *value != 0 && *value != '\n'; ++value) {
      if (*value == '\\' && value[1] != 0) {
        put(unescape(*++value));
      } else {
        put(*value);
      }
    }
  }

 private:
  qm_wchar* at_;
  qm_wchar* end_;
};

// The last component of each path right below the node.
bool list_children(const char* node, const qm_property_text& request) {
  const size_t size = strlen(node);
  Writer out(request);
  bool any = false;
  for (const char* line = lines(); line != nullptr; line = next_line(line)) {
    if (strncmp(line, node, size) != 0 || line[size] != '/') continue;
    const char* name = line + size + 1;
    const size_t length = strcspn(name, "/=\n");
    if (name[length] != '=' || length == 0) continue;
    for (size_t i = 0; i < length; ++i) out.put(name[i]);
    out.put('\n');
    any = true;
  }
  return any;
}

int32_t answer_listing(const char* node, const qm_property_text& request) {
  char key[1100];
  strcpy(key, node);
  strcat(key, "/");
  if (const char* listing = find(key)) {
    Writer(request).put_value(listing);
    return 1;
  }
  return list_children(node, request) ? 1 : 0;
}

int32_t answer_value(const char* path, const qm_property_text& request) {
  const char* value = find(path);
  if (value == nullptr) return 0;
  Writer(request).put_value(value);
  return 1;
}

void record_error(int32_t code) {
  qm_set_error_w error{QM_SET_ERROR_LITERAL, code, QM_W("from the store"), nullptr};
  test_module::kernel()(0, QM_CALL_SETERRORW, &error);
}

int32_t answer(uint32_t code, const qm_property_text& request) {
  const bool listing = code == QM_PROPERTY_LISTW;
  char path[1024];
  const char* shown = test_module::show(request.path, path, sizeof path);
  test_module::journal("%s %s", listing ? "list" : "read", shown);
  if (const long error = number_setting("!error", 16)) record_error(static_cast<int32_t>(error));
  if (listing) test_module::sleep(static_cast<int32_t>(number_setting("!sleep", 10)));
  if (number_setting("!silent", 10) != 0) return 1;
  if (number_setting("!full", 10) != 0) {
    for (int32_t i = 0; i < request.length; ++i) request.text[i] = 'x';
    return 1;
  }
  return listing ? answer_listing(shown, request) : answer_value(shown, request);
}

// A text of the store in wide characters.
const qm_wchar* wide_value(const char* value, qm_wchar (&buffer)[256]) {
  Writer({nullptr, buffer, 256}).put_value(value);
  return buffer;
}

int32_t take_notice(const qm_kernel_entry* entry) {
  const int32_t result = test_module::take_notice(entry);
  qm_wchar text[256];
  if (find("!entry") != nullptr) {
    test_module::journal("entry %p", reinterpret_cast<void*>(entry->entry));
  }
  if (const char* name = find("!open")) test_module::open_module(wide_value(name, text));
  if (const char* value = find("!text")) {
    char* end;
    const long code = strtol(value, &end, 16);
    qm_error_text pair{static_cast<int32_t>(code), wide_value(end + 1, text)};
    qm_add_error_texts texts{1, &pair};
    test_module::kernel()(0, QM_CALL_ADDERRORTEXTS, &texts);
  }
  return result;
}

int32_t QM_STDCALL entry(uint32_t handle, uint32_t code, void* params) {
  int32_t result;
  if (test_module::answer_common(code, params, result)) return result;
  switch (code) {
    case QM_CALL_SETKERNELENTRY:
      return take_notice(static_cast<qm_kernel_entry*>(params));
    case QM_PROPERTY_READW:
    case QM_PROPERTY_LISTW:
      return answer(code, *static_cast<qm_property_text*>(params));
    case TM_STORE_SET:
      fill(static_cast<tm_store_set*>(params)->lines);
      return 1;
    default:
      test_module::journal("call %08x %x", code, handle);
      return test_module::setting(TM_CALL_RESULT);
  }
}

}  // namespace

extern "C" {
TM_EXPORT extern const qm_module_info qmmoduleinfo = {
    QM_MODULE_ID, 0x01000000, "Test property store", QM_W("Test property store"), &entry};

TM_EXPORT int32_t QM_STDCALL qm_call(uint32_t handle, uint32_t code, void* params) {
  return entry(handle, code, params);
}
}
