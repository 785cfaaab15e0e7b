// What the client does when C++ has no memory left for it. The whole program's allocations go
// through here.
#include <cstdlib>
#include <new>

#include "tests/toolkit/client/client_test.h"

namespace {

thread_local bool memory_is_out = false;

}  // namespace

void* operator new(std::size_t size) {
  if (memory_is_out) throw std::bad_alloc();
  if (void* block = std::malloc(size ? size : 1)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace client_test {
namespace {

class OutOfMemory {
 public:
  OutOfMemory() { memory_is_out = true; }
  ~OutOfMemory() { memory_is_out = false; }
};

using ClientWithoutMemory = ClientTest;

TEST_F(ClientWithoutMemory, KeepsTheCodeOfAnError) {
  const qm::Kernel plain = plain_kernel();
  std::int32_t code = 0;
  std::size_t length = 1;
  bool explained = false;
  {
    const OutOfMemory now;
    try {
      plain.call(0x1000ABCD);
    } catch (const qm::Error& error) {
      code = error.code();
      length = error.text().size() + error.wide_text().size();
      explained = std::string_view(error.what()).find("no memory") != std::string_view::npos;
    }
  }
  EXPECT_EQ(code, QM_ERROR_ARGUMENT);
  EXPECT_EQ(length, 0u);
  EXPECT_TRUE(explained);
}

TEST_F(ClientWithoutMemory, ThrowsBadAllocForTextsAndLosesNothing) {
  const qm::Kernel plain = plain_kernel();
  const qm::Variant variant = qm::Variant::create(plain, std::string(1000, 'x'));
  bool threw = false;
  {
    const OutOfMemory now;
    try {
      static_cast<void>(variant.try_as<std::string>());
    } catch (const std::bad_alloc&) {
      threw = true;
    }
  }
  EXPECT_TRUE(threw);
  EXPECT_EQ(variant.as<std::string>().size(), 1000u);
}

TEST_F(ClientWithoutMemory, MovesAndReleasesAllTheSame) {
  qm::Buffer buffer = qm::Buffer::allocate(kernel(), 8);
  qm::Slot slot = qm::Slot::create(plain_kernel());
  {
    const OutOfMemory now;
    qm::Slot moved = std::move(slot);
  }
  buffer.reset();
  EXPECT_FALSE(slot);
}

}  // namespace
}  // namespace client_test
