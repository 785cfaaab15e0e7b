// Values of the property store, which the property module keeps.
#pragma once

#include <qmsd7.h>

#include <cstdint>
#include <string>

#include <qm/kernel.hpp>

namespace qm {

/// The value at a path such as "/default/groups", in UTF-8. No handle is needed; the kernel loads
/// the property module if need be.
/// Owner: the result is a copy. Errors: the property module's, 2 if there is no such value; 0x1000
/// if there is no property module; std::bad_alloc. Threads: any.
///
///     const auto missing = qm::try_read_property(kernel, "/no/such/value");
///     check(!missing && qm::try_read_property(kernel, "/formal/greeting").has_value());
inline Result<std::string> try_read_property(Kernel kernel, const Text& path) {
  for (WideString value(256, 0);; value.resize(2 * value.size())) {
    qm_property_text record{path.c_str(), value.data(), static_cast<std::int32_t>(value.size())};
    const auto done = kernel.try_call_at(QM_PROPERTY_HANDLE, QM_PROPERTY_READW, &record);
    if (!done) return done.error();
    const WideView text = value.c_str();
    if (text.size() + 1 < value.size()) return to_utf8(text);  // it was not cut
  }
}
inline std::string read_property(Kernel kernel, const Text& path) {
  return try_read_property(kernel, path).value();
}

}  // namespace qm
