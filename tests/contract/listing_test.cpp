// The listing of installed module libraries and their versions.
#include <algorithm>

#include "tests/contract/support/module_test.h"
#include "tests/contract/support/system_folder.h"

namespace contract {
namespace {

#ifdef _WIN32
constexpr char kSeparator = '\\';
const std::string kListSeparator = ";";
#else
constexpr char kSeparator = '/';
const std::string kListSeparator = ":";
#endif
constexpr std::uint32_t kTestVersion = 0x0102032C;  // 1.2.3.300: the last part is cut to a byte

struct Found {
  std::string path;
  std::uint32_t version;

  bool operator==(const Found&) const = default;
  bool operator<(const Found& other) const { return path < other.path; }
};
void PrintTo(const Found& found, std::ostream* out) {
  *out << found.path << " " << std::hex << found.version;
}
using Listing = std::vector<Found>;

std::string shown(const qm_wchar* path) { return printable(path); }
std::string shown(const char* path) { return path; }

class ModuleListing : public ModuleTest {
 protected:
  // Nothing but the current directory, unless a test adds to it.
  ModuleListing() : path_("PATH", std::nullopt), root_("SystemRoot", std::nullopt) {}

  // Takes the listing apart and releases it.
  template <class Record, class Character>
  Listing list(std::uint32_t function, const Character* pattern) {
    auto record = poisoned<Record>();
    record.pattern = pattern;
    EXPECT_EQ(kernel()(function, &record), 1);
    EXPECT_EQ(record.pattern, pattern);
    EXPECT_EQ(record.reserved, 0xC3C3C3C3u);
    Listing listing;
    for (std::int32_t i = 0; i < record.count; ++i) {
      listing.push_back({shown(record.paths[i]), record.versions[i]});
      release(record.paths[i]);
    }
    if (function == QM_CALL_LISTMODULESA && record.count == 0) {
      EXPECT_EQ(record.paths, nullptr);
    }
    if (record.paths != nullptr) release(record.paths);
    if (record.versions != nullptr) release(record.versions);
    EXPECT_EQ(kernel().live_blocks(), 0) << "all blocks are in the record";
    return listing;
  }
  Listing list(const qm_wchar* pattern) {
    return list<qm_list_modules_w>(QM_CALL_LISTMODULESW, pattern);
  }
  Listing list_narrow(const char* pattern) {
    return list<qm_list_modules_a>(QM_CALL_LISTMODULESA, pattern);
  }
  static Listing sorted(Listing listing) {
    std::sort(listing.begin(), listing.end());
    return listing;
  }
  static Found in(const std::string& folder, const std::string& module,
                  std::uint32_t version = kTestVersion) {
    return {folder + kSeparator + module + kLibraryExtension, version};
  }

  void set_path(const std::string& value) { set_variable("PATH", value); }

