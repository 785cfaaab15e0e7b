// Tracked blocks of memory: the only kind that may cross the boundary between a host and a module.
#pragma once

#include <qmsd7.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include <qm/error_state.hpp>
#include <qm/owner.hpp>

namespace qm {

/// A place in the source, which the kernel shows beside a block (see live_blocks()).
/// Owner: of nothing; `file` has to outlive the block. Errors: none. Threads: a plain value.
///
///     const qm::Position here = qm::Position::current();
///     check(here.line > 0);
struct Position {
  const char* file;
  std::int32_t line;

  /// The place of the call, or of the function that has it as a default argument.
  /// Owner: the program, of the name. Errors: none. Threads: any.
  ///
  ///     check(qm::Position::current().line == __LINE__);
  static constexpr Position current(const char* here = __builtin_FILE(),
                                    std::int32_t at = __builtin_LINE()) noexcept {
    return {here, at};
  }
};

namespace detail {

struct BlockPolicy {
  using Raw = void*;
  static constexpr Raw none = nullptr;
  static constexpr std::string_view name = "Buffer";
  static void give_back(Kernel kernel, Raw block) noexcept {
    qm_realloc record{block, 0};
    kernel.call_raw(0, QM_CALL_REALLOC, &record);
  }
};

}  // namespace detail

/// A tracked block. A module may allocate one and a host release it, or the other way round,
/// however different their runtimes are.
/// Owner: of the block, unless release() hands it over. Errors: those of the functions below.
/// Threads: one Buffer is one thread's at a time; any thread may release it.
///
///     qm::Buffer buffer = qm::Buffer::allocate(kernel, 100);
///     buffer.bytes<int>()[24] = 7;
///     check(buffer.size() == 100);
class Buffer : public Owner<detail::BlockPolicy> {
 public:
  Buffer() = default;

  /// A new block; its contents are not defined. Size 0 gives an empty Buffer.
  /// Owner: the result. Errors: 12 out of memory, 34 more than 2 GB. Threads: any.
  ///
  ///     const auto buffer = qm::Buffer::try_allocate(kernel, 5);
  ///     check(buffer && buffer->size() == 5 && buffer->data() != nullptr);
  static Buffer allocate(Kernel kernel, std::size_t size, Position where = Position::current()) {
    return try_allocate(kernel, size, where).value();
  }
  static Result<Buffer> try_allocate(Kernel kernel, std::size_t size,
                                     Position where = Position::current()) {
    Buffer buffer(kernel, nullptr, 0);
    const Result<void> done = buffer.try_resize(size, where);
    if (!done) return done.error();
    return buffer;
  }

  /// Takes over a block that a call handed out: of `size` bytes if that is known, else of what the
  /// kernel says it holds, a multiple of 4. A null block gives an empty Buffer.
  /// Owner: the result, in any case with a size; without one the block stays the caller's after a
  /// failure. Errors: 22 no tracked block, 14 damaged bookkeeping. Threads: any.
  ///
  ///     void* block = qm::Buffer::allocate(kernel, 5).release();
  ///     const qm::Buffer buffer = qm::Buffer::adopt(kernel, block);
  ///     check(buffer.size() == 8);
  static Buffer adopt(Kernel kernel, void* block, std::size_t size) noexcept {
    return Buffer(kernel, block, size);
  }
  static Buffer adopt(Kernel kernel, void* block) { return try_adopt(kernel, block).value(); }
  static Result<Buffer> try_adopt(Kernel kernel, void* block) {
    qm_mem_size record{block, 0};
    if (!block) return Buffer(kernel, nullptr, 0);
    return kernel.try_call(QM_CALL_MEMSIZE, &record).transform([&](std::int32_t) {
      return Buffer(kernel, block, static_cast<std::size_t>(record.size));
    });
  }

  /// Makes the block larger or smaller; it may move. Size 0 gives it back.
  /// Owner: as before; the old address is no longer valid. Errors: as for allocating; the block is
  /// as before then. Threads: one at a time.
  ///
  ///     qm::Buffer buffer = qm::Buffer::allocate(kernel, 5);
  ///     buffer.resize(5000);
  ///     check(buffer.size() == 5000);
  ///     buffer.resize(0);
  ///     check(!buffer);
  void resize(std::size_t bytes, Position where = Position::current()) {
    try_resize(bytes, where).value();
  }
  Result<void> try_resize(std::size_t bytes, Position where = Position::current()) {
    if (bytes > kLargest) return Error(QM_ERROR_RANGE, "a block has at most 2 GB");
    qm_realloc_pos record{get(), static_cast<std::int32_t>(bytes), where.file, where.line};
    if (const auto done = kernel().try_call(QM_CALL_REALLOCPOS, &record); !done) {
      return done.error();
    }
    static_cast<void>(release());  // the call has moved or ended what was there
    *this = Buffer(kernel(), record.pointer, bytes);
    return {};
  }

