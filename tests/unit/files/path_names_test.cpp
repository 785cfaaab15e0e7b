#include "services/files/path_names.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "platform/test_hooks.h"
#include "services/text/text.h"

namespace qmsd {
namespace {

using WideText = std::basic_string<qm_wchar>;

// Readable failures: paths in these tests are ASCII but for one.
std::string shown(WideView text) { return {text.begin(), text.end()}; }

struct RootCase {
  const qm_wchar* path;
  std::size_t root;
};

class PathRoot : public testing::TestWithParam<RootCase> {};

TEST_P(PathRoot, EndsWhereTheTableSays) {
  const RootCase& row = GetParam();
  EXPECT_EQ(path_root_length(row.path), row.root) << shown(row.path);
  EXPECT_EQ(path_root_end(row.path), row.path + row.root);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, PathRoot,
    testing::Values(RootCase{QM_W(""), 0}, RootCase{QM_W("a"), 0}, RootCase{QM_W("\\"), 1},
                    RootCase{QM_W("\\a"), 1}, RootCase{QM_W("C:"), 2}, RootCase{QM_W("C:x"), 2},
                    RootCase{QM_W("C:\\"), 3}, RootCase{QM_W("z:\\x\\y"), 3},
                    RootCase{QM_W("1:\\x"), 0}, RootCase{QM_W("\x00E9:\\x"), 0},
                    RootCase{QM_W("\\\\server\\share\\x"), 15},
                    RootCase{QM_W("\\\\server\\share"), 14}, RootCase{QM_W("\\\\server"), 8},
                    RootCase{QM_W("\\\\?\\C:\\x"), 7}, RootCase{QM_W("\\\\.\\C:"), 6},
                    RootCase{QM_W("\\\\?\\"), 4}, RootCase{QM_W("\\\\?\\x"), 4},
                    RootCase{QM_W("\\\\?\\UNC\\server\\share\\x"), 21},
                    RootCase{QM_W("\\\\?\\UNC\\server"), 14},
                    RootCase{QM_W("\\\\.\\UNC\\server\\share\\"), 21},
                    // Small letters make no share of it, and a device needs its backslash.
                    RootCase{QM_W("\\\\?\\unc\\server\\share\\x"), 4}, RootCase{QM_W("\\\\?"), 3},
                    RootCase{QM_W("\\\\?\\\\x"), 5}, RootCase{QM_W("\\\\"), 2},
                    RootCase{QM_W("//server/share/x"), 0}));

TEST(PathRoot, OfNoPathIsNone) { EXPECT_EQ(path_root_end(nullptr), nullptr); }

struct TextCase {
  const qm_wchar* path;
  const qm_wchar* expected;
};

class ParentDirectory : public testing::TestWithParam<TextCase> {};

TEST_P(ParentDirectory, IsWhatTheTableSays) {
  const OwnedText parent = parent_directory(GetParam().path);
  EXPECT_EQ(shown(parent.get()), shown(GetParam().expected)) << shown(GetParam().path);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, ParentDirectory,
    testing::Values(TextCase{QM_W("C:\\x"), QM_W("C:\\")},
                    TextCase{QM_W("C:\\a\\b"), QM_W("C:\\a")},
                    TextCase{QM_W("file.txt"), QM_W(".")}, TextCase{QM_W("C:x"), QM_W(".")},
                    TextCase{QM_W("a\\b"), QM_W("a")}, TextCase{QM_W("\\x"), QM_W("\\")},
                    TextCase{QM_W("\\\\server\\share\\x"), QM_W("\\\\server\\share\\")},
                    TextCase{QM_W("\\\\server\\share"), QM_W("\\\\server")}));

class NormalPath : public testing::TestWithParam<TextCase> {};

TEST_P(NormalPath, IsWhatTheTableSays) {
  WideText path = GetParam().path;
  normalise_path(path.data());
  EXPECT_EQ(shown(path.c_str()), shown(GetParam().expected)) << shown(GetParam().path);
}

INSTANTIATE_TEST_SUITE_P(
    Paths, NormalPath,
    testing::Values(
        TextCase{QM_W(""), QM_W("")}, TextCase{QM_W("a/b/c"), QM_W("a\\b\\c")},
        TextCase{QM_W("a//b/"), QM_W("a\\b")}, TextCase{QM_W("C:\\data\\"), QM_W("C:\\data")},
        TextCase{QM_W("C:\\"), QM_W("C:\\")}, TextCase{QM_W("/"), QM_W("\\")},
        TextCase{QM_W("\\\\\\srv\\s\\x\\"), QM_W("\\\\srv\\s\\x")},
        TextCase{QM_W("//srv/share/"), QM_W("\\\\srv\\share\\")},
        TextCase{QM_W("\\\\?\\C:\\"), QM_W("\\\\?\\C:\\")},
        TextCase{QM_W("C:\\data\\...\\x"), QM_W("C:\\data\\..\\x")},
        TextCase{QM_W("...."), QM_W("..")}, TextCase{QM_W("a....b...c"), QM_W("a..b..c")},
        TextCase{QM_W("C:\\a\\.."), QM_W("C:\\a\\..")}, TextCase{QM_W("..\\."), QM_W("..\\.")},
        TextCase{QM_W("a/.../"), QM_W("a\\..")}, TextCase{QM_W("C:/"), QM_W("C:\\")},
        TextCase{QM_W("C:x\\"), QM_W("C:x")}, TextCase{QM_W("///"), QM_W("\\\\")},
        TextCase{QM_W("\\\\srv\\"), QM_W("\\\\srv\\")},
        TextCase{QM_W("\\\\?\\UNC\\srv\\share\\"), QM_W("\\\\?\\UNC\\srv\\share\\")},
        TextCase{QM_W("a\\\\\\\\b\\\\"), QM_W("a\\b")}, TextCase{QM_W("a\\/\\/b"), QM_W("a\\b")},
        TextCase{QM_W("..."), QM_W("..")}, TextCase{QM_W("a..b.c"), QM_W("a..b.c")}));

TEST(ExpandFilename, GivesNothingForNothing) { EXPECT_FALSE(expand_filename(nullptr)); }

TEST(ExpandFilename, NormalisesWhatItExpanded) {
  const OwnedText name = expand_filename(copy_text(QM_W("%QMSD_NO_SUCH_VARIABLE%/a//b/")));
  EXPECT_EQ(shown(name.get()), "%QMSD_NO_SUCH_VARIABLE%\\a\\b");
}

TEST(ExpandFilename, KeepsASinglePercentAndAnEmptyName) {
  EXPECT_EQ(shown(expand_filename(copy_text(QM_W("50%"))).get()), "50%");
  EXPECT_EQ(shown(expand_filename(copy_text(QM_W(""))).get()), "");
}

bool refuse(std::size_t) { return false; }

TEST(ParentOfAPath, ReportsExhaustedMemory) {
  errno = 0;
  platform::set_allocation_gate(refuse);
  const OwnedText parent = parent_directory(QM_W("a\\b"));
  const int error = errno;
  platform::set_allocation_gate(nullptr);
  EXPECT_FALSE(parent);
  EXPECT_EQ(error, ENOMEM);
}

TEST(ExpandFilename, ReportsExhaustedMemory) {
  OwnedText name = copy_text(QM_W("x"));
  platform::set_allocation_gate(refuse);
  const OwnedText expanded = expand_filename(std::move(name));
  const int error = errno;
  platform::set_allocation_gate(nullptr);
  EXPECT_FALSE(expanded);
  EXPECT_EQ(error, ENOMEM);
}

}  // namespace
}  // namespace qmsd
