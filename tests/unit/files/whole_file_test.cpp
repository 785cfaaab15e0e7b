// Whole files when memory runs out or the arguments are bad, and what is left behind then.
#include "services/files/whole_file.h"

#include <set>

#include "memory/tracked_allocator.h"
#include "platform/test_hooks.h"
#include "tests/support/allocation_failures.h"
#include "tests/support/expect_error.h"
#include "tests/support/poison.h"
#include "tests/unit/files/files_support.h"
#include "tests/unit/modules/tracked_blocks.h"

namespace qmsd {
namespace {

namespace fs = std::filesystem;

class WholeFile : public test::FolderTest {
 protected:
  WholeFile() {
    tracked_create();
    // The code's text and the message buffer are there before memory runs out.
    fail(QM_ERROR_NO_MEMORY);
  }
  ~WholeFile() override {
    EXPECT_EQ(test::live_blocks(), 0);
    tracked_destroy();
  }

  static qm_file reading(const qm_wchar* name) {
    auto record = test::poisoned<qm_file>();
    record.filename = name;
    record.kind = QM_FILE_NAME_WIDE;
    return record;
  }
  static qm_file writing(const char* name, std::string& text) {
    return {text.data(), name, static_cast<std::int32_t>(text.size()), QM_FILE_NAME_NARROW};
  }

  // Reads with each allocation failing, and shows every record of a failure to `look`. Each time
  // with a new allocator: one that ran out of memory counts as damaged.
  template <class Look>
  static void fail_each_reading(test::Shortage shortage, const void* name, std::int32_t kind,
                                Look look) {
    bool refused = true;
    for (int n = 1; refused; ++n) {
      SCOPED_TRACE(n);
      tracked_destroy();
      tracked_create();
      auto record = test::poisoned<qm_file>();
      record.filename = name;
      record.kind = kind;
      bool done = false;
      refused = test::with_allocation_failing(n, shortage, [&] { done = read_file(&record); });
      EXPECT_NE(done, refused);
      if (done) {
        test::release_block(record.data);
        continue;
      }
      EXPECT_EQ(test::thread_error().code, QM_ERROR_NO_MEMORY);
      EXPECT_EQ(record.data, nullptr);
      look(record);
    }
  }

 private:
  test::ErrorState errors_;
};

TEST_F(WholeFile, IsOneTrackedBlock) {
  make_file("file", "contents");
  qm_file record = reading(QM_W("file"));
  EXPECT_TRUE(read_file(&record));
  EXPECT_EQ(record.size, 8);
  EXPECT_EQ(std::string(static_cast<char*>(record.data), 8), "contents");
  EXPECT_EQ(test::live_blocks(), 1);
  test::release_block(record.data);
}

// Before the file is opened the size is 0, while it is read -1, and the file's when only the block
// for the caller is missing.
TEST_F(WholeFile, TellsByTheSizeHowFarReadingCame) {
  make_file("file", "contents");
  for (const test::Shortage shortage : {test::Shortage::once, test::Shortage::from_then_on}) {
    std::set<std::int32_t> sizes;
    fail_each_reading(shortage, QM_W("file"), QM_FILE_NAME_WIDE, [&](const qm_file& record) {
      const bool is_words_of_allocator = record.size > 0;
      if (!is_words_of_allocator) {
        EXPECT_ERROR(QM_ERROR_NO_MEMORY, record.size == 0 ? QM_W("(filename)") : QM_W("(file)"));
      }
      sizes.insert(record.size);
    });
    EXPECT_EQ(sizes, (std::set<std::int32_t>{-1, 0, 8}));
  }
}

TEST_F(WholeFile, ReportsNarrowNamesThatFindNoMemory) {
  make_file("file");
  fail_each_reading(test::Shortage::once, "file", QM_FILE_NAME_NARROW, [](const qm_file&) {});
}

TEST_F(WholeFile, IsWrittenWholeOrNotAtAll) {
  std::string text = "contents";
  test::fail_each_allocation([&text] {
    fs::remove_all("new");
    qm_file record = writing("new/deep/file", text);
    const bool done = write_file(&record);
    EXPECT_NE(done, test::allocation_refused());
    EXPECT_EQ(fs::exists("new/deep/file"), done);
    EXPECT_EQ(contents("new/deep/file"), done ? text : "");
    if (!done) {
      EXPECT_EQ(test::thread_error().code, QM_ERROR_NO_MEMORY);
    }
  });
}

TEST_F(WholeFile, SurvivesAnAllocatorThatThrows) {
  std::string text = "contents";
  test::throw_at_each_allocation([&text] {
    qm_file written = writing("new/file", text);
    write_file(&written);
    qm_file read = reading(QM_W("new\\file"));
    if (read_file(&read)) test::release_block(read.data);
  });
  EXPECT_EQ(contents("new/file"), text);
}

TEST_F(WholeFile, WithoutTheAllocatorKeepsItsSize) {
  make_file("file", "contents");
  tracked_destroy();
  qm_file record = reading(QM_W("file"));
  EXPECT_FALSE(read_file(&record));
  EXPECT_EQ(record.size, 8);
  EXPECT_EQ(record.data, nullptr);
  EXPECT_STANDARD_ERROR(QM_ERROR_ARGUMENT);
  tracked_create();
}

// A file of this size would fit, if there were memory for it.
TEST_F(WholeFile, MayBeAsLargeAsASignedSizeWithTheSlackCanTell) {
  make_file("large", "");
  fs::resize_file("large", 0x7FFFFFFA);
  platform::set_allocation_gate([](std::size_t bytes) { return bytes < 0x40000000; });
  qm_file record = reading(QM_W("large"));
  const bool done = read_file(&record);
  platform::set_allocation_gate(nullptr);
  EXPECT_FALSE(done);
  EXPECT_ERROR(QM_ERROR_NO_MEMORY, QM_W("(file)"));
  EXPECT_EQ(record.size, -1);
}

// Between the two looks at a name with variables: one for its length, one for its text.
TEST_F(WholeFile, HasNoNameWhenAVariableGrowsMeanwhile) {
  const auto grow_before_second_look = [](std::size_t bytes) {
    constexpr std::size_t kRoomForOneCharacter = 3 * sizeof(qm_wchar);
    if (bytes == kRoomForOneCharacter) test::set_variable("QMSD_TEST_GROWS", "longer");
    return true;
  };
  const auto refused = [&](bool (*call)(qm_file*), qm_file record) {
    test::set_variable("QMSD_TEST_GROWS", "x");
    platform::set_allocation_gate(grow_before_second_look);
    EXPECT_FALSE(call(&record));
    platform::set_allocation_gate(nullptr);
    EXPECT_ERROR(EFAULT, QM_W("(filename)"));
    return record;
  };
  const qm_file read = refused(read_file, reading(QM_W("%QMSD_TEST_GROWS%")));
  EXPECT_EQ(read.size, 0);
  EXPECT_EQ(read.data, nullptr);
  std::string text = "contents";
  refused(write_file, writing("%QMSD_TEST_GROWS%", text));
  test::set_variable("QMSD_TEST_GROWS", nullptr);
  EXPECT_TRUE(fs::is_empty(folder()));
}

TEST_F(WholeFile, MayBeReadOnlyForReading) {
  make_file("file", "old");
  test::make_read_only("file");
  qm_file record = reading(QM_W("file"));
  EXPECT_TRUE(read_file(&record));
  test::release_block(record.data);
}

}  // namespace
}  // namespace qmsd
