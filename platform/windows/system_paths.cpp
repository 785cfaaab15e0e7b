#include "platform/system_paths.h"

#include <windows.h>

#include <algorithm>
#include <string_view>

#include "platform/environment.h"

namespace qmsd::platform {
namespace {

constexpr std::wstring_view kBelowRoot = L"\\system32";
constexpr std::size_t kLongestVariable = 1024;  // terminator included

}  // namespace

void os_system_directory(qm_wchar* buffer, std::size_t length) {
  const UINT written = ::GetSystemDirectoryW(buffer, static_cast<UINT>(length));
  if (written == 0 || written >= length) buffer[0] = 0;
}

bool os_listed_system_directory(qm_wchar* buffer, std::size_t length) {
  qm_wchar root[kLongestVariable];
  buffer[0] = 0;
  if (read_variable("SystemRoot", root, kLongestVariable) != Variable::present) return false;
  const std::wstring_view text = root;
  if (text.size() + kBelowRoot.size() >= length) return false;
  wchar_t* end = std::copy(text.begin(), text.end(), buffer);
  *std::copy(kBelowRoot.begin(), kBelowRoot.end(), end) = 0;
  return true;
}

std::size_t os_executable_name(char* buffer, std::size_t size) noexcept {
  const std::size_t written = ::GetModuleFileNameA(nullptr, buffer, static_cast<DWORD>(size));
  const std::size_t length = std::min(written, size - 1);
  buffer[length] = 0;  // not every system terminates a cut name
  return length;
}

}  // namespace qmsd::platform
