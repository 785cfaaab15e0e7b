// Variants that many threads use at once.
#include <atomic>
#include <functional>
#include <thread>

#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

class VariantThreads : public VariantTest {
 protected:
  static constexpr int kTimes = 500;

  // Runs the bodies side by side, each again and again.
  static void run(const std::vector<std::function<void(std::int32_t)>>& bodies) {
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (const auto& body : bodies) {
      threads.emplace_back([&go, &body] {
        while (!go) std::this_thread::yield();
        for (std::int32_t time = 0; time < kTimes; ++time) body(time);
      });
    }
    go = true;
    for (std::thread& thread : threads) thread.join();
  }

  // A number that belongs to whoever calls; nothing of the fixture's own is touched.
  qm_variant* new_number(std::int32_t value) const {
    qm_variant_create record{nullptr, value, QM_W("n"), QM_TYPE_SIGNED, sizeof value, 1, &value};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCREATE, &record), 1);
    return record.variant;
  }
  void release(qm_variant* variant) const {
    EXPECT_EQ(kernel()(QM_CALL_VARIANTRELEASE, variant), 1);
  }

  void insert_and_remove(qm_variant* holder, std::int32_t time) const {
    qm_variant* child = new_number(time);
    qm_variant_child place{holder, QM_FIND_LAST, 0, 0, nullptr, child};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTINSERTITEM, &place), 1);
    EXPECT_EQ(kernel()(QM_CALL_VARIANTINSERTATTRIBUTE, &place), 1);
    release(child);
    qm_variant_child first{holder, 0, 0, 0, nullptr, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTTAKEITEM, &first), 1);
    release(first.child);
    first = {holder, 0, 0, 0, nullptr, nullptr};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTDELETEATTRIBUTE, &first), 1);
  }
  void read(qm_variant* holder) const {
    qm_variant_child child{holder, QM_FIND_LAST, 0, 0, nullptr, nullptr};
    if (kernel()(QM_CALL_VARIANTGETITEM, &child) == 1) {
      std::int64_t value = -1;
      qm_variant_convert reading{child.child, 0, QM_TYPE_SIGNED, 8, 1, &value, 8};
      EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &reading), 1);
      release(child.child);
    }
    qm_variant_child count{holder, 0, 0, 0, QM_W("n"), nullptr};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTCOUNTITEMS, &count), 1);
    info(holder);
  }
  void look_up(qm_variant* holder) const {
    qm_variant_path_w path{holder, QM_W("L,N=n,V=7"), nullptr};
    if (kernel()(QM_CALL_VARIANTPATHW, &path) == 1) release(path.result);
    char text[16];
    qm_variant_path_value_a value{holder, "n", 0, QM_TYPE_TEXT, 16, 1, text, 16};
    kernel()(QM_CALL_VARIANTPATHVALUEA, &value);
  }
  void copy(qm_variant* holder) const {
    qm_variant_copy record{holder, nullptr};
    ASSERT_EQ(kernel()(QM_CALL_VARIANTCOPY, &record), 1);
    release(record.copy);
  }
  void assign(qm_variant* target, std::int32_t time) const {
    const std::string text(static_cast<std::size_t>(1 + time % 40), 'x');
    qm_variant_create as_text{target,
                              time,
                              QM_W("other"),
                              QM_TYPE_TEXT,
                              static_cast<std::int32_t>(text.size() + 1),
                              1,
                              text.c_str()};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTASSIGN, &as_text), 1);
    qm_variant_create as_number{target, time, QM_W("n"), QM_TYPE_SIGNED, 4, 1, &time};
    EXPECT_EQ(kernel()(QM_CALL_VARIANTASSIGN, &as_number), 1);
  }
};

TEST_F(VariantThreads, ShareAContainer) {
  qm_variant* holder = container();
  qm_variant* constant = integer(7, 0, QM_W("n"));
  append_item(holder, constant);
  append_attribute(holder, constant);
  run({[&](std::int32_t time) { insert_and_remove(holder, time); },
       [&](std::int32_t time) { insert_and_remove(holder, time); },
       [&](std::int32_t) { read(holder); }, [&](std::int32_t) { look_up(holder); },
       [&](std::int32_t) { copy(holder); }, [&](std::int32_t time) { assign(constant, time); }});
  EXPECT_EQ(info(holder).nitems, 1);
  EXPECT_EQ(info(holder).nattributes, 1);
}

TEST_F(VariantThreads, CountReferencesToOneVariant) {
  qm_variant* variant = integer(1);
  const auto add_and_drop = [&](std::int32_t) {
    EXPECT_EQ(kernel()(QM_CALL_VARIANTREF, variant), 1);
    release(variant);
  };
  run({add_and_drop, add_and_drop, add_and_drop, add_and_drop});
  EXPECT_EQ(references(variant), 1);
}

TEST_F(VariantThreads, ReadAndWriteAnArray) {
  qm_variant* numbers = array<std::int32_t>(QM_TYPE_SIGNED_ARRAY, {0, 0, 0, 0});
  run({[&](std::int32_t time) {
         const std::int32_t same[] = {time, time, time, time};
         qm_variant_array record{
             numbers, 4, QM_TYPE_SIGNED, 0, 4, const_cast<std::int32_t*>(same), sizeof same};
         EXPECT_EQ(kernel()(QM_CALL_VARIANTWRITEARRAY, &record), 1);
       },
       [&](std::int32_t) {
         std::int32_t read[4] = {};
         qm_variant_array record{numbers, 4, QM_TYPE_SIGNED, 0, 4, read, sizeof read};
         EXPECT_EQ(kernel()(QM_CALL_VARIANTREADARRAY, &record), 1);
         EXPECT_TRUE(read[0] == read[1] && read[1] == read[2] && read[2] == read[3])
             << "a slice is read whole";
       }});
}

TEST_F(VariantThreads, HoldObjectsWhoseOwnerUsesVariants) {
  install("tm_plain");
  configure("tm_plain.call_variants=1");
  // Keeps the module loaded, so that not every reference loads it.
  const std::uint32_t handle = open(QM_W("tm_plain"));
  qm_variant* shared = integer(0);
  const auto hold = [&](std::int32_t time) {
    if (time % 10 != 0) return;
    const qm_object_data data{1, QM_W("tm_plain"), {kTake, kGiveBack, 0, 0}};
    qm_variant_create record{nullptr, 0, nullptr, QM_TYPE_OBJECT, 4, 1, &data};
    ASSERT_EQ(kernel()(QM_CALL_VARIANTCREATE, &record), 1);
    copy(record.variant);
    EXPECT_EQ(kernel()(QM_CALL_VARIANTRECREATE, &record), 1);
    EXPECT_EQ(kernel()(QM_CALL_VARIANTASSIGN, &record), 1);
    release(record.variant);
  };
  run({hold, hold, [&](std::int32_t time) { assign(shared, time); }});
  EXPECT_EQ(journal("call 1234000a").size(), journal("call 1234000b").size());
  EXPECT_TRUE(close(handle));
}

}  // namespace
}  // namespace contract
