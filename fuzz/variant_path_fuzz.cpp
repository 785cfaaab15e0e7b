// Any text as a path through a small tree: a result with a reference, or an error with a position.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <string>

#include "include/qmsd7.h"
#include "kernel/entry/lifecycle.h"

namespace {

qm_variant* create(std::int32_t type, std::int32_t size, const qm_wchar* name, std::int32_t id,
                   const void* data) {
  qm_variant_create record{nullptr, id, name, type, size, data != nullptr ? 1 : 0, data};
  if (qm_call(0, QM_CALL_VARIANTCREATE, &record) == 0) std::abort();
  return record.variant;
}

void insert(std::uint32_t code, qm_variant* holder, qm_variant* child) {
  qm_variant_child record{holder, QM_FIND_LAST, 0, 0, nullptr, child};
  if (qm_call(0, code, &record) == 0) std::abort();
  qm_call(0, QM_CALL_VARIANTRELEASE, child);
}

// Names and values that look like parts of the grammar.
qm_variant* make_tree() {
  const std::int32_t number = 5;
  qm_variant* root = create(QM_TYPE_CONTAINER, 0, QM_W("root"), 0, nullptr);
  for (const qm_wchar* name : {QM_W("a"), QM_W("L"), QM_W("N=x"), QM_W("two words"), QM_W("")}) {
    qm_variant* list = create(QM_TYPE_CONTAINER, 0, name, 7, nullptr);
    insert(QM_CALL_VARIANTINSERTITEM, list, create(QM_TYPE_SIGNED, 4, QM_W("b"), 1, &number));
    insert(QM_CALL_VARIANTINSERTITEM, list, create(QM_TYPE_TEXT, 4, nullptr, 2, "red"));
    insert(QM_CALL_VARIANTINSERTATTRIBUTE, list, create(QM_TYPE_SIGNED, 4, QM_W("c"), 3, &number));
    insert(QM_CALL_VARIANTINSERTATTRIBUTE, root, list);
  }
  return root;
}

void expect(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static qm_variant* const root = (qmsd::attach(), make_tree());
  const std::string path(reinterpret_cast<const char*>(data), size);
  qm_variant_path_a record{root, path.c_str(), nullptr};
  if (qm_call(0, QM_CALL_VARIANTPATHA, &record) != 0) {
    expect(record.result != nullptr);
    expect(qm_call(0, QM_CALL_VARIANTRELEASE, record.result) == 1);
    return 0;
  }
  char message[256];
  qm_get_error_a error{0, message, sizeof message};
  expect(qm_call(0, QM_CALL_GETERRORA, &error) != 0 && record.result == nullptr);
  return 0;
}
