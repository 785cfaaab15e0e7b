// References to objects that live in modules.
#include "variant/object_owner.h"

#include <cstddef>
#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {
namespace {

// Which code word does what.
constexpr std::size_t kTakeCode = 0;
constexpr std::size_t kGiveBackCode = 1;

// The object's value travels in place of a record.
void call_owner(const ObjectOwner& owner, std::uint32_t code) {
  void* object = reinterpret_cast<void*>(static_cast<std::uintptr_t>(owner.value));
  if (*owner.module == 0) {
    qm_call(0, code, object);
    return;
  }
  qm_open_module_w opening{owner.module, QM_W("default"), 0};
  if (qm_call(0, QM_CALL_OPENMODULEW, &opening) == 0) return;
  qm_call(opening.handle, code, object);
  qm_handle_ref closing{opening.handle};
  qm_call(0, QM_CALL_CLOSEHANDLE, &closing);
}

}  // namespace

void take_object(const ObjectOwner& owner) { call_owner(owner, owner.codes[kTakeCode]); }

void give_object_back(const ObjectOwner& owner) {
  if (owner.codes.size() > kGiveBackCode) call_owner(owner, owner.codes[kGiveBackCode]);
}

}  // namespace qmsd
