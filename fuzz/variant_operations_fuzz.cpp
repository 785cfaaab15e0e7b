// Any sequence of variant operations on a few variants: nothing crashes or leaks, and counts stay
// sound. Each operation is three bytes: what, on which, with which.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "include/qmsd7.h"
#include "kernel/entry/lifecycle.h"

namespace {

constexpr std::size_t kVariants = 6;

struct Operation {
  std::uint8_t what;
  std::uint8_t first;
  std::uint8_t second;
};

// Holds one reference on each of its variants. A variant goes only into a container with a higher
// place, so that none comes to hold itself and everything ends.
class Play {
 public:
  ~Play() {
    for (qm_variant* variant : variants_) release(variant);
  }

  void run(const Operation& operation) {
    const std::size_t low = operation.first % kVariants;
    const std::size_t high = operation.second % kVariants;
    switch (operation.what % 8) {
      case 0:
        return recreate(low, operation.second);
      case 1:
        return insert(QM_CALL_VARIANTINSERTITEM, low, high, operation.what);
      case 2:
        return insert(QM_CALL_VARIANTINSERTATTRIBUTE, low, high, operation.what);
      case 3:
        return drop(QM_CALL_VARIANTDELETEITEM, high, operation.what);
      case 4:
        return drop(QM_CALL_VARIANTDELETEATTRIBUTE, high, operation.what);
      case 5:
        return copy(low);
      case 6:
        return assign(low, operation.second);
      default:
        return convert(low, operation.second);
    }
  }

 private:
  static void release(qm_variant* variant) {
    if (variant != nullptr) qm_call(0, QM_CALL_VARIANTRELEASE, variant);
  }

  static qm_variant_create request(qm_variant* variant, std::uint8_t kind) {
    static constexpr std::int32_t kTypes[] = {0,   1,   2,   3,   4,   65,   67,
                                              128, 129, 130, 131, 132, 4226, 8322};
    static const char kText[] = "2024-02-29 13:05";
    static const qm_object_data kObject{1, QM_W(""), {QM_CALL_NOP, QM_CALL_NOP, 0, 0}};
    const std::int32_t type = kTypes[kind % std::size(kTypes)];
    const bool has_data = type != QM_TYPE_EMPTY && type != QM_TYPE_CONTAINER;
    const void* data = type == QM_TYPE_OBJECT ? static_cast<const void*>(&kObject) : kText;
    const std::int32_t size = type == QM_TYPE_OBJECT ? 4 : 8;
    return {variant,
            kind,
            QM_W("name"),
            type,
            has_data ? size : 0,
            has_data ? 1 : 0,
            has_data ? data : nullptr};
  }

  void recreate(std::size_t at, std::uint8_t kind) {
    qm_variant_create record = request(variants_[at], kind);
    qm_call(0, QM_CALL_VARIANTRECREATE, &record);
    variants_[at] = record.variant;
  }
  void assign(std::size_t at, std::uint8_t kind) {
    qm_variant_create record = request(variants_[at], kind);
    qm_call(0, QM_CALL_VARIANTASSIGN, &record);
  }
  void insert(std::uint32_t code, std::size_t child, std::size_t holder, std::uint8_t flags) {
    if (child >= holder) return;
    qm_variant_child record{
        variants_[holder], std::uint32_t{flags} << 4 | QM_FIND_INDEX, 0, 0, QM_W("name"),
        variants_[child]};
    qm_call(0, code, &record);
  }
  void drop(std::uint32_t code, std::size_t holder, std::uint8_t flags) {
    qm_variant_child record{variants_[holder], flags, flags, flags / 16, QM_W("name"), nullptr};
    qm_call(0, code, &record);
  }
  void copy(std::size_t at) {
    qm_variant_copy record{variants_[at], nullptr};
    qm_call(0, QM_CALL_VARIANTCOPY, &record);
    release(record.copy);
  }
  void convert(std::size_t at, std::uint8_t kind) {
    char target[16];
    qm_variant_convert record{variants_[at], 0, request(nullptr, kind).type, 8, kind % 3, target,
                              sizeof target};
    qm_call(0, QM_CALL_VARIANTCONVERT, &record);
  }

  std::array<qm_variant*, kVariants> variants_{};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool attached = (qmsd::attach(), true);
  static_cast<void>(attached);
  Play play;
  for (; size >= sizeof(Operation); data += sizeof(Operation), size -= sizeof(Operation)) {
    Operation operation;
    std::memcpy(&operation, data, sizeof operation);
    play.run(operation);
  }
  return 0;
}
