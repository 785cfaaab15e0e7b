// What conversions answer: how much was written, or that an error was recorded.
#pragma once

#include <cstdint>

#include "kernel/errors/error_state.h"

namespace qmsd {

inline constexpr std::int32_t kConversionFailed = -1;

inline std::int32_t refuse_conversion(const qm_wchar* condition) {
  refuse(condition);
  return kConversionFailed;
}

inline std::int32_t conversion_without_memory() {
  fail(QM_ERROR_NO_MEMORY);
  return kConversionFailed;
}

}  // namespace qmsd
