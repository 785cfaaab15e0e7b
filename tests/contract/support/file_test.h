// The fixture of tests with whole files: reads and writes them through the kernel, and makes and
// looks at them behind its back.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/contract/support/kernel_test.h"

namespace contract {

class FileTest : public KernelTest {
 protected:
  // Records with names of either kind. In one for reading nothing is right by chance.
  static qm_file reading(const char* name, std::int32_t kind = QM_FILE_NAME_NARROW);
  static qm_file reading(const qm_wchar* name);
  static qm_file writing(const char* name, std::string& text);
  static qm_file writing(const qm_wchar* name, std::string& text);

  // What must be readable.
  std::string read(qm_file record);
  template <class Character>
  std::string read(const Character* name) {
    return read(reading(name));
  }
  // Tells whether it was written; the record stays as it was.
  bool write(qm_file record);
  template <class Character>
  bool write(const Character* name, std::string text) {
    return write(writing(name, text));
  }

  testing::AssertionResult unreadable(qm_file record, const Failure& expected, std::int32_t size);
  template <class Character>
  testing::AssertionResult unwritable(const Character* name, std::string text,
                                      const Failure& expected) {
    qm_file record = writing(name, text);
    return kernel().refuses(QM_CALL_WRITEFILE, record, expected);
  }

  // Names in the test's folder, by the system and not by the kernel.
  void make_file(const std::filesystem::path& name, const std::string& text) const;
  std::string contents(const std::filesystem::path& name) const;
  bool exists(const std::filesystem::path& name) const;
};

}  // namespace contract