 private:
  ScopedVariable path_;
  ScopedVariable root_;
};

TEST_F(ModuleListing, TellsPathAndVersion) {
  install("tm_plain");
  EXPECT_EQ(list(QM_W("tm_plain")), (Listing{in(".", "tm_plain")}));
  EXPECT_EQ(list_narrow("tm_plain"), (Listing{in(".", "tm_plain")}));
}

TEST_F(ModuleListing, TakesAPattern) {
  for (const char* module : {"tm_plain", "tm_other", "tm_a1"}) install_as("tm_plain", module);
  const Listing all = {in(".", "tm_a1"), in(".", "tm_other"), in(".", "tm_plain")};
  EXPECT_EQ(sorted(list(QM_W("tm_*"))), all);
  EXPECT_EQ(sorted(list(nullptr)), all);
  EXPECT_EQ(sorted(list_narrow(nullptr)), all);
  EXPECT_EQ(sorted(list_narrow("*")), all);
  EXPECT_EQ(list(QM_W("*a1")), (Listing{in(".", "tm_a1")}));
  EXPECT_EQ(list(QM_W("tm_?1")), (Listing{in(".", "tm_a1")}));
  EXPECT_EQ(list(QM_W("other")), Listing{});
}

TEST_F(ModuleListing, IsEmptyWhereNothingMatches) {
  EXPECT_EQ(list(QM_W("tm_*")), Listing{});
  EXPECT_EQ(list_narrow("tm_*"), Listing{});
  EXPECT_EQ(list(nullptr), Listing{});
}

TEST_F(ModuleListing, LeavesOutLibrariesWithoutVersion) {
  install("tm_noversion");
  EXPECT_EQ(list(QM_W("tm_*")), Listing{});
  EXPECT_EQ(list_narrow("tm_*"), Listing{});
  for (const char* module : {"tm_a1", "tm_plain", "tm_z1"}) install_as("tm_plain", module);
  install_as("tm_noversion", "tm_0");
  install_as("tm_noversion", "tm_zz");
  const Listing others = {in(".", "tm_a1"), in(".", "tm_plain"), in(".", "tm_z1")};
  EXPECT_EQ(sorted(list(QM_W("tm_*"))), others);
  EXPECT_EQ(sorted(list_narrow("tm_*")), others);
}

TEST_F(ModuleListing, ListsTheKernelLikeAnyLibrary) {
  std::filesystem::copy_file(kernel_file(),
                             folder().file(std::string("QMSD7") + kLibraryExtension));
  EXPECT_EQ(list(QM_W("QMSD7")), (Listing{in(".", "QMSD7", QM_KERNEL_VERSION)}));
}

TEST_F(ModuleListing, LoadsNothing) {
  install("tm_plain");
  EXPECT_EQ(list(nullptr).size(), 1u);
  EXPECT_EQ(journal(), Lines{});
}

TEST_F(ModuleListing, SearchesTheFoldersOfThePathInOrder) {
  install("tm_plain");
  install_as("tm_plain", "second/tm_plain");
  install_as("tm_plain", "third/tm_plain");
  const std::string second = folder().file("second").string();
  const std::string third = folder().file("third").string();
  set_path(third + kListSeparator + second);
  EXPECT_EQ(list(QM_W("tm_plain")),
            (Listing{in(".", "tm_plain"), in(third, "tm_plain"), in(second, "tm_plain")}));
  EXPECT_EQ(list_narrow("tm_plain"),
            (Listing{in(".", "tm_plain"), in(third, "tm_plain"), in(second, "tm_plain")}));
}

TEST_F(ModuleListing, TakesThePathAsItStands) {
  install("tm_plain");
  set_path(kListSeparator + "." + kListSeparator + kListSeparator);
  EXPECT_EQ(list(QM_W("tm_plain")), (Listing{in(".", "tm_plain"), in(".", "tm_plain")}))
      << "empty entries are skipped, repeated ones are not";
  const std::string with_separator = folder().path().string() + kSeparator;
  set_path(with_separator);
  EXPECT_EQ(list(QM_W("tm_plain")), (Listing{in(".", "tm_plain"), in(with_separator, "tm_plain")}));
  set_path("\"" + folder().path().string() + "\"" + kListSeparator + "%PATH%" + kListSeparator +
           folder().file("absent").string());
  EXPECT_EQ(list(QM_W("tm_plain")), (Listing{in(".", "tm_plain")}));
}

TEST_F(ModuleListing, TakesAPathOf1024CharactersForAnEmptyOne) {
  install("tm_plain");
  const std::string entry = "." + kListSeparator;
  std::string path;
  while (path.size() + entry.size() < 1023) path += entry;
  path.resize(1023, kListSeparator[0]);
  set_path(path);
  EXPECT_EQ(list(QM_W("tm_plain")).size(), 1 + path.size() / entry.size());
  set_path(path + kListSeparator);
  EXPECT_EQ(list(QM_W("tm_plain")), (Listing{in(".", "tm_plain")}));
}

#ifdef _WIN32  // elsewhere the directory is built in

TEST_F(ModuleListing, EndsWithTheSystemsFolder) {
  install("tm_plain");
  install_as("tm_plain", "root/system32/qm/tm_plain");
  const std::string root = folder().file("root").string();
  const ScopedVariable system("SystemRoot", root);
  const Found in_system = in(root + "\\system32\\qm", "tm_plain");
  EXPECT_EQ(list(QM_W("tm_plain")), (Listing{in(".", "tm_plain"), in_system}));
  EXPECT_EQ(list_narrow("tm_plain"), (Listing{in(".", "tm_plain"), in_system}));
}

TEST_F(ModuleListing, EndsWithoutASystemsFolderWhenItsNameIsTooLong) {
  install("tm_plain");
  const ScopedVariable system("SystemRoot", std::string(1024, 'x'));
  EXPECT_EQ(list(QM_W("tm_plain")), (Listing{in(".", "tm_plain")}));
}

#else

TEST_F(ModuleListing, EndsWithTheSystemsFolder) {
  if (!SystemFolder::may_be_written()) {
    GTEST_SKIP() << "built for the machine's own system directory";
  }
  SystemFolder system;
  const std::string name = system.install("tm_plain", "listed");
  EXPECT_EQ(list(widen(name).c_str()), (Listing{in(SystemFolder::path().string(), name)}));
}

#endif

TEST_F(ModuleListing, ReadsNoMoreOfARecordThanItsFields) {
  struct {
    qm_list_modules_w record;
    std::uint32_t behind;
  } framed = {{1, QM_W("tm_*"), nullptr, nullptr, -1}, 0xC3C3C3C3};
  EXPECT_EQ(kernel()(QM_CALL_LISTMODULESW, &framed.record), 1);
  EXPECT_EQ(framed.record.count, 0);
  EXPECT_EQ(framed.record.reserved, 1u);
  EXPECT_EQ(framed.behind, 0xC3C3C3C3u);
  if (framed.record.paths != nullptr) release(framed.record.paths);
  if (framed.record.versions != nullptr) release(framed.record.versions);
}

}  // namespace
}  // namespace contract
