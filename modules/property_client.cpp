// Calls of the property module.
#include "modules/property_client.h"

#include <algorithm>
#include <cstdint>

namespace qmsd {
namespace {

// The store may write nothing, or no terminator.
bool ask(std::uint32_t code, const qm_wchar* path, std::span<qm_wchar> text) {
  std::ranges::fill(text, qm_wchar{0});
  qm_property_text request{path, text.data(), static_cast<std::int32_t>(text.size())};
  const bool answered = qm_call(QM_PROPERTY_HANDLE, code, &request) != 0;
  text.back() = 0;
  return answered;
}

}  // namespace

bool property_read(const qm_wchar* path, std::span<qm_wchar> value) {
  return ask(QM_PROPERTY_READW, path, value);
}

bool property_list(const qm_wchar* node, std::span<qm_wchar> names) {
  return ask(QM_PROPERTY_LISTW, node, names);
}

}  // namespace qmsd
