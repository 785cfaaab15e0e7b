// Buffers, slots, files, module handles and the library itself.
#include <fstream>
#include <thread>
#include <vector>

#include "examples/counter/excounter.h"
#include "examples/greeter/exgreeter.h"
#include "tests/toolkit/client/client_test.h"

namespace client_test {
namespace {

// ---- Buffers -----------------------------------------------------------------------------------

using ClientBuffers = ClientTest;

TEST_F(ClientBuffers, AreTrackedBlocksOfTheirSize) {
  for (const std::size_t size : {1u, 4u, 5u, 100000u}) {
    qm::Buffer buffer = qm::Buffer::allocate(kernel(), size);
    EXPECT_EQ(buffer.size(), size);
    EXPECT_EQ(buffer.bytes().size(), size);
    EXPECT_EQ(buffer.bytes<std::uint32_t>().size(), size / 4);
    qm_mem_size record{buffer.get(), 0};
    kernel().call(QM_CALL_MEMSIZE, &record);
    EXPECT_EQ(record.size, static_cast<std::int32_t>((size + 3) / 4 * 4));
  }
  EXPECT_FALSE(qm::Buffer::allocate(kernel(), 0));
}

TEST_F(ClientBuffers, ShowWhereTheyWereAllocatedAndLastResized) {
  qm::Buffer buffer = qm::Buffer::allocate(kernel(), 5);
  const int allocated = __LINE__ - 1;
  std::vector<qm::Block> blocks = qm::live_blocks(kernel());
  ASSERT_EQ(blocks.size(), 1u);
  EXPECT_EQ(blocks[0].address, buffer.get());
  EXPECT_EQ(blocks[0].capacity, 8u);
  EXPECT_TRUE(blocks[0].file.ends_with("resources_test.cpp")) << blocks[0].file;
  EXPECT_EQ(blocks[0].line, allocated);
  buffer.resize(50);
  blocks = qm::live_blocks(kernel());
  EXPECT_EQ(blocks.at(0).line, __LINE__ - 2);
  EXPECT_EQ(kernel().error().code(), 0) << "looking leaves no error behind";
}

TEST_F(ClientBuffers, KeepTheirContentsWhenTheyGrow) {
  qm::Buffer buffer = qm::Buffer::allocate(kernel(), 4);
  buffer.bytes<std::uint32_t>()[0] = 0x12345678;
  buffer.resize(1 << 20);
  EXPECT_EQ(buffer.bytes<std::uint32_t>()[0], 0x12345678u);
  buffer.resize(0);
  EXPECT_FALSE(buffer);
  buffer.resize(8);
  EXPECT_EQ(buffer.size(), 8u);
}

TEST_F(ClientBuffers, StayAsTheyAreWhenMemoryIsOut) {
  qm::Buffer buffer = qm::Buffer::allocate(kernel(), 4);
  void* block = buffer.get();
  spy().refuse(QM_CALL_REALLOCPOS, 2);
  EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, buffer.try_resize(100)));
  EXPECT_TRUE(fails_with(QM_ERROR_NO_MEMORY, qm::Buffer::try_allocate(kernel(), 100)));
  EXPECT_EQ(buffer.get(), block);
  EXPECT_EQ(buffer.size(), 4u);
}

TEST_F(ClientBuffers, OfMoreThanTwoGigabytesAreRefused) {
  const std::size_t size = std::size_t{1} << 31;
  EXPECT_TRUE(fails_with(QM_ERROR_RANGE, qm::Buffer::try_allocate(kernel(), size)));
  EXPECT_EQ(spy().served(QM_CALL_REALLOCPOS), 0);
}

TEST_F(ClientBuffers, AdoptOnlyTrackedBlocks) {
  int local = 0;
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, qm::Buffer::try_adopt(kernel(), &local)));
  EXPECT_FALSE(qm::Buffer::adopt(kernel(), nullptr));
  EXPECT_TRUE(qm::Buffer::adopt(kernel(), allocate(12)).size() == 12);
}

