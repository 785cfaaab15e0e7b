#include "platform/version_resource.h"

#include <windows.h>

namespace qmsd::platform {

std::size_t version_resource_size(const qm_wchar* file) {
  DWORD unused = 0;
  return ::GetFileVersionInfoSizeW(file, &unused);
}

bool read_version_resource(const qm_wchar* file, void* block, std::size_t size) {
  return ::GetFileVersionInfoW(file, 0, static_cast<DWORD>(size), block) != FALSE;
}

}  // namespace qmsd::platform
