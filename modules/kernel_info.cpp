#include "modules/kernel_info.h"

#include <algorithm>
#include <array>

namespace qmsd {
namespace {

constexpr char kDescription[] = QMSD_DESCRIPTION;

constexpr auto kWideDescription = [] {
  std::array<qm_wchar, sizeof kDescription> wide{};
  std::ranges::transform(kDescription, wide.begin(),
                         [](char ascii) { return static_cast<qm_wchar>(ascii); });
  return wide;
}();

constexpr qm_module_info kKernelInfo = {
    QM_MODULE_ID, QM_KERNEL_VERSION, kDescription, kWideDescription.data(), &qm_call,
};

}  // namespace

bool kernel_info(qm_info_request* record) {
  if (record != nullptr) record->info = &kKernelInfo;
  return true;
}

}  // namespace qmsd