TEST_F(ClientBuffers, ReadTextUpToItsEndOrTheirs) {
  qm::Buffer buffer = qm::Buffer::allocate(kernel(), 3 * sizeof(qm_wchar));
  const auto units = buffer.bytes<qm_wchar>();
  units[0] = 'a';
  units[1] = 'b';
  units[2] = 'c';
  EXPECT_EQ(buffer.wide_text(), QM_W("abc"));
  units[1] = 0;
  EXPECT_EQ(buffer.wide_text(), QM_W("a"));
}

TEST_F(ClientBuffers, AreCheckedAsAWhole) {
  EXPECT_TRUE(qm::try_check_blocks(kernel()).has_value());
  EXPECT_NO_THROW(qm::check_blocks(kernel()));
}

// ---- Slots -------------------------------------------------------------------------------------

using ClientSlots = ClientTest;

TEST_F(ClientSlots, ShareEightBytes) {
  qm::Slot mine = qm::Slot::create(kernel());
  const qm::Slot yours = qm::Slot::join(kernel(), mine.get());
  EXPECT_EQ(mine.data(), yours.data());
  mine.value<double>() = 2.5;
  mine.reset();
  EXPECT_EQ(yours.value<double>(), 2.5);
}

TEST_F(ClientSlots, EndWithTheirLastUse) {
  std::int32_t id = 0;
  {
    const qm::Slot slot = qm::Slot::create(kernel());
    id = slot.get();
    qm::Slot::join(kernel(), id);
    EXPECT_TRUE(qm::Slot::try_join(kernel(), id).has_value());
  }
  EXPECT_TRUE(fails_with(QM_ERROR_NOT_FOUND, qm::Slot::try_join(kernel(), id)));
  EXPECT_TRUE(throws_with(QM_ERROR_NOT_FOUND, [&] { qm::Slot::join(kernel(), id); }));
}

TEST_F(ClientSlots, CountTogetherInManyThreads) {
  const qm::Kernel plain = plain_kernel();
  const qm::Slot slot = qm::Slot::create(plain);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([plain, id = slot.get()] {
      const qm::Slot mine = qm::Slot::join(plain, id);
      for (int n = 0; n < 1000; ++n) mine.atomic<std::uint64_t>().fetch_add(1);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(slot.value<std::uint64_t>(), 4000u);
}

// ---- Files -------------------------------------------------------------------------------------

using ClientFiles = ClientTest;

TEST_F(ClientFiles, AreWrittenAndReadWhole) {
  const std::string contents("one\0two\r\n", 9);
  const qm::Text name = u8"made/on/the/way/\u00E9.bin";
  qm::write_file(kernel(), name, std::as_bytes(std::span(contents)));
  const qm::Buffer read = qm::read_file(kernel(), name);
  EXPECT_EQ(std::string(read.bytes<char>().begin(), read.bytes<char>().end()), contents);
}

TEST_F(ClientFiles, MayBeEmpty) {
  qm::write_file(kernel(), "empty", {});
  EXPECT_FALSE(qm::read_file(kernel(), "empty"));
  EXPECT_TRUE(std::filesystem::exists(folder().file("empty")));
}

TEST_F(ClientFiles, ThatAreMissingFailWithTheSystemsNumber) {
  EXPECT_TRUE(fails_with(ENOENT, qm::try_read_file(kernel(), "missing")));
  EXPECT_TRUE(throws_with(ENOENT, [] { qm::read_file(kernel(), "missing"); }));
  std::filesystem::create_directory(folder().file("folder"));
  EXPECT_FALSE(qm::try_write_file(kernel(), "folder", {}).has_value());
}

// ---- Module handles ----------------------------------------------------------------------------

class ClientModules : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    install_examples();
  }

  static int add(const auto& counter, int step) {
    excounter_add record{step, 0};
    counter.call(EXCOUNTER_ADD, &record);
    return record.value;
  }
};

