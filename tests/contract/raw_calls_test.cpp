// The 32-bit Windows contract as a caller sees it that knows nothing but numbers: records are
// arrays of words, the entry pops its own arguments, and the stack is aligned to 4 bytes only.
#include "tests/contract/support/module_test.h"

#if defined(_WIN32) && !defined(_WIN64)

#include <windows.h>

namespace contract {
namespace {

using Word = std::uint32_t;

Word word_of(const void* pointer) { return reinterpret_cast<Word>(pointer); }
template <class Type>
Type* pointer_to(Word word) {
  return reinterpret_cast<Type*>(word);
}

class RawCalls : public ModuleTest {
 protected:
  std::int32_t call(Word code, Word* record) { return kernel()(code, record); }
};

TEST_F(RawCalls, SetAndReadErrors) {
  const wchar_t text[] = L"detail";
  Word set[] = {0x2100, 77, word_of(text), 0xDEADBEEF};
  EXPECT_EQ(call(0x10010002, set), 1);
  wchar_t wide[32];
  Word get[] = {0, word_of(wide), 32, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10010000, get), 77);
  EXPECT_EQ(get[0], 77u);
  EXPECT_EQ(get[3], 0xC3C3C3C3u);
  EXPECT_STREQ(wide, L"detail");
  char narrow[4];
  Word get_narrow[] = {0, word_of(narrow), 4, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10010001, get_narrow), 77);
  EXPECT_STREQ(narrow, "det");
  EXPECT_EQ(get_narrow[3], 0xC3C3C3C3u);
}

TEST_F(RawCalls, FormatFromAnArgumentArea) {
  const Word arguments[] = {42, word_of(L"wide"), word_of("narrow")};
  Word set[] = {0x2000, 1, word_of(L"%d %s %hs"), word_of(arguments)};
  EXPECT_EQ(call(0x10010002, set), 1);
  EXPECT_EQ(kernel().error().message, L"42 wide narrow");
}

TEST_F(RawCalls, RegisterErrorTexts) {
  const Word pairs[] = {0x2001, word_of(L"one"), 0x2002, word_of(L"two")};
  Word record[] = {2, word_of(pairs)};
  EXPECT_EQ(call(0x1001000F, record), 1);
  Word set[] = {0x100, 0x2002, word_of(L"!"), 0};
  EXPECT_EQ(call(0x10010002, set), 1);
  EXPECT_EQ(kernel().error().message, L"two !");
}

TEST_F(RawCalls, HandleBlocks) {
  Word block[] = {0, 5, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10020000, block), 1);
  EXPECT_NE(block[0], 0u);
  EXPECT_EQ(block[1], 5u);
  Word size[] = {block[0], 0xC3C3C3C3, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10020001, size), 1);
  EXPECT_EQ(size[1], 8u);
  std::memcpy(pointer_to<char>(block[0]), "abcde", 5);
  char file[16];
  char dump[64];
  Word info[] = {0, word_of(file), sizeof file, word_of(dump), sizeof dump, 1, 2, 3, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10020004, info), 1);
  EXPECT_STREQ(file, "unknown file");
  EXPECT_STREQ(dump, "<abcde   > 61 62 63 64 65 00 00 00");
  EXPECT_EQ(info[5], 0u);
  EXPECT_EQ(info[6], 8u);
  EXPECT_EQ(info[7], block[0]);
  EXPECT_EQ(info[8], 0xC3C3C3C3u);
  Word positioned[] = {block[0], 0, word_of("file.c"), 7, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10020002, positioned), 1);
  EXPECT_EQ(positioned[0], 0u);
  EXPECT_EQ(positioned[4], 0xC3C3C3C3u);
  EXPECT_EQ(block[2] & size[2], 0xC3C3C3C3u);
}

TEST_F(RawCalls, ShareSlots) {
  Word created[] = {0, 0, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10020005, created), 1);
  EXPECT_EQ(created[0], 1u);
  Word joined[] = {1, 0, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10020006, joined), 1);
  EXPECT_EQ(joined[1], created[1]);
  Word released[] = {1, 0xC3C3C3C3};
  for (const std::int32_t result : {1, 1, 0}) EXPECT_EQ(call(0x10020007, released), result);
  EXPECT_EQ(released[0], 1u);
  EXPECT_EQ(created[2] & joined[2] & released[1], 0xC3C3C3C3u);
}

TEST_F(RawCalls, WriteAndReadFiles) {
  Word written[] = {word_of("bytes"), word_of("raw.bin"), 5, 1, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10020009, written), 1);
  Word read[] = {1, word_of(L"raw.bin"), 1, 2, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10020008, read), 1);
  ASSERT_EQ(read[2], 5u);
  EXPECT_EQ(std::string(pointer_to<const char>(read[0]), 5), "bytes");
  EXPECT_EQ(written[4] & read[4], 0xC3C3C3C3u);
  release(pointer_to<void>(read[0]));
}