  /// Size in bytes, and the contents; borrowed until the block is resized or given back.
  /// Owner: this Buffer. Errors: none; an empty Buffer has no bytes. Threads: as Buffer.
  ///
  ///     qm::Buffer buffer = qm::Buffer::allocate(kernel, 12);
  ///     check(buffer.bytes().size() == 12 && buffer.bytes<std::int32_t>().size() == 3);
  std::size_t size() const noexcept { return *this ? size_ : 0; }
  std::byte* data() noexcept { return static_cast<std::byte*>(get()); }
  const std::byte* data() const noexcept { return static_cast<const std::byte*>(get()); }
  template <class T = std::byte>
  std::span<T> bytes() noexcept {
    static_assert(std::is_trivially_copyable_v<T>, "a block holds plain data");
    return {static_cast<T*>(get()), size() / sizeof(T)};
  }
  template <class T = std::byte>
  std::span<const T> bytes() const noexcept {
    static_assert(std::is_trivially_copyable_v<T>, "a block holds plain data");
    return {static_cast<const T*>(get()), size() / sizeof(T)};
  }

  /// The wide text in the block, up to its zero or the block's end; borrowed like bytes().
  /// Owner: this Buffer. Errors: none; an empty Buffer has an empty text. Threads: as Buffer.
  ///
  ///     qm::Buffer buffer = qm::Buffer::allocate(kernel, 8);
  ///     std::ranges::copy(qm::WideView(QM_W("ab\0")), buffer.bytes<qm_wchar>().begin());
  ///     buffer.bytes<qm_wchar>()[2] = 0;
  ///     check(buffer.wide_text() == QM_W("ab"));
  WideView wide_text() const noexcept {
    const auto units = bytes<qm_wchar>();
    return {units.data(), static_cast<std::size_t>(std::ranges::find(units, 0) - units.begin())};
  }

 private:
  static constexpr std::size_t kLargest = std::numeric_limits<std::int32_t>::max();

  Buffer(Kernel of, void* block, std::size_t size) noexcept : Owner(of, block), size_(size) {}

  std::size_t size_ = 0;  // means nothing in an empty Buffer
};

/// A live block as the kernel describes it, whoever owns it.
/// Owner: of a copy of `file`; the block may end at any time. Errors: none. Threads: a plain value.
///
///     const qm::Buffer buffer = qm::Buffer::allocate(kernel, 5);
///     const qm::Block block = qm::live_blocks(kernel).at(0);
///     check(block.address == buffer.get() && block.capacity == 8 && block.line > 0);
struct Block {
  const void* address;
  std::size_t capacity;  // in bytes
  std::string file;      // where it was allocated or last resized, if that was told
  std::int32_t line;
};

/// Every live tracked block of the process. What is left at the end was forgotten by somebody; only
/// the version texts of loaded modules are the kernel's own. The thread's error state stays as it
/// is.
/// Owner: the result is a copy. Errors: those of any call. Threads: any; others may allocate
/// meanwhile.
///
///     check(qm::live_blocks(kernel).empty());
inline Result<std::vector<Block>> try_live_blocks(Kernel kernel) {
  const ErrorStateGuard guard(kernel);
  std::vector<Block> blocks;
  char file[512];
  qm_mem_info info{};
  info.file = file;
  info.file_size = sizeof file;
  for (;; ++info.index) {
    if (const auto told = kernel.try_call(QM_CALL_MEMINFO, &info); !told) {
      if (told.error().code() == QM_ERROR_RANGE) return blocks;  // behind the last one
      return told.error();
    }
    if (!info.pointer) continue;
    blocks.push_back({info.pointer, static_cast<std::size_t>(info.capacity), file, info.line});
  }
}
inline std::vector<Block> live_blocks(Kernel kernel) { return try_live_blocks(kernel).value(); }

/// Looks at every tracked block of the process.
/// Owner: of nothing. Errors: 14 with the place of the first damaged one. Threads: any.
///
///     check(qm::try_check_blocks(kernel).has_value());
inline Result<void> try_check_blocks(Kernel kernel) {
  return kernel.try_call(QM_CALL_MEMCHECK).transform([](std::int32_t) {});
}
inline void check_blocks(Kernel kernel) { try_check_blocks(kernel).value(); }

}  // namespace qm
