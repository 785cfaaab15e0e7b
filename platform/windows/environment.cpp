#include "platform/environment.h"

#include <windows.h>

#include <cstring>
#include <string_view>

#include "platform/keep_errors.h"

namespace qmsd::platform {
namespace {

constexpr std::size_t kNameSize = 64;

DWORD fetch(const char* name, wchar_t* buffer, DWORD length) {
  wchar_t wide_name[kNameSize] = L"";
  const std::string_view text(name, ::strnlen(name, kNameSize - 1));
  for (std::size_t i = 0; i < text.size(); ++i) wide_name[i] = static_cast<wchar_t>(text[i]);
  return ::GetEnvironmentVariableW(wide_name, buffer, length);
}

DWORD fetch(const char* name, char* buffer, DWORD length) {
  return ::GetEnvironmentVariableA(name, buffer, length);
}

template <class Char>
Variable read(const char* name, Char* buffer, std::size_t length) {
  const KeepErrors keep;
  buffer[0] = 0;
  // The result is 0 for an empty value as well; only the last error tells them apart.
  ::SetLastError(ERROR_SUCCESS);
  const DWORD written = fetch(name, buffer, static_cast<DWORD>(length));
  if (written == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return Variable::missing;
  if (written < length) return Variable::present;
  buffer[0] = 0;
  return Variable::too_long;
}

}  // namespace

Variable read_variable(const char* name, qm_wchar* buffer, std::size_t length) {
  return read(name, buffer, length);
}

Variable read_variable(const char* name, char* buffer, std::size_t size) {
  return read(name, buffer, size);
}

std::size_t expand_variables(const qm_wchar* text, qm_wchar* buffer, std::size_t length) {
  const KeepErrors keep;
  return ::ExpandEnvironmentStringsW(text, buffer, static_cast<DWORD>(length));
}

}  // namespace qmsd::platform
