// The operating system's services on Windows.
#include "toolkit/qmproperty/system.h"

#include <windows.h>

#include <cwchar>
#include <utility>

namespace qmproperty {
namespace {

std::error_code last_error() {
  return {static_cast<int>(::GetLastError()), std::system_category()};
}

class File {
 public:
  explicit File(HANDLE handle) noexcept : handle_(handle) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (*this) ::CloseHandle(handle_);
  }

  explicit operator bool() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE get() const noexcept { return handle_; }
  bool close() noexcept { return ::CloseHandle(std::exchange(handle_, INVALID_HANDLE_VALUE)) != 0; }

 private:
  HANDLE handle_;
};

bool write_all(HANDLE file, std::string_view content) {
  DWORD written = 0;
  return ::WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr) !=
             0 &&
         written == content.size();
}

std::error_code write_new_file(const wchar_t* path, std::string_view content) {
  File file(::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                          nullptr));
  const bool written =
      file && write_all(file.get(), content) && ::FlushFileBuffers(file.get()) != 0 && file.close();
  return written ? std::error_code() : last_error();
}

}  // namespace

std::filesystem::path library_directory() {
  static const char here = 0;
  HMODULE library = nullptr;
  if (!::GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCWSTR>(&here), &library)) {
    return {};
  }
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        ::GetModuleFileNameW(library, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return std::filesystem::path(path).parent_path();
    }
    path.resize(path.size() * 2);
  }
}

std::error_code read_file(const std::filesystem::path& path, std::string& content) {
  const File file(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE,
                                nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return last_error();
  char part[4096];
  for (;;) {
    DWORD count = 0;
    if (!::ReadFile(file.get(), part, sizeof part, &count, nullptr)) return last_error();
    if (count == 0) return {};
    content.append(part, count);
  }
}

std::error_code replace_file(const std::filesystem::path& path, std::string_view content) {
  std::filesystem::path fresh = path;
  fresh += L"." + std::to_wstring(::GetCurrentProcessId()) + L".new";
  std::error_code error = write_new_file(fresh.c_str(), content);
  constexpr DWORD how = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  if (!error && !::MoveFileExW(fresh.c_str(), path.c_str(), how)) error = last_error();
  if (error) ::DeleteFileW(fresh.c_str());
  return error;
}

std::size_t decode_character(std::string_view bytes, char32_t& character) {
  wchar_t wide = 0;
  std::mbstate_t state{};
  const std::size_t taken = std::mbrtowc(&wide, bytes.data(), bytes.size(), &state);
  if (taken == 0 || taken > bytes.size()) return 0;
  character = wide;
  return taken;
}

std::size_t encode_character(char32_t character, char (&bytes)[16]) {
  if (character > 0xFFFF) return 0;  // no locale of this runtime has it
  std::mbstate_t state{};
  const std::size_t made = std::wcrtomb(bytes, static_cast<wchar_t>(character), &state);
  // The runtime puts a look-alike where the locale has no such character: that is no conversion.
  char32_t back = 0;
  const bool same = made <= sizeof bytes && decode_character({bytes, made}, back) == made;
  return same && back == character ? made : 0;
}

}  // namespace qmproperty
