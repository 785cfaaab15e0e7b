#include "toolkit/qmtool/properties.h"

#include <algorithm>

#include "toolkit/qmproperty/qmproperty.h"

namespace qmtool {
namespace {

// As much as the kernel itself has room for when it lists a node.
constexpr std::size_t kListingLength = 0x40000;

std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find_first_of("\r\n", at), text.size());
    if (end > at) lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

}  // namespace

qm::Result<std::vector<std::string>> list_property(qm::Kernel kernel, const std::string& path) {
  const qm::Text wide_path = path;
  std::vector<qm_wchar> listing(kListingLength);
  qm_property_text record{wide_path.c_str(), listing.data(), kListingLength};
  return kernel.try_call_at(QM_PROPERTY_HANDLE, QM_PROPERTY_LISTW, &record)
      .transform([&](std::int32_t) {
        listing.back() = 0;
        return lines_of(qm::to_utf8(listing.data()));
      });
}

void write_property(qm::Kernel kernel, const std::string& path, const std::string& value) {
  const qm::Text wide_path = path;
  const qm::Text wide_value = value;
  qm_property_write_w record{wide_path.c_str(), wide_value.c_str()};
  kernel.call_at(QM_PROPERTY_HANDLE, QM_PROPERTY_WRITEW, &record);
  kernel.call_at(QM_PROPERTY_HANDLE, QM_PROPERTY_SAVE);
}

void remove_property(qm::Kernel kernel, const std::string& path) {
  const qm::Text wide_path = path;
  qm_property_remove_w record{wide_path.c_str()};
  kernel.call_at(QM_PROPERTY_HANDLE, QM_PROPERTY_REMOVEW, &record);
  kernel.call_at(QM_PROPERTY_HANDLE, QM_PROPERTY_SAVE);
}

}  // namespace qmtool
