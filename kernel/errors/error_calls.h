// The function codes of the error state.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

// Both return the error code itself and accept a null record.
std::int32_t get_error_wide(qm_get_error_w* record);
std::int32_t get_error_narrow(qm_get_error_a* record);

// What the two codes answer once the kernel is closed; touches nothing but the record.
std::int32_t closed_error_wide(qm_get_error_w* record) noexcept;
std::int32_t closed_error_narrow(qm_get_error_a* record) noexcept;

bool set_error_wide(const qm_set_error_w& record);
bool set_error_narrow(const qm_set_error_a& record);
bool push_error();
bool pop_error();
bool add_error_texts(const qm_add_error_texts& record);

}  // namespace qmsd
