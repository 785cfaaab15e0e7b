#include "tests/contract/support/file_test.h"

#include <fstream>
#include <sstream>

namespace contract {
namespace {

qm_file poisoned_record(const void* name, std::int32_t kind) {
  auto record = poisoned<qm_file>();
  record.filename = name;
  record.kind = kind;
  return record;
}

qm_file record_of(const void* name, std::int32_t kind, std::string& text) {
  return {text.data(), name, static_cast<std::int32_t>(text.size()), kind};
}

}  // namespace

qm_file FileTest::reading(const char* name, std::int32_t kind) {
  return poisoned_record(name, kind);
}
qm_file FileTest::reading(const qm_wchar* name) { return poisoned_record(name, QM_FILE_NAME_WIDE); }
qm_file FileTest::writing(const char* name, std::string& text) {
  return record_of(name, QM_FILE_NAME_NARROW, text);
}
qm_file FileTest::writing(const qm_wchar* name, std::string& text) {
  return record_of(name, QM_FILE_NAME_WIDE, text);
}

std::string FileTest::read(qm_file record) {
  if (kernel()(QM_CALL_READFILE, &record) != 1) {
    ADD_FAILURE() << kernel().narrow_message();
    return {};
  }
  EXPECT_EQ(record.data == nullptr, record.size == 0);
  if (record.data == nullptr) return {};
  const std::string text(static_cast<const char*>(record.data),
                         static_cast<std::size_t>(record.size));
  release(record.data);
  return text;
}

bool FileTest::write(qm_file record) {
  const qm_file before = record;
  const bool written = kernel()(QM_CALL_WRITEFILE, &record) == 1;
  EXPECT_EQ(std::memcmp(&before, &record, sizeof record), 0) << "the record was written to";
  return written;
}

testing::AssertionResult FileTest::unreadable(qm_file record, const Failure& expected,
                                              std::int32_t size) {
  const auto failed = kernel().fails(QM_CALL_READFILE, &record, expected);
  if (!failed) return failed;
  if (record.data != nullptr) return testing::AssertionFailure() << "there is a block";
  if (record.size != size) return testing::AssertionFailure() << "the size is " << record.size;
  return failed;
}

void FileTest::make_file(const std::filesystem::path& name, const std::string& text) const {
  std::ofstream(folder().path() / name, std::ios::binary) << text;
}

std::string FileTest::contents(const std::filesystem::path& name) const {
  std::ostringstream text;
  text << std::ifstream(folder().path() / name, std::ios::binary).rdbuf();
  return text.str();
}

bool FileTest::exists(const std::filesystem::path& name) const {
  return std::filesystem::exists(folder().path() / name);
}

}  // namespace contract
