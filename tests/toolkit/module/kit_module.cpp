// The module of these tests, made with the kit.
#include "tests/toolkit/module/kit_module.h"

#include <atomic>
#include <new>
#include <qm/module.hpp>
#include <stdexcept>
#include <system_error>

namespace {

using namespace kit;

std::atomic<std::int32_t> live = 0;
std::atomic<std::int32_t> objects = 0;

void throw_it(std::int32_t kind) {
  switch (kind) {
    case kFailure:
      throw qm::Failure(0x8123, "(speed=7)");
    case kKernelError:
      qm::module_kernel().call(0x1000ABCD);
      break;
    case kOwnError:
      throw qm::Error(77, "gr\u00fc\u00dfe 100%s");
    case kNoMemory:
      throw std::bad_alloc();
    case kInvalidArgument:
      throw std::invalid_argument("caf\u00e9");
    case kOutOfRange:
      throw std::out_of_range("(index)");
    case kSystemError:
      throw std::system_error(17, std::generic_category(), "(file)");
    case kOtherException:
      throw std::runtime_error("%s%n");
    case kNoException:
      throw 5;
  }
}

// Beside another base, so that its address is not the instance's.
class Adder {
 public:
  void add(Sum& record) { record.sum = sum_ += record.step; }
  void reset() noexcept { sum_ = 0; }

 protected:
  std::atomic<std::int32_t> sum_ = 0;
};

class Counted {
 public:
  Counted() { ++live; }
  virtual ~Counted() { --live; }
};

class Instance : public Counted, public Adder {
 public:
  explicit Instance(const qm::Opening& opening) {
    if (opening.group().starts_with(QM_W("throw"))) throw_it(opening.group().back() - QM_W('0'));
    if (opening.group() == QM_W("fields")) {
      sum_ = reinterpret_cast<Open&>(opening.record()).sum;
    }
  }

  void peek(const Sum* record) const {
    if (record != nullptr && record->step != sum_) throw qm::Failure(QM_ERROR_RANGE, "(step)");
  }
  std::int32_t raw(Number& record) { return record.value; }
  qm::Result<void> succeed(const Number& record) {
    if (record.value != 0) return qm::Error(record.value, "as asked for");
    return {};
  }
  void meanwhile(Meanwhile& record) {
    record.call(record);
    record.sum = sum_;
  }
};

void count(Instances& record) { record = {live, objects}; }
void throw_what(Number& record) { throw_it(record.value); }
void retain(std::uint32_t object) { objects += static_cast<std::int32_t>(object); }
void give_up(std::uint32_t object) { objects -= static_cast<std::int32_t>(object); }

constexpr auto kModule = qm::define_module<Instance>(
    {.name = QM_MODULE_NAME, .version = QM_MODULE_VERSION, .description = QM_MODULE_DESCRIPTION},
    {
        {kMeanwhile, qm::handler<&Instance::meanwhile>},
        {kAdd, qm::handler<&Adder::add>},
        {kReset, qm::handler<&Adder::reset>},
        {kPeek, qm::handler<&Instance::peek>},
        {kRaw, qm::handler<&Instance::raw>},
        {kThrow, qm::handler<&throw_what>},
        {kCount, qm::handler<&count>},
        {kRetain, qm::handler<&retain>},
        {kGiveUp, qm::handler<&give_up>},
        {kSucceed, qm::handler<&Instance::succeed>},
    });

}  // namespace

QM_EXPORT_MODULE(kModule);
