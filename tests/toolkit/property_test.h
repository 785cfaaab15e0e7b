// The property module alone: a copy of its library in a folder of its own, with a file beside it
// that the test writes, and a stand-in for the kernel that keeps the last error.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tests/contract/support/shared_library.h"
#include "tests/contract/support/surroundings.h"
#include "tests/contract/support/text.h"
#include "toolkit/qmproperty/qmproperty.h"

namespace toolkit_test {

using contract::Text;

// What the module reported last on this thread; code 0 when nothing.
struct Reported {
  std::int32_t code = 0;
  std::string message;  // ASCII, everything else as \uXXXX
};
Reported& reported();

std::string content_of(const std::filesystem::path& file);
void set_content(const std::filesystem::path& file, std::string_view content);

class PropertyTest : public testing::Test {
 protected:
  // Loads a module beside a file with this content; without content there is no file.
  void start(std::optional<std::string_view> content);
  // Loads the module anew, as the next process would.
  void start_again();

  std::int32_t call(std::uint32_t function, void* record, std::uint32_t handle = 0) const {
    reported() = {};
    return entry_(handle, function, record);
  }

  // The value at the path, or none with the error in `reported`.
  std::optional<Text> read(const Text& path) const { return text(QM_PROPERTY_READW, path); }
  std::optional<Text> list(const Text& path) const { return text(QM_PROPERTY_LISTW, path); }
  bool write(const Text& path, const Text& value) const;
  bool remove(const Text& path) const;
  bool save() const { return call(QM_PROPERTY_SAVE, nullptr) == 1; }

  std::filesystem::path file() const { return folder_.file("qmproperty.toml"); }
  const contract::ScratchFolder& folder() const { return folder_; }
  const contract::SharedLibrary& library() const { return library_; }

 private:
  std::optional<Text> text(std::uint32_t function, const Text& path) const;

  contract::ScratchFolder folder_;
  std::filesystem::path library_file_;
  contract::SharedLibrary library_;
  qm_call_fn entry_ = nullptr;
};

}  // namespace toolkit_test
