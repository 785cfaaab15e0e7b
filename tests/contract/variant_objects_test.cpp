// References to objects that live in modules: when the owner hears of them, and what it may do
// then.
#include <atomic>
#include <thread>

#include "tests/contract/support/variant_test.h"

#ifndef _WIN32
#include <sys/mman.h>
#endif

namespace contract {
namespace {

// A number at an address of 32 bits.
#ifdef _WIN32
class LowNumber {
 public:
  tm_number& get() const { return number_; }

 private:
  static inline tm_number number_{};
};
#else
class LowNumber {
 public:
  LowNumber()
      : memory_(::mmap(nullptr, sizeof(tm_number), PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0)) {}
  ~LowNumber() { ::munmap(memory_, sizeof(tm_number)); }
  LowNumber(const LowNumber&) = delete;
  LowNumber& operator=(const LowNumber&) = delete;

  tm_number& get() const { return *static_cast<tm_number*>(memory_); }

 private:
  void* memory_;
};
#endif

class VariantObjects : public VariantTest {
 protected:
  static constexpr std::uint32_t kValue = 0xABCD1234;

  static std::string call(std::uint32_t code) {
    char line[64];
    std::snprintf(line, sizeof line, "tm_plain call %08x", static_cast<unsigned>(code));
    return line;
  }
  int calls(std::uint32_t code) const { return static_cast<int>(journal(call(code)).size()); }

  qm_variant_create request(qm_variant* variant, const qm_object_data& data) {
    return {variant, 0, QM_W("object"), QM_TYPE_OBJECT, 4, 1, &data};
  }
  qm_object_data data_{kValue, QM_W("tm_plain"), {kTake, kGiveBack, kThird, kFourth}};
};

TEST_F(VariantObjects, AreTakenAtCreationAndGivenBackAtTheEnd) {
  install("tm_plain");
  qm_variant* variant = object(kValue, QM_W("tm_plain"));
  EXPECT_EQ(calls(kTake), 1);
  EXPECT_EQ(calls(kGiveBack), 0);
  EXPECT_EQ(journal("tm_plain open"), Lines{"tm_plain open name=tm_plain group=default"});
  EXPECT_EQ(journal("tm_plain close").size(), 1u);
  EXPECT_EQ(kernel().live_handles(), 0);
  give_back(variant);
  EXPECT_EQ(calls(kTake), 1);
  EXPECT_EQ(calls(kGiveBack), 1);
  EXPECT_EQ(calls(kThird) + calls(kFourth), 0);
}

TEST_F(VariantObjects, AreDescribedAsStored) {
  qm_variant* variant = make(QM_TYPE_OBJECT, 4, 1, &data_, 8);
  const qm_variant_info found = info(variant);
  EXPECT_EQ(found.id, 8);
  EXPECT_EQ(found.type, QM_TYPE_OBJECT);
  EXPECT_EQ(found.size, 4);
  EXPECT_EQ(found.nitems, 1);
}

TEST_F(VariantObjects, ReadAsValueAndModuleName) {
  qm_variant* variant = object(kValue, QM_W("no_such_module"));
  struct Described {
    std::uint32_t value;
    const qm_wchar* module;
  };
  constexpr std::int32_t kSize = sizeof(Described);
  auto described = poisoned<Described>();
  qm_variant_convert record{variant, 0, QM_TYPE_OBJECT, 1, 1, &described, kSize};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
  EXPECT_EQ(record.size, kSize);
  EXPECT_EQ(described.value, kValue);
  EXPECT_EQ(Text(described.module), QM_W("no_such_module"));
  EXPECT_EQ(references(variant), 1);

  record = {variant, 55, QM_TYPE_OBJECT, kSize, 1, &described, kSize - 1};
  EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTCONVERT, record, failure(22, "(tgtlen)")));
}

TEST_F(VariantObjects, AreCreatedEvenIfTheOwnerCannotBeOpened) {
  const Failure expected = cannot_load("tm_absent");
  const qm_object_data data{1, QM_W("tm_absent"), {kTake, kGiveBack, 0, 0}};
  qm_variant_create record = request(nullptr, data);
  kernel().plant_error();
  ASSERT_EQ(kernel()(QM_CALL_VARIANTCREATE, &record), 1);
  EXPECT_TRUE(kernel().has_error(expected));
  kernel().plant_error();
  EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, record.variant), 1);
  EXPECT_TRUE(kernel().has_error(expected));
}

