// References, creation, assignment, copies and information.
#include "variant/variant_calls.h"

#include <cstdint>
#include <utility>

#include "kernel/errors/error_state.h"
#include "services/text/strings.h"
#include "variant/creation.h"
#include "variant/deep_copy.h"
#include "variant/release_list.h"
#include "variant/variant.h"
#include "variant/variant_lock.h"

namespace qmsd {
namespace {

struct Facts {
  std::int32_t id = -1;
  std::int32_t type = 0;
  std::int32_t size = 0;
  std::int32_t nitems = 0;
  std::int32_t nattributes = 0;
};

// A null variant is reported by the defaults. The lock is held.
Facts facts_of(qm_variant* variant) {
  if (variant == nullptr) return {};
  return {variant->id(), variant->type(), variant->size(), variant->item_count(),
          variant->attributes().count()};
}

template <class Record>
void report(const Facts& facts, Record& record) {
  record.id = facts.id;
  record.type = facts.type;
  record.size = facts.size;
  record.nitems = facts.nitems;
  record.nattributes = facts.nattributes;
}

enum class Identity { exchange, keep };

// The new value is complete before the target changes; the old one is destroyed outside the lock.
bool assign(qm_variant_create& record, Identity identity) {
  if (record.variant == nullptr) return refuse(QM_W("(variant)"));
  const VariantOwner value = create_variant(record);
  if (!value) return false;
  const VariantsWriteGuard guard;
  record.variant->swap_value(*value);
  if (identity == Identity::exchange) record.variant->swap_identity(*value);
  return true;
}

}  // namespace

bool variant_reference(qm_variant* variant) {
  if (variant == nullptr) return refuse(QM_W("(variant)"));
  const std::int32_t count = variant->add_reference();
  return count > 1 || fail(QM_ERROR_DAMAGED, QM_W("(ref=%i)"), count);
}

bool variant_release(qm_variant* variant) {
  if (variant == nullptr) return refuse(QM_W("(variant)"));
  ReleaseList dead;
  const VariantsReadGuard guard;
  const std::int32_t count = dead.drop(*variant);
  return count >= 1 || refuse(QM_W("(ref=%i)"), count);
}

// The record's old variant is forgotten even if creation fails.
bool variant_create(qm_variant_create& record) {
  record.variant = nullptr;
  record.variant = create_variant(record).release();
  return record.variant != nullptr;
}

bool variant_recreate(qm_variant_create& record) {
  const VariantOwner old(std::exchange(record.variant, nullptr));
  VariantOwner fresh = create_variant(record);
  const VariantsWriteGuard guard;
  record.variant = fresh.release();
  return record.variant != nullptr;
}

bool variant_assign(qm_variant_create& record) { return assign(record, Identity::exchange); }
bool variant_assign_value(qm_variant_create& record) { return assign(record, Identity::keep); }

bool variant_copy(qm_variant_copy& record) {
  record.copy = nullptr;
  if (record.source == nullptr) return true;
  DeepCopy copy;
  bool made;
  {
    const VariantsReadGuard guard;
    made = copy.make(*record.source);
  }
  if (!made) return fail(QM_ERROR_NO_MEMORY);
  record.copy = copy.take();
  return true;
}

bool variant_info(qm_variant_info& record) {
  const VariantsReadGuard guard;
  report(facts_of(record.variant), record);
  return true;
}

bool variant_info_name(qm_variant_info_name& record) {
  const bool has_buffer = record.name != nullptr;
  if (has_buffer ? record.length < 1 : record.length > 0) {
    return refuse(QM_W("(namebuff)"));
  }
  const VariantsReadGuard guard;
  report(facts_of(record.variant), record);
  const qm_wchar* name = record.variant == nullptr ? nullptr : record.variant->name();
  text_result(record.name, record.length, name == nullptr ? QM_W("") : name);
  return true;
}

}  // namespace qmsd
