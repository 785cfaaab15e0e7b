#include "toolkit/qmtool/system/files.h"

#include <windows.h>

#include "toolkit/qmtool/system/windows/error_text.h"

namespace qmtool {
namespace {

class Handle {
 public:
  explicit Handle(HANDLE handle) noexcept : handle_(handle) {}
  ~Handle() {
    if (*this) ::CloseHandle(handle_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  explicit operator bool() const noexcept {
    return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE;
  }
  HANDLE get() const noexcept { return handle_; }

 private:
  HANDLE handle_;
};

}  // namespace

MappedFile::MappedFile(const std::filesystem::path& path) {
  const Handle file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                  nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER size{};
  if (!file || !::GetFileSizeEx(file.get(), &size)) {
    problem_ = error_text(::GetLastError());
    return;
  }
  if (size.QuadPart == 0) return;
  const Handle mapping(::CreateFileMappingW(file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
  const void* const start =
      mapping ? ::MapViewOfFile(mapping.get(), FILE_MAP_READ, 0, 0, 0) : nullptr;
  if (start == nullptr) {
    problem_ = error_text(::GetLastError());
    return;
  }
  bytes_ = {static_cast<const char*>(start), static_cast<std::size_t>(size.QuadPart)};
}

MappedFile::~MappedFile() {
  if (!bytes_.empty()) ::UnmapViewOfFile(bytes_.data());
}

}  // namespace qmtool