TEST_F(ClientModules, AnswerThroughTheirHandles) {
  const auto first = qm::ModuleHandle::open(kernel(), "excounter");
  const auto second = qm::ModuleHandle::open(kernel(), u"excounter", u"group");
  EXPECT_EQ(add(first, 5), 5);
  EXPECT_EQ(add(first, 5), 10);
  EXPECT_EQ(add(second, 1), 1);
}

TEST_F(ClientModules, FailWithTheirOwnErrors) {
  const auto counter = qm::ModuleHandle::open(kernel(), "excounter");
  excounter_add record{EXCOUNTER_LIMIT + 1, 0};
  const auto refused = counter.try_call(EXCOUNTER_ADD, &record);
  EXPECT_TRUE(fails_with(EXCOUNTER_ERROR_LIMIT, refused));
  EXPECT_TRUE(throws_with(EXCOUNTER_ERROR_LIMIT, [&] { counter.call(EXCOUNTER_ADD, &record); }));
}

TEST_F(ClientModules, ThatAreMissingSayWhere) {
  const auto missing = qm::ModuleHandle::try_open(kernel(), "no_such_module");
  ASSERT_TRUE(fails_with(QM_ERROR_LOAD, missing));
  EXPECT_NE(missing.error().text().find("no_such_module"), std::string_view::npos);
  EXPECT_TRUE(throws_with(QM_ERROR_LOAD, [] { qm::ModuleHandle::open(kernel(), "no_such"); }));
}

TEST_F(ClientModules, StayOpenWhileAnybodyHoldsThem) {
  auto first = qm::ModuleHandle::open(kernel(), "excounter");
  const auto second = first.share();
  EXPECT_EQ(add(first, 5), 5);
  first.close();
  EXPECT_FALSE(first);
  EXPECT_EQ(add(second, 5), 10);
  EXPECT_EQ(spy().served(QM_CALL_CLOSEHANDLE), 1);
}

TEST_F(ClientModules, ClosedBehindTheirBackAreNoticed) {
  auto handle = qm::ModuleHandle::open(kernel(), "excounter");
  qm_handle_ref record{handle.get()};
  kernel().call(QM_CALL_CLOSEHANDLE, &record);
  EXPECT_TRUE(fails_with(QM_ERROR_NOT_FOUND, handle.try_share()));
  EXPECT_TRUE(fails_with(QM_ERROR_NOT_FOUND, handle.try_close()));
  EXPECT_FALSE(handle);
}

TEST_F(ClientModules, AreCalledDirectlyWhileTheReferenceLives) {
  auto handle = qm::ModuleHandle::open(kernel(), "excounter");
  EXPECT_EQ(add(handle, 1), 1);
  qm::DirectModule direct = handle.resolve();
  handle.close();
  EXPECT_EQ(add(direct, 2), 3);
  excounter_add record{EXCOUNTER_LIMIT, 0};
  EXPECT_TRUE(fails_with(EXCOUNTER_ERROR_LIMIT, direct.try_call(EXCOUNTER_ADD, &record)));
  const qm::DirectModule moved = std::move(direct);
  EXPECT_EQ(add(moved, 1), 4);
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, direct.try_call(EXCOUNTER_ADD, &record)));
  EXPECT_EQ(moved.handle().share().get(), moved.handle().get());
}

TEST_F(ClientModules, HandOutBuffersThatTheHostReleases) {
  const auto greeter = qm::ModuleHandle::open(kernel(), "exgreeter");
  exgreeter_greet_w record{QM_W("Ada"), nullptr};
  greeter.call(EXGREETER_GREETW, &record);
  const qm::Buffer text = qm::Buffer::adopt(kernel(), record.text);
  EXPECT_EQ(text.wide_text(), QM_W("Hello, Ada!"));
}

TEST_F(ClientModules, OpenWithARecordOfTheCallers) {
  qm_open_module_w record{QM_W("excounter"), nullptr, 0};
  const auto handle = qm::ModuleHandle::open(kernel(), record);
  EXPECT_EQ(handle.get(), record.handle);
  EXPECT_EQ(add(handle, 2), 2);
}

