#include "tests/toolkit/property_test.h"

#include <fstream>
#include <iterator>
#include <vector>

namespace toolkit_test {

namespace {

std::int32_t QM_STDCALL stand_in_kernel(std::uint32_t handle, std::uint32_t function,
                                        void* params) {
  EXPECT_EQ(handle, 0u);
  EXPECT_EQ(function, static_cast<std::uint32_t>(QM_CALL_SETERRORW));
  const auto* const record = static_cast<const qm_set_error_w*>(params);
  EXPECT_NE(record->flags & QM_SET_ERROR_LITERAL, 0u) << "a path must not be taken for a format";
  reported() = {record->code, record->text == nullptr ? "" : contract::printable(record->text)};
  return 1;
}

}  // namespace

Reported& reported() {
  static thread_local Reported last;
  return last;
}

std::string content_of(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void set_content(const std::filesystem::path& file, std::string_view content) {
  std::ofstream(file, std::ios::binary) << content;
}

void PropertyTest::start(std::optional<std::string_view> content) {
  if (content) set_content(file(), *content);
  if (library_file_.empty()) library_file_ = folder_.install("qmproperty", "qmproperty");
  start_again();
}

void PropertyTest::start_again() {
  library_.unload();
  library_ = contract::SharedLibrary(library_file_);
  entry_ = reinterpret_cast<qm_call_fn>(library_.find("qm_call"));
  qm_kernel_entry record{&stand_in_kernel};
  ASSERT_EQ(call(QM_CALL_SETKERNELENTRY, &record), 1);
}

bool PropertyTest::write(const Text& path, const Text& value) const {
  qm_property_write_w record{path.c_str(), value.c_str()};
  return call(QM_PROPERTY_WRITEW, &record) == 1;
}

bool PropertyTest::remove(const Text& path) const {
  qm_property_remove_w record{path.c_str()};
  return call(QM_PROPERTY_REMOVEW, &record) == 1;
}

std::optional<Text> PropertyTest::text(std::uint32_t function, const Text& path) const {
  std::vector<qm_wchar> buffer(4096, 0xA5A5);
  qm_property_text record{path.c_str(), buffer.data(), static_cast<std::int32_t>(buffer.size())};
  if (call(function, &record) != 1) return std::nullopt;
  return Text(buffer.data());
}

}  // namespace toolkit_test
