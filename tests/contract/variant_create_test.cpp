// Creating variants: what every type asks for, what it stores, and how refusals look.
#include <climits>

#include "tests/contract/support/variant_test.h"

namespace contract {
namespace {

const Codes kCreate = {QM_CALL_VARIANTCREATE, QM_CALL_VARIANTCREATEDIRECT};

// Long enough for everything that the tables describe.
const std::int64_t kData[8] = {};
const void* const kSome = kData;

class VariantCreation : public VariantTest {
 protected:
  // Refused in these words, with nothing but the out field changed.
  void expect_refused(const qm_variant_create& request, const Failure& expected) {
    for (const std::uint32_t code : kCreate) {
      SCOPED_TRACE(
          printable(text_of("code %08x, type %d, size %d, nitems %d, data %d", code, request.type,
                            request.size, request.nitems, request.data != nullptr)));
      qm_variant_create record = request;
      record.variant = poisoned<qm_variant*>();
      EXPECT_TRUE(kernel().fails(code, &record, expected));
      EXPECT_EQ(record.variant, nullptr);
      record.variant = request.variant;
      EXPECT_EQ(std::memcmp(&record, &request, sizeof record), 0) << "an input field was changed";
    }
  }
  void expect_refused(std::int32_t type, std::int32_t size, std::int32_t nitems, const void* data,
                      const char* condition) {
    auto request = poisoned<qm_variant_create>();
    request = {nullptr, 5, QM_W("name"), type, size, nitems, data};
    expect_refused(request, failure(22, "%s", condition));
  }
};

struct Refusal {
  std::int32_t type;
  std::int32_t size;
  std::int32_t nitems;
  bool has_data;
  const char* condition;
};

constexpr Refusal kRefusals[] = {
    // data and nitems belong together, before anything else is looked at
    {QM_TYPE_SIGNED, 4, 2, false, "(items)"},
    {QM_TYPE_SIGNED, 4, 1, false, "(items)"},
    {QM_TYPE_SIGNED, 4, 0, true, "(items)"},
    {QM_TYPE_SIGNED, 4, -1, true, "(items)"},
    {QM_TYPE_SIGNED, 4, -1, false, "(items)"},
    {QM_TYPE_SIGNED, 4, INT_MIN, false, "(items)"},
    {QM_TYPE_EMPTY, 0, 0, true, "(items)"},
    {QM_TYPE_EMPTY, 1, 1, false, "(items)"},
    {QM_TYPE_CONTAINER, 0, 0, true, "(items)"},
    {QM_TYPE_TEXT, 0, 0, true, "(items)"},
    {QM_TYPE_OBJECT, 0, 1, false, "(items)"},
    {77, 0, 1, false, "(items)"},
    // only arrays have several items, containers none at first
    {QM_TYPE_SIGNED, 4, 2, true, "(items)"},
    {QM_TYPE_SIGNED, 3, 2, true, "(items)"},
    {QM_TYPE_UNSIGNED, 1, 2, true, "(items)"},
    {QM_TYPE_FLOATING, 8, 3, true, "(items)"},
    {QM_TYPE_DATETIME, 8, 2, true, "(items)"},
    {QM_TYPE_BINARY, 8, 2, true, "(items)"},
    {QM_TYPE_TEXT, 8, 2, true, "(items)"},
    {QM_TYPE_TEXT_AUTO, 8, 2, true, "(items)"},
    {QM_TYPE_WIDE_TEXT, 8, 2, true, "(items)"},
    {QM_TYPE_OBJECT, 4, 2, true, "(items)"},
    {QM_TYPE_CONTAINER, 0, 1, true, "(items)"},
    {QM_TYPE_CONTAINER, 3, 1, true, "(items)"},
    // types
    {QM_TYPE_EMPTY_ARRAY, 0, 0, false, "(type)"},
    {QM_TYPE_EMPTY_ARRAY, 4, 2, true, "(type)"},
    {5, 0, 0, false, "(type)"},
    {63, 4, 1, true, "(type)"},
    {69, 8, 1, true, "(type)"},
    {127, 0, 0, false, "(type)"},
    {133, 4, 1, true, "(type)"},
    {-1, 4, 1, true, "(type)"},
    {INT_MAX, 4, 1, true, "(type)"},
    {INT_MIN, -4, 1, true, "(type)"},
    {0x1000, 4, 1, true, "(type)"},
    {0x1081, 4, 1, true, "(type)"},
    {0x1084, 4, 1, true, "(type)"},
    {0x2001, 4, 1, true, "(type)"},
    {0x3082, 4, 1, true, "(type)"},
    // nothing has neither size nor items
    {QM_TYPE_EMPTY, 1, 0, false, "(size || nitems)"},
    {QM_TYPE_EMPTY, -1, 0, false, "(size || nitems)"},
    {QM_TYPE_EMPTY, 0, 1, true, "(size || nitems)"},
    {QM_TYPE_EMPTY, 4, 7, true, "(size || nitems)"},
    // sizes
    {QM_TYPE_SIGNED, 3, 1, true, "(size)"},
    {QM_TYPE_SIGNED, 3, 0, false, "(size)"},
    {QM_TYPE_SIGNED, 16, 1, true, "(size)"},
    {QM_TYPE_SIGNED, -4, 1, true, "(size)"},
    {QM_TYPE_UNSIGNED, 5, 1, true, "(size)"},
    {QM_TYPE_UNSIGNED, INT_MIN, 1, true, "(size)"},
    {QM_TYPE_FLOATING, 1, 1, true, "(size)"},
    {QM_TYPE_FLOATING, 2, 1, true, "(size)"},
    {QM_TYPE_FLOATING, 10, 1, true, "(size)"},
    {QM_TYPE_DATETIME, 4, 1, true, "(size)"},
    {QM_TYPE_DATETIME, 1, 0, false, "(size)"},
    {QM_TYPE_SIGNED_ARRAY, 0, 2, true, "(size)"},
    {QM_TYPE_SIGNED_ARRAY, 0, 0, false, "(size)"},
    {QM_TYPE_SIGNED_ARRAY, 3, 2, true, "(size)"},
    {QM_TYPE_UNSIGNED_ARRAY, -1, 2, true, "(size)"},
    {QM_TYPE_FLOATING_ARRAY, 2, 2, true, "(size)"},
    {QM_TYPE_DATETIME_ARRAY, 4, 2, true, "(size)"},
    {QM_TYPE_CONTAINER, 1, 0, false, "(size)"},
    {QM_TYPE_CONTAINER, -1, 0, false, "(size)"},
    {QM_TYPE_BINARY, -1, 1, true, "(size)"},
    {QM_TYPE_BINARY, -1, 0, false, "(size)"},
    {QM_TYPE_TEXT, 0, 1, true, "(size)"},
    {QM_TYPE_TEXT, -5, 1, true, "(size)"},
    {QM_TYPE_TEXT, 0, 0, false, "(size)"},
    {QM_TYPE_TEXT_AUTO, 0, 1, true, "(size)"},
    {QM_TYPE_TEXT_UTF8, 0, 1, true, "(size)"},
    {QM_TYPE_WIDE_TEXT, 0, 1, true, "(size)"},
    {QM_TYPE_WIDE_TEXT_AUTO, -1, 1, true, "(size)"},
    {QM_TYPE_WIDE_TEXT_UTF8, 0, 1, true, "(size)"},
    {QM_TYPE_OBJECT, 3, 1, true, "(size)"},
    {QM_TYPE_OBJECT, 0, 0, false, "(size)"},
    {QM_TYPE_OBJECT, -1, 1, true, "(size)"},
    // data
    {QM_TYPE_BINARY, 4, 0, false, "(data)"},
    {QM_TYPE_BINARY, 0, 0, false, "(data)"},
    {QM_TYPE_TEXT, 4, 0, false, "(data)"},
    {QM_TYPE_TEXT_AUTO, 4, 0, false, "(data)"},
    {QM_TYPE_TEXT_UTF8, 4, 0, false, "(data)"},
    {QM_TYPE_WIDE_TEXT, 4, 0, false, "(data)"},
    {QM_TYPE_WIDE_TEXT_AUTO, 4, 0, false, "(data)"},
    {QM_TYPE_WIDE_TEXT_UTF8, 4, 0, false, "(data)"},
    {QM_TYPE_OBJECT, 4, 0, false, "(data)"},
    // an object's data without a module name: all zero
    {QM_TYPE_OBJECT, 4, 1, true, "(cdata)"},
};

TEST_F(VariantCreation, IsRefusedInTheWordsOfTheFirstBreach) {
  for (const Refusal& refusal : kRefusals) {
    expect_refused(refusal.type, refusal.size, refusal.nitems, refusal.has_data ? kSome : nullptr,
                   refusal.condition);
  }
}

TEST_F(VariantCreation, RunsOutOfMemoryBeyondTwoGigabytes) {
  struct {
    std::int32_t type, size, nitems;
  } const requests[] = {
      {QM_TYPE_SIGNED_ARRAY, 4, 0x40000001},   {QM_TYPE_UNSIGNED_ARRAY, 8, 0x20000000},
      {QM_TYPE_FLOATING_ARRAY, 4, 0x20000000}, {QM_TYPE_DATETIME_ARRAY, 8, INT_MAX},
      {QM_TYPE_WIDE_TEXT, 0x40000000, 1},      {QM_TYPE_WIDE_TEXT_AUTO, INT_MAX, 1},
  };
  for (const auto& request : requests) {
    qm_variant_create record{nullptr,        0,    nullptr, request.type, request.size,
                             request.nitems, kSome};
    expect_refused(record, failure(12));
  }
}

struct Acceptance {
  std::int32_t type, size, nitems;
  std::int32_t type_then, size_then, nitems_then;
};

constexpr Acceptance kAcceptances[] = {
    {QM_TYPE_EMPTY, 0, 0, QM_TYPE_EMPTY, 0, 0},
    {QM_TYPE_SIGNED, 0, 0, QM_TYPE_SIGNED, 0, 1},
    {QM_TYPE_SIGNED, 0, 1, QM_TYPE_SIGNED, 0, 1},
    {QM_TYPE_SIGNED, 1, 1, QM_TYPE_SIGNED, 1, 1},
    {QM_TYPE_SIGNED, 2, 1, QM_TYPE_SIGNED, 2, 1},
    {QM_TYPE_SIGNED, 4, 1, QM_TYPE_SIGNED, 4, 1},
    {QM_TYPE_SIGNED, 8, 1, QM_TYPE_SIGNED, 8, 1},
    {QM_TYPE_SIGNED, 8, 0, QM_TYPE_SIGNED, 8, 1},
    {QM_TYPE_UNSIGNED, 0, 0, QM_TYPE_UNSIGNED, 0, 1},
    {QM_TYPE_UNSIGNED, 1, 0, QM_TYPE_UNSIGNED, 1, 1},
    {QM_TYPE_UNSIGNED, 2, 1, QM_TYPE_UNSIGNED, 2, 1},
    {QM_TYPE_UNSIGNED, 4, 0, QM_TYPE_UNSIGNED, 4, 1},
    {QM_TYPE_UNSIGNED, 8, 1, QM_TYPE_UNSIGNED, 8, 1},
    {QM_TYPE_FLOATING, 0, 0, QM_TYPE_FLOATING, 0, 1},
    {QM_TYPE_FLOATING, 4, 1, QM_TYPE_FLOATING, 4, 1},
    {QM_TYPE_FLOATING, 8, 0, QM_TYPE_FLOATING, 8, 1},
    {QM_TYPE_DATETIME, 0, 0, QM_TYPE_DATETIME, 0, 1},
    {QM_TYPE_DATETIME, 8, 1, QM_TYPE_DATETIME, 8, 1},
    {QM_TYPE_SIGNED_ARRAY, 1, 3, QM_TYPE_SIGNED_ARRAY, 1, 3},
    {QM_TYPE_SIGNED_ARRAY, 4, 0, QM_TYPE_SIGNED_ARRAY, 4, 0},
    {QM_TYPE_UNSIGNED_ARRAY, 2, 7, QM_TYPE_UNSIGNED_ARRAY, 2, 7},
    {QM_TYPE_FLOATING_ARRAY, 4, 2, QM_TYPE_FLOATING_ARRAY, 4, 2},
    {QM_TYPE_FLOATING_ARRAY, 8, 1, QM_TYPE_FLOATING_ARRAY, 8, 1},
    {QM_TYPE_DATETIME_ARRAY, 8, 8, QM_TYPE_DATETIME_ARRAY, 8, 8},
    {QM_TYPE_CONTAINER, 0, 0, QM_TYPE_CONTAINER, 0, 0},
    {QM_TYPE_BINARY, 0, 1, QM_TYPE_BINARY, 0, 1},
    {QM_TYPE_BINARY, 9, 1, QM_TYPE_BINARY, 9, 1},
    {QM_TYPE_TEXT, 1, 1, QM_TYPE_TEXT, 1, 1},
    {QM_TYPE_WIDE_TEXT, 3, 1, QM_TYPE_WIDE_TEXT, 3, 1},
    {QM_TYPE_TEXT_AUTO, 4, 1, QM_TYPE_TEXT, 4, 1},  // an empty text is no number
    {QM_TYPE_WIDE_TEXT_AUTO, 4, 1, QM_TYPE_WIDE_TEXT, 4, 1},
    {QM_TYPE_TEXT_UTF8, 4, 1, QM_TYPE_WIDE_TEXT, 4, 1},  // zeros are characters, too
    {QM_TYPE_WIDE_TEXT_UTF8, 4, 1, QM_TYPE_WIDE_TEXT, 4, 1},
};

TEST_F(VariantCreation, KeepsTypeSizeAndItems) {
  for (const Acceptance& accepted : kAcceptances) {
    for (const std::uint32_t code : kCreate) {
      SCOPED_TRACE(printable(text_of("code %08x, type %d, size %d, nitems %d", code, accepted.type,
                                     accepted.size, accepted.nitems)));
      qm_variant_create record{poisoned<qm_variant*>(),
                               -7,
                               QM_W("a name"),
                               accepted.type,
                               accepted.size,
                               accepted.nitems,
                               accepted.nitems == 0 ? nullptr : kSome};
      const qm_variant_create before = record;
      ASSERT_EQ(kernel()(code, &record), 1);
      adopt(record.variant);
      const qm_variant_info found = info(record.variant);
      EXPECT_EQ(found.id, -7);
      EXPECT_EQ(found.type, accepted.type_then);
      EXPECT_EQ(found.size, accepted.size_then);
      EXPECT_EQ(found.nitems, accepted.nitems_then);
      EXPECT_EQ(found.nattributes, 0);
      EXPECT_EQ(name_of(record.variant), QM_W("a name"));
      EXPECT_EQ(references(record.variant), 1);
      record.variant = before.variant;
      EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0) << "an input field was changed";
    }
  }
}

TEST_F(VariantCreation, ExtendsScalarsTo64Bits) {
  EXPECT_EQ(value_of(scalar<std::int8_t>(QM_TYPE_SIGNED, -1)), -1);
  EXPECT_EQ(value_of(scalar<std::int16_t>(QM_TYPE_SIGNED, -300)), -300);
  EXPECT_EQ(value_of(scalar<std::int32_t>(QM_TYPE_SIGNED, INT_MIN)), INT_MIN);
  EXPECT_EQ(value_of(scalar<std::int64_t>(QM_TYPE_SIGNED, INT64_MIN)), INT64_MIN);
  EXPECT_EQ(value_of(scalar<std::uint8_t>(QM_TYPE_UNSIGNED, 255)), 255);
  EXPECT_EQ(value_of(scalar<std::uint16_t>(QM_TYPE_UNSIGNED, 65535)), 65535);
  EXPECT_EQ(value_of(scalar<std::uint32_t>(QM_TYPE_UNSIGNED, UINT_MAX)), UINT_MAX);
  EXPECT_EQ(text_value(scalar<std::uint64_t>(QM_TYPE_UNSIGNED, UINT64_MAX)),
            QM_W("18446744073709551615"));
  EXPECT_EQ(text_value(scalar<float>(QM_TYPE_FLOATING, 1.5f)), QM_W("1.5"));
  EXPECT_EQ(text_value(scalar<double>(QM_TYPE_FLOATING, -0.25)), QM_W("-0.25"));
}

TEST_F(VariantCreation, GivesScalarsWithoutDataTheValue0) {
  EXPECT_EQ(value_of(make(QM_TYPE_SIGNED, 8, 0, nullptr)), 0);
  EXPECT_EQ(value_of(make(QM_TYPE_UNSIGNED, 2, 0, nullptr)), 0);
  EXPECT_EQ(text_value(make(QM_TYPE_FLOATING, 4, 0, nullptr)), QM_W("0"));
}

TEST_F(VariantCreation, DoesNotReadTheDataOfAScalarWithoutSize) {
  const std::uint8_t byte = 7;
  qm_variant* variant = make(QM_TYPE_UNSIGNED, 0, 1, &byte);
  std::int64_t value = 99;
  qm_variant_convert record{variant, 0, QM_TYPE_SIGNED, 8, 1, &value, 8};
  EXPECT_EQ(kernel()(QM_CALL_VARIANTCONVERT, &record), 1);
  EXPECT_EQ(record.size, 0);
  EXPECT_EQ(value, 99) << "there was nothing to write";
}

TEST_F(VariantCreation, CopiesItsData) {
  std::vector<std::int32_t> numbers{1, 2, 3};
  qm_variant* variant = array(QM_TYPE_SIGNED_ARRAY, numbers);
  char letters[] = "text";
  qm_variant* narrow = make(QM_TYPE_TEXT, 5, 1, letters);
  Text name = QM_W("name");
  qm_variant* named = empty(0, name.c_str());
  numbers.assign(3, 0);
  std::memset(letters, 0, sizeof letters);
  name.assign(4, QM_W('#'));
  std::int32_t read[3];
  const auto bytes = bytes_of(variant);
  ASSERT_EQ(bytes.size(), sizeof read);
  std::memcpy(read, bytes.data(), sizeof read);
  EXPECT_EQ(read[0] + 10 * read[1] + 100 * read[2], 321);
  EXPECT_EQ(text_value(narrow), QM_W("text"));
  EXPECT_EQ(name_of(named), QM_W("name"));
}

TEST_F(VariantCreation, TerminatesTextsInTheStoredCopyOnly) {
  const char five[] = {'h', 'e', 'l', 'l', 'o'};
  EXPECT_EQ(text_value(make(QM_TYPE_TEXT, 5, 1, five)), QM_W("hell"));
  EXPECT_EQ(five[4], 'o');
  const qm_wchar wide[] = {'h', 'e', 'l', 'l', 'o'};
  EXPECT_EQ(text_value(make(QM_TYPE_WIDE_TEXT, 5, 1, wide)), QM_W("hell"));
  EXPECT_EQ(wide[4], qm_wchar{'o'});
  const char digits[] = {'1', '2', '3'};
  qm_variant* recognised = make(QM_TYPE_TEXT_AUTO, 3, 1, digits);
  EXPECT_EQ(info(recognised).type, QM_TYPE_SIGNED);
  EXPECT_EQ(value_of(recognised), 12);
}

TEST_F(VariantCreation, KeepsBytesBehindATerminator) {
  const char text[] = {'a', 0, 'b', 'c'};
  const std::vector<unsigned char> stored{'a', 0, 'b', 0};
  EXPECT_EQ(bytes_of(make(QM_TYPE_TEXT, 4, 1, text)), stored);
  const std::vector<unsigned char> whole{'a', 0, 'b', 'c'};
  EXPECT_EQ(bytes_of(make(QM_TYPE_BINARY, 4, 1, text)), whole);
}

TEST_F(VariantCreation, TellsAnEmptyNameFromNone) {
  qm_variant* holder = container();
  qm_variant* unnamed = empty(1, nullptr);
  qm_variant* named_empty = empty(2, QM_W(""));
  append_item(holder, unnamed);
  append_item(holder, named_empty);
  EXPECT_EQ(name_of(unnamed), QM_W(""));
  EXPECT_EQ(name_of(named_empty), QM_W(""));
  for (const auto& [name, child] :
       {std::pair<const qm_wchar*, qm_variant*>{nullptr, unnamed}, {QM_W(""), named_empty}}) {
    qm_variant_child record{holder, QM_FIND_NTH_OF_NAME, 0, 0, name, nullptr};
    ASSERT_EQ(kernel()(QM_CALL_VARIANTGETITEM, &record), 1);
    EXPECT_EQ(adopt(record.child), child);
    record = {holder, QM_FIND_NTH_OF_NAME | QM_FIND_INDEX, 0, 1, name, nullptr};
    EXPECT_TRUE(kernel().refuses(QM_CALL_VARIANTGETITEM, record, failure(2)));
  }
}

}  // namespace
}  // namespace contract