// A page before one that cannot be touched.
class LastPage {
 public:
  LastPage() : begin_(static_cast<char*>(reserve())) { protect(begin_ + kSize, PAGE_NOACCESS); }
  ~LastPage() { ::VirtualFree(begin_, 0, MEM_RELEASE); }
  LastPage(const LastPage&) = delete;
  LastPage& operator=(const LastPage&) = delete;

  // The words at the end of the page.
  Word* put(const std::vector<Word>& words, bool may_be_written) {
    protect(begin_, PAGE_READWRITE);
    void* const record = begin_ + kSize - words.size() * sizeof(Word);
    std::memcpy(record, words.data(), words.size() * sizeof(Word));
    if (!may_be_written) protect(begin_, PAGE_READONLY);
    return static_cast<Word*>(record);
  }

 private:
  static constexpr std::size_t kSize = 4096;

  static void* reserve() {
    return ::VirtualAlloc(nullptr, 2 * kSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  }
  static void protect(void* page, DWORD protection) {
    DWORD before = 0;
    EXPECT_NE(::VirtualProtect(page, kSize, protection, &before), 0);
  }

  char* begin_;
};

// A record that only tells the kernel something may be constant.
TEST_F(RawCalls, TouchNothingButTheirRecords) {
  constexpr bool kConstant = false;
  constexpr bool kVariable = true;
  const Word pairs[] = {0x2001, word_of(L"one")};
  const Word text = word_of(L"text");
  const struct {
    Word code;
    std::vector<Word> record;
    bool is_variable;
    std::int32_t result;
  } rows[] = {{0x10000010, {0, text, 1, 1, 1}, kVariable, 1},
              {0x1000F000, {1, 1, 1, 1}, kVariable, 0},
              {0x10010002, {0x2100, 77, text, 1}, kConstant, 1},
              {0x10010003, {0x2100, 77, text, 1}, kConstant, 1},
              {0x10010000, {0, 0, 1}, kVariable, 77},
              {0x1001000F, {1, word_of(pairs)}, kConstant, 1},
              {0x10020000, {0, 0}, kVariable, 1},
              {0x10020001, {1, 1}, kVariable, 0},
              {0x10020002, {0, 0, 0, 0}, kVariable, 1},
              {0x10020004, {0, 0, 0, 0, 0, 1, 1, 1}, kVariable, 0},
              {0x10020005, {0, 0}, kVariable, 1},
              {0x10020006, {1, 0}, kVariable, 1},
              {0x10020007, {1}, kConstant, 1},
              {0x10020008, {1, text, 1, 2}, kVariable, 0},
              {0x10020009, {text, text, 4, 2}, kConstant, 1},
              {0x10030000, {text, 0, 1}, kVariable, 0},
              {0x10030002, {1}, kVariable, 0},
              {0x10030004, {1}, kVariable, 1},
              {0x10030006, {1}, kConstant, 0},
              {0x10030013, {text, 0}, kVariable, 0}};
  LastPage page;
  for (const auto& row : rows) {
    EXPECT_EQ(call(row.code, page.put(row.record, row.is_variable)), row.result)
        << std::hex << row.code;
  }
}

TEST_F(RawCalls, OpenResolveAndCloseModules) {
  install("tm_plain");
  Word wide[] = {word_of(L"tm_plain"), 0, 0xC3C3C3C3, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10030000, wide), 1);
  EXPECT_EQ(wide[2], 0x10000u);
  EXPECT_EQ(wide[3], 0xC3C3C3C3u);
  Word narrow[] = {word_of("tm_plain"), 0, 0xC3C3C3C3, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10030001, narrow), 1);
  EXPECT_EQ(narrow[2], 0x10001u);
  EXPECT_EQ(narrow[3], 0xC3C3C3C3u);
  Word resolved[] = {0x10001, 0, 0, 0, 0xC3C3C3C3};
  EXPECT_EQ(call(0x1000F000, resolved), 1);
  EXPECT_EQ(resolved[0], 0x10001u);
  EXPECT_EQ(resolved[1], 2u);
  EXPECT_NE(resolved[2], 0u);
  EXPECT_NE(resolved[3], 0u);
  EXPECT_EQ(resolved[4], 0xC3C3C3C3u);
  for (Word handle : {0x10000u, 0x10001u, 0x10001u}) {
    Word reference[] = {handle, 0xC3C3C3C3};
    EXPECT_EQ(call(0x10030002, reference), 1);
    EXPECT_EQ(reference[1], 0xC3C3C3C3u);
  }
}

