// Memory that runs out in the middle of a call, as a result and as an exception: no call lets an
// exception out or leaves a lock behind, and each works again afterwards.
#include "tests/support/allocation_failures.h"
#include "tests/unit/modules/module_test.h"

namespace qmsd {
namespace {

std::int32_t kernel(std::uint32_t code, void* record) { return qm_call(0, code, record); }

void release(qm_variant* variant) { kernel(QM_CALL_VARIANTRELEASE, variant); }

// What every call may use.
struct World {
  std::uint32_t handle;
  qm_variant* container;  // an item "a" with an integer, and an attribute of that name
};

// Each makes its call, gives back what it got, and returns the call's result. Calls that hand out
// tracked blocks are not among them: a block list that met exhausted memory counts as damaged.
struct Case {
  const char* name;
  std::int32_t (*run)(const World& world);
};

std::int32_t open_wide(const World&) {
  qm_open_module_w record{QM_W("tm_plain"), QM_W("own"), 0};
  const std::int32_t result = kernel(QM_CALL_OPENMODULEW, &record);
  if (result != 0) kernel(QM_CALL_CLOSEHANDLE, &record.handle);
  return result;
}
std::int32_t open_narrow(const World&) {
  qm_open_module_a record{"tm_plain", "own", 0};
  const std::int32_t result = kernel(QM_CALL_OPENMODULEA, &record);
  if (result != 0) kernel(QM_CALL_CLOSEHANDLE, &record.handle);
  return result;
}
std::int32_t through_a_handle(const World& world) {
  return qm_call(world.handle, 0x12340001, nullptr);
}
std::int32_t version_of_a_module(const World& world) {
  qm_module_version record{};
  return qm_call(world.handle, QM_CALL_MODULEVERSIONINFO, &record);
}
std::int32_t reference_and_back(const World& world) {
  qm_handle_ref record{world.handle};
  const std::int32_t result = kernel(QM_CALL_REFHANDLE, &record);
  if (result != 0) kernel(QM_CALL_UNREFHANDLE, &record);
  return result;
}
std::int32_t resolve(const World& world) {
  qm_resolve_handle record{world.handle, 0, nullptr, nullptr};
  const std::int32_t result = kernel(QM_CALL_RESOLVEHANDLE, &record);
  qm_handle_ref back{world.handle};
  if (result != 0) kernel(QM_CALL_CLOSEHANDLE, &back);
  return result;
}
std::int32_t error_texts(const World&) {
  const qm_error_text pair{0x4001, QM_W("text")};
  qm_add_error_texts record{1, &pair};
  return kernel(QM_CALL_ADDERRORTEXTS, &record);
}
std::int32_t push_error(const World&) {
  const std::int32_t result = kernel(QM_CALL_PUSHERROR, nullptr);
  if (result != 0) kernel(QM_CALL_POPERROR, nullptr);
  return result;
}
std::int32_t slot(const World&) {
  qm_slot record{};
  const std::int32_t result = kernel(QM_CALL_SLOTCREATE, &record);
  if (result != 0) kernel(QM_CALL_SLOTRELEASE, &record);
  return result;
}
std::int32_t write_file(const World&) {
  char byte = 'x';
  qm_file record{&byte, "new/deep/file", 1, QM_FILE_NAME_NARROW};
  return kernel(QM_CALL_WRITEFILE, &record);
}
std::int32_t create_variant(const World&) {
  qm_variant_create record{nullptr, 0, QM_W("name"), QM_TYPE_TEXT, 10, 1, "some text"};
  const std::int32_t result = kernel(QM_CALL_VARIANTCREATE, &record);
  if (result != 0) release(record.variant);
  return result;
}
std::int32_t copy_variant(const World& world) {
  qm_variant_copy record{world.container, nullptr};
  const std::int32_t result = kernel(QM_CALL_VARIANTCOPY, &record);
  if (result != 0) release(record.copy);
  return result;
}
std::int32_t insert_item(const World& world) {
  qm_variant_create made{nullptr, 0, QM_W("b"), QM_TYPE_EMPTY, 0, 0, nullptr};
  if (kernel(QM_CALL_VARIANTCREATE, &made) == 0) return 0;
  qm_variant_child record{world.container, QM_FIND_LAST, 0, 0, nullptr, made.variant};
  const std::int32_t result = kernel(QM_CALL_VARIANTINSERTITEM, &record);
  release(made.variant);
  qm_variant_child gone{world.container, QM_FIND_LAST, 0, 0, nullptr, nullptr};
  if (result != 0) kernel(QM_CALL_VARIANTDELETEITEM, &gone);
  return result;
}
std::int32_t path_wide(const World& world) {
  qm_variant_path_w record{world.container, QM_W("L,N=a"), nullptr};
  const std::int32_t result = kernel(QM_CALL_VARIANTPATHW, &record);
  if (result != 0) release(record.result);
  return result;
}
std::int32_t path_narrow(const World& world) {
  qm_variant_path_a record{world.container, "L,N=a", nullptr};
  const std::int32_t result = kernel(QM_CALL_VARIANTPATHA, &record);
  if (result != 0) release(record.result);
  return result;
}

constexpr Case kCases[] = {
    {"OpenWide", open_wide},
    {"OpenNarrow", open_narrow},
    {"ThroughAHandle", through_a_handle},
    {"VersionOfAModule", version_of_a_module},
    {"Reference", reference_and_back},
    {"Resolve", resolve},
    {"ErrorTexts", error_texts},
    {"PushError", push_error},
    {"Slot", slot},
    {"WriteFile", write_file},
    {"CreateVariant", create_variant},
    {"CopyVariant", copy_variant},
    {"InsertItem", insert_item},
    {"PathWide", path_wide},
    {"PathNarrow", path_narrow},
};

class Firewall : public ModuleTest, public testing::WithParamInterface<Case> {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    install("tm_plain");
    start();
    world_.handle = open("tm_plain");
    qm_variant_create container{nullptr, 0, nullptr, QM_TYPE_CONTAINER, 0, 0, nullptr};
    EXPECT_EQ(kernel(QM_CALL_VARIANTCREATE, &container), 1);
    world_.container = container.variant;
    const std::int32_t number = 7;
    qm_variant_create item{nullptr, 0, QM_W("a"), QM_TYPE_SIGNED, 4, 1, &number};
    EXPECT_EQ(kernel(QM_CALL_VARIANTCREATE, &item), 1);
    qm_variant_child place{world_.container, QM_FIND_LAST, 0, 0, nullptr, item.variant};
    EXPECT_EQ(kernel(QM_CALL_VARIANTINSERTITEM, &place), 1);
    release(item.variant);
    // The message buffer and the code's text are there before memory runs out.
    set_thread_error(QM_ERROR_NO_MEMORY);
  }
  void TearDown() override {
    release(world_.container);
    ModuleTest::TearDown();
  }
  // With the N-th allocation failing, for each N. Returns how many failed.
  int run_short_of_memory(test::Shortage shortage) const {
    for (int n = 1;; ++n) {
      SCOPED_TRACE(n);
      set_thread_error(0x4321);
      std::int32_t result = -1;
      const bool refused =
          test::with_allocation_failing(n, shortage, [&] { result = GetParam().run(world_); });
      if (result == 0) {
        EXPECT_TRUE(refused);
        EXPECT_EQ(test::thread_error().code, QM_ERROR_NO_MEMORY);
      } else {
        EXPECT_EQ(result, 1);
      }
      EXPECT_EQ(GetParam().run(world_), 1) << "does not work any more: " << error_message();
      if (!refused || n > 1000) return n - 1;
    }
  }

  World world_{};
};

TEST_P(Firewall, ReportsExhaustedMemory) {
  run_short_of_memory(test::Shortage::once);
  run_short_of_memory(test::Shortage::from_then_on);
}

TEST_P(Firewall, LetsNoExceptionOut) { run_short_of_memory(test::Shortage::throws); }

INSTANTIATE_TEST_SUITE_P(Calls, Firewall, testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

// A block's allocation swallows the exception and keeps the error that led there.
class BlocksBehindTheFirewall : public ModuleTest {};

TEST_F(BlocksBehindTheFirewall, LeaveTheErrorAloneWhenTheAllocatorThrows) {
  start();
  set_thread_error(0x4321);
  test::with_allocation_failing(1, test::Shortage::throws, [] {
    qm_realloc record{nullptr, 100};
    EXPECT_EQ(kernel(QM_CALL_REALLOC, &record), 0);
    EXPECT_EQ(record.pointer, nullptr);
  });
  EXPECT_EQ(test::thread_error().code, 0x4321);
}

}  // namespace
}  // namespace qmsd
