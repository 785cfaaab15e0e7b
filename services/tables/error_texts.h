// The error-text table: the message text of each error code. Codes that it does not know get the
// runtime library's text, which it then keeps.
#pragma once

#include <cstddef>
#include <cstdint>

#include "include/qmsd7.h"

namespace qmsd {

enum class TextFound { no_table, none, empty, text };

bool error_texts_create();
void error_texts_destroy();

// A null text is kept as "no text". False (errno 12) when memory is exhausted.
bool error_texts_set(std::int32_t code, const qm_wchar* text);

// Copies the code's text, cut, into the buffer (an empty text unless the result is `text`).
TextFound error_texts_lookup(std::int32_t code, qm_wchar* buffer, std::size_t length);

// True for the one caller per table life that is to load it from the property store.
bool error_texts_claim_loading();

}  // namespace qmsd