TEST_F(ClientModules, TellAboutThemselves) {
  const auto greeter = qm::ModuleHandle::open(kernel(), "exgreeter");
  EXPECT_EQ(greeter.info().id, QM_MODULE_ID);
  EXPECT_EQ(qm::Version{greeter.info().version}, qm::Version::of(1, 0, 0, 0));
  std::string description;
  for (const auto& [key, value] : greeter.version_texts()) {
    if (key == "FileDescription") description = value;
  }
  EXPECT_EQ(description, "Example module: greets");
  EXPECT_TRUE(fails_with(QM_ERROR_ARGUMENT, kernel().try_call_at(greeter.get(), 0x1201FFFF)));
}

TEST_F(ClientModules, AreListedWithVersionsAndTexts) {
  const auto modules = qm::list_modules(kernel(), "ex*er");
  ASSERT_EQ(modules.size(), 2u);
  for (const qm::InstalledModule& module : modules) {
    EXPECT_EQ(module.version.text(), "1.0.0.0");
    EXPECT_GT(qm::version_texts(kernel(), module.path).size(), 3u) << module.path;
  }
  EXPECT_TRUE(qm::list_modules(kernel(), "no_such*").empty());
  EXPECT_FALSE(qm::try_version_texts(kernel(), "no_such_file").has_value());
}

TEST_F(ClientModules, AreReachedByTheirGroupAsWell) {
  const auto unknown = kernel().try_call_at(QM_GROUP_HANDLE(0x12FE), 0x12FE0000);
  EXPECT_FALSE(unknown.has_value());
}

// ---- The library -------------------------------------------------------------------------------

using ClientLibrary = ClientTest;

TEST_F(ClientLibrary, IsLoadedByPathAndUnloadedAtTheEnd) {
  unload_kernel();
  {
    auto library = qm::KernelLibrary::load(contract::kernel_file());
    EXPECT_TRUE(contract::SharedLibrary::is_loaded(contract::kernel_file()));
    qm::KernelLibrary other = std::move(library);
    EXPECT_FALSE(library);
    EXPECT_FALSE(library.kernel());
    const qm::Kernel inside = other;
    EXPECT_EQ(qm::Version{inside.info().version}.packed, QM_KERNEL_VERSION);
    EXPECT_EQ(qm::Variant::create(other, 5).as<int>(), 5);
    qm::KernelLibrary& same = other;
    other = std::move(same);
    EXPECT_TRUE(other);
  }
  EXPECT_FALSE(contract::SharedLibrary::is_loaded(contract::kernel_file()));
}

TEST_F(ClientLibrary, CountsItsLoads) {
  const auto second = qm::KernelLibrary::load(contract::kernel_file());
  EXPECT_EQ(second.kernel(), plain_kernel());
}

TEST_F(ClientLibrary, ThatIsNoneIsRefused) {
  std::ofstream("text.so") << "this is no library";
  const auto missing = qm::KernelLibrary::try_load("no/such/file");
  const auto text = qm::KernelLibrary::try_load(folder().file("text.so"));
  EXPECT_TRUE(fails_with(QM_ERROR_LOAD, missing));
  EXPECT_TRUE(fails_with(QM_ERROR_LOAD, text));
  EXPECT_GT(missing.error().text().size(), std::string_view("'no/such/file': ").size());
  EXPECT_TRUE(throws_with(QM_ERROR_LOAD, [] { qm::KernelLibrary::load("no/such/file"); }));
}

TEST_F(ClientLibrary, WithoutTheEntryIsRefusedAndUnloaded) {
  auto file = contract::module_folder() / "tests" / "modules" / "tm_nothing";
  file += contract::kLibraryExtension;
  EXPECT_TRUE(fails_with(QM_ERROR_NOT_FOUND, qm::KernelLibrary::try_load(file)));
  EXPECT_FALSE(contract::SharedLibrary::is_loaded(file));
}

}  // namespace
}  // namespace client_test
