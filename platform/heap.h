// The one door through which the kernel allocates, so that a test can close it.
// Blocks are plain runtime blocks (malloc/free); nothing here is ever freed by the other side.
// Any thread may call anything at any time; a block is freed by whoever owns it, on any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace qmsd::platform {

// Null, with errno ENOMEM, when memory is exhausted. Not noexcept: a test's gate may throw.
// 0 bytes give a block too.
[[nodiscard]] void* heap_allocate(std::size_t bytes);
[[nodiscard]] void* heap_allocate_zeroed(std::size_t bytes);
// The old block stays valid when null is returned. `bytes` is above 0; a null block is allocated.
[[nodiscard]] void* heap_reallocate(void* block, std::size_t bytes);
// Null is allowed. Keeps errno and the thread's last system error.
void heap_free(void* block) noexcept;

struct HeapFree {
  void operator()(void* block) const noexcept { heap_free(block); }
};

// Destroys and frees what heap_new made.
template <class T>
struct HeapDelete {
  void operator()(T* object) const noexcept {
    object->~T();
    heap_free(object);
  }
};

template <class T>
using HeapOwner = std::unique_ptr<T, HeapDelete<T>>;

// An array of plain values, or null.
template <class T>
using HeapArray = std::unique_ptr<T[], HeapFree>;

// Null when memory is exhausted. The values are indeterminate, or all bytes 0.
template <class T>
[[nodiscard]] HeapArray<T> heap_array(std::size_t length) {
  static_assert(std::is_trivially_copyable_v<T>, "no destructor will run");
  return HeapArray<T>(static_cast<T*>(heap_allocate(length * sizeof(T))));
}
template <class T>
[[nodiscard]] HeapArray<T> heap_array_zeroed(std::size_t length) {
  static_assert(std::is_trivially_copyable_v<T>, "no destructor will run");
  return HeapArray<T>(static_cast<T*>(heap_allocate_zeroed(length * sizeof(T))));
}

// Null when memory is exhausted. `T` must not throw while it is made, nor want more alignment than
// the runtime's blocks have.
template <class T, class... Arguments>
[[nodiscard]] HeapOwner<T> heap_new(Arguments&&... arguments) {
  static_assert(alignof(T) <= alignof(std::max_align_t));
  void* memory = heap_allocate(sizeof(T));
  if (memory == nullptr) return nullptr;
  return HeapOwner<T>(::new (memory) T(std::forward<Arguments>(arguments)...));
}

}  // namespace qmsd::platform