TEST_F(RawCalls, TellAboutTheKernel) {
  Word record[] = {0, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10030004, record), 1);
  const Word* info = pointer_to<const Word>(record[0]);
  EXPECT_EQ(info[0], 0x716D0000u);
  EXPECT_EQ(info[1], 0x0703011Du);
  EXPECT_STREQ(pointer_to<const char>(info[2]), "QM Library (rev: 49d3a6e)");
  EXPECT_STREQ(pointer_to<const wchar_t>(info[3]), L"QM Library (rev: 49d3a6e)");
  EXPECT_EQ(info[4], word_of(reinterpret_cast<const void*>(kernel().entry())));
  EXPECT_EQ(record[1], 0xC3C3C3C3u);
}

TEST_F(RawCalls, ListModulesAndVersions) {
  const ScopedVariable path("PATH", std::nullopt);
  const ScopedVariable root("SystemRoot", std::nullopt);
  install("tm_plain");
  Word record[] = {0, word_of(L"tm_plain"), 1, 1, 1, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10000010, record), 1);
  EXPECT_EQ(record[4], 1u);
  EXPECT_STREQ(pointer_to<const wchar_t>(pointer_to<Word>(record[2])[0]), L".\\tm_plain.dll");
  EXPECT_EQ(pointer_to<Word>(record[3])[0], 0x0102032Cu);
  EXPECT_EQ(record[5], 0xC3C3C3C3u);
  for (const Word block : {pointer_to<Word>(record[2])[0], record[2], record[3]}) {
    release(pointer_to<void>(block));
  }
  Word version[] = {word_of(L".\\tm_plain.dll"), 0, 0xC3C3C3C3};
  EXPECT_EQ(call(0x10030013, version), 1);
  EXPECT_GT(pointer_to<Word>(version[1])[0], 0u);
  EXPECT_EQ(version[2], 0xC3C3C3C3u);
  release(pointer_to<void>(version[1]));
}

// Calls the entry with the stack moved down by so many bytes; returns how far off the stack pointer
// is afterwards.
__attribute__((noinline)) std::int32_t call_at(qm_call_fn entry, std::uint32_t moved, Word code,
                                               void* record, std::int32_t& result) {
  std::int32_t off = 0;
  asm volatile(
      "movl %%esp, %%edi\n\t"
      "andl $-16, %%esp\n\t"
      "subl %[moved], %%esp\n\t"
      "movl %%esp, %%esi\n\t"
      "pushl %[record]\n\t"
      "pushl %[code]\n\t"
      "pushl $0\n\t"
      "call *%[entry]\n\t"
      "subl %%esp, %%esi\n\t"
      "movl %%edi, %%esp\n\t"
      : "=a"(result), "=&S"(off)
      : [entry] "r"(entry), [moved] "m"(moved), [code] "r"(code), [record] "r"(record)
      : "edi", "memory", "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7");
  return off;
}

TEST_F(RawCalls, NeedAStackAlignedToFourBytesOnly) {
  for (std::uint32_t moved = 0; moved < 16; moved += 4) {
    std::int32_t result = -1;
    EXPECT_EQ(call_at(kernel().entry(), moved, QM_CALL_NOP, nullptr, result), 0) << moved;
    EXPECT_EQ(result, 1) << moved;
    EXPECT_EQ(call_at(kernel().entry(), moved, QM_CALL_SETERRORW, nullptr, result), 0) << moved;
    EXPECT_EQ(result, 0) << moved;
    qm_realloc block{nullptr, 100};
    EXPECT_EQ(call_at(kernel().entry(), moved, QM_CALL_REALLOC, &block, result), 0) << moved;
    EXPECT_EQ(result, 1) << moved;
    release(block.pointer);
    install_as("tm_plain", "tm_" + std::to_string(moved));
    const Text name = text_of("tm_%u", moved);
    qm_open_module_w record{name.c_str(), nullptr, 0};
    EXPECT_EQ(call_at(kernel().entry(), moved, QM_CALL_OPENMODULEW, &record, result), 0) << moved;
    EXPECT_EQ(result, 1) << moved;
    EXPECT_TRUE(close(record.handle));
  }
}

TEST_F(RawCalls, PopTheirArguments) {
  for (int times = 0; times < 1000000; ++times) kernel()(QM_CALL_NOP);
  std::int32_t result = 0;
  EXPECT_EQ(call_at(kernel().entry(), 0, QM_CALL_NOP, nullptr, result), 0);
}

}  // namespace
}  // namespace contract

#endif
