#include "platform/runtime_text.h"

#include <string.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>

#include "platform/keep_errors.h"
#include "platform/multibyte.h"

namespace qmsd::platform {
namespace {

// The C library has strerror_r in two forms and its headers pick one; this takes either.
[[maybe_unused]] const char* text_of(int, const char* buffer) { return buffer; }
[[maybe_unused]] const char* text_of(const char* text, const char*) { return text; }

iovec piece(const char* text) { return {const_cast<char*>(text), ::strlen(text)}; }

}  // namespace

void runtime_error_text(int code, char* buffer, std::size_t size) noexcept {
  const KeepErrors keep;
  char own[256] = "";
  const char* text = text_of(::strerror_r(code, own, sizeof own), own);
  const std::size_t length = ::strnlen(text, size - 1);
  *std::copy_n(text, length, buffer) = 0;
}

void warm_up_runtime() noexcept {
  char text[64];
  runtime_error_text(0, text, sizeof text);
  const qm_wchar beyond_ascii[] = {0xE9};
  narrow_character(beyond_ascii, 1);
}

void write_debug_line(const char* line) noexcept {
  const KeepErrors keep;
  // In one piece, so that the lines of several threads do not mix.
  const iovec pieces[] = {piece(line), piece("\n")};
  [[maybe_unused]] const ssize_t written = ::writev(STDERR_FILENO, pieces, 2);
}

}  // namespace qmsd::platform