TEST_F(VariantObjects, AreCreatedEvenIfTheOwnerRefuses) {
  install("tm_plain");
  configure("tm_plain.call_result=0");
  qm_variant* variant = object(kValue, QM_W("tm_plain"));
  EXPECT_EQ(info(variant).type, QM_TYPE_OBJECT);
  give_back(variant);
  EXPECT_EQ(calls(kTake), 1);
  EXPECT_EQ(calls(kGiveBack), 1);
}

TEST_F(VariantObjects, OfAnEmptyNameBelongToTheKernel) {
  // The kernel answers the two codes itself: pushing the error saves it, popping brings it back.
  const qm_object_data data{0, QM_W(""), {QM_CALL_PUSHERROR, QM_CALL_POPERROR, 0, 0}};
  qm_variant_create record = request(nullptr, data);
  const Error planted = kernel().plant_error();
  ASSERT_EQ(kernel()(QM_CALL_VARIANTCREATE, &record), 1);
  EXPECT_EQ(kernel()(QM_CALL_SETERRORW), 0);
  EXPECT_TRUE(kernel().has_error(failure(22, "(!ptr)")));
  EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, record.variant), 1);
  EXPECT_EQ(kernel().error(), planted);

  const qm_object_data nop{0, QM_W(""), {QM_CALL_NOP, QM_CALL_NOP, 0, 0}};
  record = request(nullptr, nop);
  ASSERT_EQ(kernel()(QM_CALL_VARIANTCREATE, &record), 1);
  EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, record.variant), 1);
}

TEST_F(VariantObjects, AreGivenTheirValueInPlaceOfARecord) {
  install("tm_plain");
  // The module takes what it is given for its record: a number to record as an error.
  const LowNumber low;
  tm_number& number = low.get();
  number.number = 4711;
  const auto value = reinterpret_cast<std::uintptr_t>(&number);
  ASSERT_LE(value, UINT32_MAX);
  const qm_object_data data{
      static_cast<std::uint32_t>(value), QM_W("tm_plain"), {TM_FAIL, TM_FAIL, 0, 0}};
  qm_variant_create record = request(nullptr, data);
  kernel().plant_error();
  ASSERT_EQ(kernel()(QM_CALL_VARIANTCREATE, &record), 1);
  EXPECT_EQ(kernel().error().code, 4711);
  number.number = 4712;
  EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, record.variant), 1);
  EXPECT_EQ(kernel().error().code, 4712);
}

TEST_F(VariantObjects, AreTakenForEachCopy) {
  install("tm_plain");
  qm_variant* holder = container();
  qm_variant* variant = object(kValue, QM_W("tm_plain"));
  append_item(holder, variant);
  append_item(holder, variant);
  append_attribute(holder, object(kValue, QM_W("tm_plain")));
  EXPECT_EQ(calls(kTake), 2);
  qm_variant_copy record{holder, nullptr};
  ASSERT_EQ(kernel()(QM_CALL_VARIANTCOPY, &record), 1);
  EXPECT_EQ(calls(kTake), 4) << "one for each object, not for each place";
  EXPECT_EQ(calls(kGiveBack), 0);
  EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, record.copy), 1);
  EXPECT_EQ(calls(kGiveBack), 2);
}

