// Whole files, read and written by the kernel.
#pragma once

#include <qmsd7.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include <qm/buffer.hpp>

namespace qm {

/// The whole file; an empty one gives an empty Buffer. The name may hold %VARIABLES%, and "/"
/// separates as well as "\".
/// Owner: the result. Errors: errno values, 0x1002 the file ended early, 12. Threads: any.
///
///     qm::write_file(kernel, "example.txt", std::as_bytes(std::span("two words", 9)));
///     const qm::Buffer words = qm::read_file(kernel, "example.txt");
///     check(words.size() == 9 && words.bytes<char>()[4] == 'w');
///     check(qm::try_read_file(kernel, "no/such/file").error().code() == ENOENT);
inline Result<Buffer> try_read_file(Kernel kernel, const Text& name) {
  qm_file record{nullptr, name.c_str(), 0, QM_FILE_NAME_WIDE};
  return kernel.try_call(QM_CALL_READFILE, &record).transform([&](std::int32_t) {
    return Buffer::adopt(kernel, record.data, static_cast<std::size_t>(record.size));
  });
}
inline Buffer read_file(Kernel kernel, const Text& name) {
  return try_read_file(kernel, name).value();
}

/// Writes the whole file, in place of one that is there, and makes missing directories. A write
/// that fails leaves no file.
/// Owner: `contents` stays the caller's. Errors: errno values, 34 more than 2 GB. Threads: any.
///
///     qm::write_file(kernel, "example.txt", std::as_bytes(std::span("one", 3)));
///     check(qm::read_file(kernel, "example.txt").size() == 3);
inline Result<void> try_write_file(Kernel kernel, const Text& name,
                                   std::span<const std::byte> contents) {
  if (contents.size() > std::numeric_limits<std::int32_t>::max()) {
    return Error(QM_ERROR_RANGE, "a file has at most 2 GB");
  }
  static constexpr std::byte kNothing{};  // the call wants an address even for no bytes
  const std::byte* first = contents.empty() ? &kNothing : contents.data();
  qm_file record{const_cast<std::byte*>(first), name.c_str(),
                 static_cast<std::int32_t>(contents.size()), QM_FILE_NAME_WIDE};
  return kernel.try_call(QM_CALL_WRITEFILE, &record).transform([](std::int32_t) {});
}
inline void write_file(Kernel kernel, const Text& name, std::span<const std::byte> contents) {
  try_write_file(kernel, name, contents).value();
}

}  // namespace qm
