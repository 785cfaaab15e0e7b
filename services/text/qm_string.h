// qmString: the kernel's narrow dynamic string.
#pragma once

#include <cstdint>
#include <string_view>

#include "include/qmsd7.h"

namespace qmsd {

// All operations but c_str return false on failure and leave a valid string. The order of the
// virtual functions is part of the class's layout.
template <class Character>
class qmTString {
 public:
  virtual ~qmTString() = default;
  virtual const Character* c_str() const = 0;
  virtual bool assign(const qm_wchar* text) = 0;
  virtual bool assign(const Character* text) = 0;
  virtual bool append(const qm_wchar* text) = 0;
  virtual bool append(const Character* text) = 0;
};

// Invariants: with a buffer, buffer[length] is 0 and length < capacity. Without one the text is
// empty; the capacity is then 0, except after a failed growth, which keeps the wanted capacity.
// Capacity grows to exactly what is needed.
class qmString final : public qmTString<char> {
 public:
  qmString() noexcept = default;
  ~qmString() override;
  qmString(qmString&& from) noexcept;
  qmString& operator=(qmString&& from) noexcept;
  qmString(const qmString&) = delete;
  qmString& operator=(const qmString&) = delete;

  const char* c_str() const override;  // never null
  bool assign(const qm_wchar* text) override;
  bool assign(const char* text) override;
  bool append(const qm_wchar* text) override;
  bool append(const char* text) override;

  // Reallocates the buffer to exactly `bytes`, cutting the text to fit; 0 frees it.
  bool set_capacity(std::uint32_t bytes);
  // Makes room for `characters` and cuts a longer text to that length.
  bool reserve_length(std::uint32_t characters);

  std::int32_t length() const noexcept { return length_; }
  std::int32_t capacity() const noexcept { return capacity_; }

 private:
  // Put the text behind the first `keep` characters; on failure nothing has changed, unless memory
  // is exhausted: then the buffer is gone.
  bool place(std::int32_t keep, std::string_view text);
  bool place(std::int32_t keep, const qm_wchar* text);
  bool make_room(std::uint64_t characters);
  void cut(std::int32_t length) noexcept;

  char* buffer_ = nullptr;
  std::int32_t length_ = 0;    // characters before the terminator
  std::int32_t capacity_ = 0;  // bytes, terminator included
};

}  // namespace qmsd
