// What a library has to be to be loaded as a module: its exports, its information record, its
// answer to the kernel's notice. The calls here go straight into the library.
#include <array>
#include <cstring>
#include <string>

#include "tests/toolkit/module/module_kit_test.h"

namespace toolkit_test {
namespace {

const char kDescription[] = "Test module: \"kit\", 10 > 9; \u00e9 \U0001F600";
const qm_wchar kWideDescription[] = QM_W("Test module: \"kit\", 10 > 9; \u00e9 \U0001F600");

class ModuleContract : public ModuleKit {
 protected:
  void SetUp() override {
    ModuleKit::SetUp();
    library_ = contract::SharedLibrary(
        folder().file(std::string("kitmodule") + contract::kLibraryExtension));
    entry_ = reinterpret_cast<qm_call_fn>(library_.find("qm_call"));
    ASSERT_NE(entry_, nullptr);
  }
  void TearDown() override {
    library_.unload();
    ModuleKit::TearDown();
  }
  const qm_module_info* exported() const {
    return static_cast<const qm_module_info*>(library_.find("qmmoduleinfo"));
  }
  std::int32_t notify(qm_call_fn kernel_entry, std::uint32_t handle = 0) const {
    qm_kernel_entry record{kernel_entry};
    return entry_(handle, QM_CALL_SETKERNELENTRY, &record);
  }

  contract::SharedLibrary library_;
  qm_call_fn entry_ = nullptr;
};

TEST_F(ModuleContract, InformationRecordSaysWhatTheBuildWasTold) {
  ASSERT_NE(exported(), nullptr);
  qm_info_request request{nullptr};
  EXPECT_EQ(entry_(0, QM_CALL_GETKERNELINFO, &request), 1);
  for (const qm_module_info* info : {exported(), request.info}) {
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->id, QM_MODULE_ID);
    EXPECT_EQ(info->version, 0x010203FFu);
    EXPECT_STREQ(info->description, kDescription);
    EXPECT_EQ(Text(info->description_wide), kWideDescription);
    EXPECT_EQ(info->call(0, QM_CALL_GETKERNELINFO, nullptr), 1) << "a null record is allowed";
  }
  // Five fields and nothing between them, on 32-bit Windows 20 bytes.
  std::array<std::uintptr_t, 3> pointers;
  std::memcpy(pointers.data(), &exported()->description, sizeof pointers);
  EXPECT_EQ(pointers[2], reinterpret_cast<std::uintptr_t>(exported()->call));
}

TEST_F(ModuleContract, VersionInformationAgreesWithTheRecord) {
  const Text file = contract::widen(
      folder().file(std::string("kitmodule") + contract::kLibraryExtension).string());
  qm_version_info_w record{file.c_str(), nullptr};
  ASSERT_EQ(kernel()(QM_CALL_VERSIONINFOW, &record), 1);
  std::string seen;
  for (std::uint32_t i = 0; i < record.props->count; ++i) {
    const qm_version_pair& pair = record.props->pairs[i];
    if (Text(pair.key) == QM_W("FileDescription")) {
      EXPECT_EQ(Text(pair.value), kWideDescription);
      seen += 'd';
    } else if (Text(pair.key) == QM_W("FileVersion")) {
      EXPECT_EQ(Text(pair.value), QM_W("1.2.3.255"));
      seen += 'v';
    }
  }
  EXPECT_EQ(seen, "dv");
  release(record.props);
}

TEST_F(ModuleContract, NoticeWithoutAnEntryIsRefused) {
  EXPECT_EQ(notify(kernel().entry()), 1);
  EXPECT_EQ(entry_(0, QM_CALL_SETKERNELENTRY, nullptr), 0);
  EXPECT_TRUE(has_error(QM_ERROR_ARGUMENT, QM_W("(!ptr)")));
  EXPECT_EQ(notify(nullptr), 0);
  EXPECT_TRUE(has_error(QM_ERROR_ARGUMENT, QM_W("(!entry)"))) << "the kernel is still known";
}

std::int32_t QM_STDCALL other_kernel(std::uint32_t, std::uint32_t, void*) {
  ADD_FAILURE() << "only the kernel may say where the kernel is";
  return 0;
}

TEST_F(ModuleContract, NoticeThroughAHandleIsRefused) {
  EXPECT_EQ(notify(kernel().entry()), 1);
  EXPECT_EQ(notify(&other_kernel, 1), 0);
  EXPECT_TRUE(has_error(QM_ERROR_ARGUMENT, QM_W("(function=1003ffff?,handle=00000001)")));
}

TEST_F(ModuleContract, CallsBeforeTheNoticeFailWithoutAnError) {
  const contract::Error before = kernel().plant_error();
  kit::Number record{kit::kFailure};
  EXPECT_EQ(entry_(0, kit::kThrow, &record), 0);
  EXPECT_EQ(entry_(0, 0x13FFFFFF, &record), 0);
  EXPECT_EQ(entry_(0, QM_CALL_OPENMODULEW, nullptr), 0);
  record.value = kit::kKernelError;
  EXPECT_EQ(entry_(0, kit::kThrow, &record), 0);
  EXPECT_EQ(kernel().error(), before);
}

TEST_F(ModuleContract, CloseNeedsNoRecord) {
  qm_open_module_w record{QM_W("kitmodule"), nullptr, 0};
  ASSERT_EQ(entry_(0, QM_CALL_OPENMODULEW, &record), 1);
  EXPECT_NE(record.handle, 0u);
  EXPECT_EQ(entry_(record.handle, QM_CALL_CLOSEHANDLE, nullptr), 1);
  EXPECT_EQ(entry_(record.handle, QM_CALL_CLOSEHANDLE, nullptr), 0);
}

TEST_F(ModuleContract, ModuleMayDislikeTheKernelAndIsOpenedAllTheSame) {
  const std::uint32_t handle = open(QM_W("kitrefusing"));
  EXPECT_TRUE(has_error(QM_ERROR_BUSY, QM_W("(loaded)"), QM_W("kitrefusing")));
  EXPECT_FALSE(call(handle, 0x13000000));
  EXPECT_TRUE(close(handle));
}

}  // namespace
}  // namespace toolkit_test