TEST_F(VariantObjects, AreGivenBackHoweverTheyGo) {
  install("tm_plain");
  int expected = 0;
  const auto holding = [this](auto append) {
    qm_variant* holder = container();
    qm_variant* child = object(kValue, QM_W("tm_plain"));
    append(holder, child);
    give_back(child);
    return holder;
  };
  qm_variant* of_item = holding([this](auto* h, auto* c) { append_item(h, c); });
  qm_variant_child child{of_item, 0, 0, 0, nullptr, nullptr};
  EXPECT_EQ(kernel()(QM_CALL_VARIANTDELETEITEM, &child), 1);
  EXPECT_EQ(calls(kGiveBack), ++expected);

  qm_variant* of_attribute = holding([this](auto* h, auto* c) { append_attribute(h, c); });
  child = {of_attribute, 0, 0, 0, nullptr, nullptr};
  EXPECT_EQ(kernel()(QM_CALL_VARIANTDELETEATTRIBUTE, &child), 1);
  EXPECT_EQ(calls(kGiveBack), ++expected);

  for (const std::uint32_t code : {QM_CALL_VARIANTASSIGN, QM_CALL_VARIANTASSIGNDIRECT,
                                   QM_CALL_VARIANTASSIGNVALUE, QM_CALL_VARIANTASSIGNVALUEDIRECT}) {
    qm_variant_create to_empty{
        object(kValue, QM_W("tm_plain")), 0, nullptr, QM_TYPE_EMPTY, 0, 0, nullptr};
    EXPECT_EQ(kernel()(code, &to_empty), 1);
    EXPECT_EQ(calls(kGiveBack), ++expected);
    qm_variant_create to_object = request(to_empty.variant, data_);
    EXPECT_EQ(kernel()(code, &to_object), 1);
    EXPECT_EQ(calls(kGiveBack), expected);
    give_back(to_empty.variant);
    EXPECT_EQ(calls(kGiveBack), ++expected);
  }
  for (const std::uint32_t code : {QM_CALL_VARIANTRECREATE, QM_CALL_VARIANTRECREATEDIRECT}) {
    qm_variant_create record = request(nullptr, data_);
    ASSERT_EQ(kernel()(QM_CALL_VARIANTCREATE, &record), 1);
    EXPECT_EQ(kernel()(code, &record), 1);
    EXPECT_EQ(calls(kGiveBack), ++expected);
    EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, record.variant), 1);
    EXPECT_EQ(calls(kGiveBack), ++expected);
  }
  give_back(holding([this](auto* h, auto* c) { append_item(h, c); }));
  EXPECT_EQ(calls(kGiveBack), ++expected);
  EXPECT_EQ(calls(kTake), expected);
}

TEST_F(VariantObjects, KeepTheirOwnCopyOfNameAndCodes) {
  install("tm_plain");
  Text name = QM_W("tm_plain");
  struct {
    std::uint32_t value;
    const qm_wchar* module;
    std::uint32_t codes[6];
  } data{kValue, name.c_str(), {kTake, kGiveBack, kThird, kFourth, 5, 6}};
  qm_variant* variant = make(QM_TYPE_OBJECT, 6, 1, &data);
  EXPECT_EQ(info(variant).size, 6);
  name.assign(name.size(), QM_W('#'));
  for (std::uint32_t& code : data.codes) code = 0;
  give_back(variant);
  EXPECT_EQ(calls(kTake), 1);
  EXPECT_EQ(calls(kGiveBack), 1);
}

TEST_F(VariantObjects, MayBelongToModulesThatUseVariants) {
  install("tm_plain");
  configure("tm_plain.call_variants=1");
  qm_variant* shared = integer(0);
  std::atomic<bool> stop{false};
  std::thread assigner([&] {
    for (std::int32_t value = 0; !stop; ++value) {
      qm_variant_create record{shared, 0, nullptr, QM_TYPE_SIGNED, 4, 1, &value};
      kernel()(QM_CALL_VARIANTASSIGN, &record);
    }
  });
  constexpr int kTimes = 20;
  for (int times = 0; times < kTimes; ++times) {
    qm_variant* holder = container();
    qm_variant* variant = object(kValue, QM_W("tm_plain"));
    append_item(holder, variant);
    append_attribute(holder, variant);
    qm_variant_copy copy{holder, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCOPY, &copy), 1);
    qm_variant_create assigned = request(variant, data_);
    EXPECT_EQ(kernel()(QM_CALL_VARIANTASSIGN, &assigned), 1);
    give_back(variant);
    qm_variant_child child{holder, 0, 0, 0, nullptr, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTDELETEITEM, &child), 1);
    EXPECT_EQ(kernel()(QM_CALL_VARIANTDELETEATTRIBUTE, &child), 1);
    EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, copy.copy), 1);
  }
  stop = true;
  assigner.join();
  EXPECT_EQ(calls(kTake), 3 * kTimes);
  EXPECT_EQ(calls(kGiveBack), 3 * kTimes);
}

}  // namespace
}  // namespace contract
