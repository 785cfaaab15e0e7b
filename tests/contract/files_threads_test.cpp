// Whole files among threads: nothing in the kernel keeps them apart, nor lets them wait.
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/contract/support/file_test.h"

namespace contract {
namespace {

constexpr int kThreads = 8;
constexpr std::size_t kSize = 3000;

class FileThreads : public FileTest {
 protected:
  // Each with a letter of its own.
  static void run(const std::function<void(char)>& body) {
    std::vector<std::jthread> threads;
    for (int number = 0; number < kThreads; ++number) {
      threads.emplace_back(body, static_cast<char>('a' + number));
    }
  }
};

TEST_F(FileThreads, HaveTheirFilesInOneNewDirectory) {
  run([this](char letter) {
    const std::string name = std::string("new/deep/") + letter;
    for (std::size_t size = 0; size < 60; ++size) {
      ASSERT_TRUE(write(name.c_str(), std::string(size, letter)));
      ASSERT_EQ(read(name.c_str()), std::string(size, letter));
    }
  });
}

TEST_F(FileThreads, MakeEachDirectoryOnce) {
  run([this](char letter) {
    for (int number = 0; number < 20; ++number) {
      const std::string name = std::to_string(number) + "/x/y/" + letter;
      ASSERT_TRUE(write(name.c_str(), "x"));
    }
  });
}

TEST_F(FileThreads, ReadOneFile) {
  const std::string text(kSize, 't');
  make_file("file", text);
  run([this, &text](char) {
    for (int times = 0; times < 100; ++times) ASSERT_EQ(read("file"), text);
  });
}

TEST_F(FileThreads, ReplaceOneFile) {
  run([this](char letter) {
    for (int times = 0; times < 50; ++times) {
      ASSERT_TRUE(write("file", std::string(kSize, letter)));
    }
  });
  const std::string left = contents("file");
  ASSERT_EQ(left.size(), kSize);
  EXPECT_EQ(left, std::string(kSize, left[0])) << "of one of them, not of several";
}

// Who reads meanwhile finds nothing, too little or all, but no more than there is, and no failure
// but that of a file that became shorter.
TEST_F(FileThreads, ReadWhatOthersReplace) {
  make_file("file", std::string(kSize, 'a'));
  run([this](char letter) {
    for (int times = 0; times < 50; ++times) {
      if (letter % 2 == 0) {
        ASSERT_TRUE(write("file", std::string(kSize, letter)));
        continue;
      }
      auto record = reading("file");
      const bool done = kernel()(QM_CALL_READFILE, &record) == 1;
      if (!done) {
        ASSERT_TRUE(kernel().has_error(failure(QM_ERROR_SHORT_READ, "(file)")));
        ASSERT_EQ(record.data, nullptr);
        continue;
      }
      ASSERT_LE(record.size, static_cast<std::int32_t>(kSize));
      if (record.data != nullptr) release(record.data);
    }
  });
}

}  // namespace
}  // namespace contract
