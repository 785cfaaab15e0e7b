// Gives back what the C++ runtime inside a Windows library keeps after the library is freed: the
// indexes of thread slots, of which a process has only 1088, and the memory set aside for
// exceptions. A library that is loaded over and over would use them up.
//
// The runtime is linked into the library, so its calls of TlsAlloc and TlsFree go through the
// import pointers of the library. These are defined here, which keeps the linker from importing
// the system's functions, and the indexes that are taken can be remembered.
#include <windows.h>

#include <atomic>
#include <cstdint>

// Import pointers are named after the symbols of their functions, which tell the size of the
// arguments on 32-bit systems.
#ifdef _WIN64
#define QM_IMPORT_POINTER(name, arguments) "__imp_" name
#else
#define QM_IMPORT_POINTER(name, arguments) "__imp__" name arguments
#endif

// Parts of the runtime: its entry point, and the release of the memory for exceptions, which is not
// there when nothing in the library can throw.
extern "C" BOOL WINAPI DllMainCRTStartup(HINSTANCE, DWORD, LPVOID);
namespace __gnu_cxx {
[[gnu::weak]] void __freeres();
}

namespace {

constexpr DWORD kIndexes = 1088;
constexpr DWORD kWordBits = 32;

// A bit for each index. No constructor may run for it: the runtime takes its index before.
std::atomic<std::uint32_t> taken[kIndexes / kWordBits];

constexpr std::uint32_t bit_of(DWORD index) { return std::uint32_t{1} << index % kWordBits; }

template <class Function>
Function* system_function(const char* name) {
  const FARPROC found = ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), name);
  return reinterpret_cast<Function*>(reinterpret_cast<void (*)()>(found));
}

DWORD WINAPI take_index() {
  const DWORD index = system_function<decltype(::TlsAlloc)>("TlsAlloc")();
  if (index < kIndexes) taken[index / kWordBits].fetch_or(bit_of(index));
  return index;
}

BOOL WINAPI return_index(DWORD index) {
  // Forgotten before it is free: from then on it may be anybody's.
  if (index < kIndexes) taken[index / kWordBits].fetch_and(~bit_of(index));
  return system_function<decltype(::TlsFree)>("TlsFree")(index);
}

void return_leftovers() {
  if (__gnu_cxx::__freeres != nullptr) __gnu_cxx::__freeres();
  for (DWORD index = 0; index < kIndexes; ++index) {
    if ((taken[index / kWordBits] & bit_of(index)) != 0) return_index(index);
  }
}

}  // namespace

extern "C" {

extern decltype(&take_index) const import_of_tls_alloc asm(QM_IMPORT_POINTER("TlsAlloc", "@0"));
decltype(&take_index) const import_of_tls_alloc = &take_index;
extern decltype(&return_index) const import_of_tls_free asm(QM_IMPORT_POINTER("TlsFree", "@4"));
decltype(&return_index) const import_of_tls_free = &return_index;

// The library's entry point: only what surrounds the runtime's own comes after everything else. A
// process that ends (then the last argument is not null) takes all with it.
BOOL WINAPI qm_library_entry(HINSTANCE library, DWORD reason, LPVOID process_ends) {
  const BOOL done = DllMainCRTStartup(library, reason, process_ends);
  if (reason == DLL_PROCESS_DETACH && process_ends == nullptr) return_leftovers();
  return done;
}
}
