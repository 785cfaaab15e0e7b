// The group table and its built-in rows.
#include "services/tables/group_table.h"

#include <utility>

#include "kernel/base/process_wide.h"
#include "services/tables/id_text_table.h"
#include "services/text/strings.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

using Groups = SharedTextTable<Ascending, 32>;

constexpr struct {
  std::int32_t id;
  const qm_wchar* module;
} kBuiltInGroups[] = {
    {0x1100, QM_W("qmproperty")}, {0x1101, QM_W("qmlog")},      {0x1102, QM_W("qmstream")},
    {0x1103, QM_W("qmtrafo")},    {0x1104, QM_W("qmimage")},    {0x1105, QM_W("qmbmp")},
    {0x1106, QM_W("qmjpeg")},     {0x1107, QM_W("qmwatchdog")}, {0x1108, QM_W("qmmotdet")},
    {0x1109, QM_W("qmjpeg2k")},   {0x110A, QM_W("qmzlib")},     {0x110B, QM_W("qmpng")},
    {0x110D, QM_W("qmspeed")},    {0x110E, QM_W("qmpropfile")}, {0x110F, QM_W("qmpropclient")},
    {0x1110, QM_W("qmjpeg8")},    {0x1111, QM_W("qmjpeg12")},   {0x1113, QM_W("qmwsq")},
};

ProcessWide<Groups> g_groups;

bool fill(Groups& groups) {
  for (const auto& row : kBuiltInGroups) {
    OwnedText name = copy_text(row.module);
    if (!name || !groups.entries.append(row.id, std::move(name))) return false;
  }
  groups.entries.sort();
  return true;
}

}  // namespace

bool groups_create() {
  platform::HeapOwner<Groups> groups = platform::heap_new<Groups>(LockRank::groups);
  return groups && fill(*groups) && g_groups.publish(std::move(groups));
}

void groups_destroy() { g_groups.destroy(); }

bool groups_set(std::int32_t id, const qm_wchar* text) {
  Groups* groups = g_groups.get();
  if (groups == nullptr) return false;
  const WriteGuard guard(groups->lock);
  IdText* row = groups->entries.find(id);
  if (row == nullptr) {
    if (text == nullptr) return true;
    OwnedText copy = copy_text(text);
    return copy && groups->entries.insert(id, std::move(copy));
  }
  // A row without a module answers nothing, so it goes if there is no memory for its new text.
  const bool replaced = text != nullptr && groups->entries.replace(*row, text);
  if (!replaced) groups->entries.remove(*row);
  return replaced || text == nullptr;
}

bool groups_lookup(std::uint16_t group, qm_wchar (&name)[kGroupNameLength]) {
  name[0] = 0;
  Groups* groups = g_groups.get();
  if (groups == nullptr) return false;
  const ReadGuard guard(groups->lock);
  const IdText* row = groups->entries.find(group);
  if (row == nullptr || row->text == nullptr) return false;
  wcs_copy_bounded(name, kGroupNameLength, row->text);
  return true;
}

bool groups_claim_loading() {
  Groups* groups = g_groups.get();
  return groups != nullptr && groups->claim_loading();
}

}  // namespace qmsd
