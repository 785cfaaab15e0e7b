// The readers of library files alone, on the build's own libraries and on every cut of them.
#include "toolkit/qmtool/image/image.h"

#include "tests/toolkit/qmtool/library_files.h"
#include "tests/toolkit/qmtool/tool_test.h"

namespace qmtool_test {
namespace {

using qmtool::Image;
using qmtool::ImageFault;
using qmtool::ImageReading;
using qmtool::read_image;

std::vector<std::string_view> names_of_imports(const Image& image) {
  std::vector<std::string_view> names;
  for (const qmtool::Import& import : image.imports) names.push_back(import.library);
  return names;
}

TEST(Images, TellExportsAndImports) {
  const std::string content = content_of(built_library("importing"));
  const ImageReading reading = read_image(content);
  ASSERT_EQ(reading.fault, ImageFault::none) << reading.detail;
  EXPECT_EQ(reading.image.bits, static_cast<int>(sizeof(void*) * 8));
  EXPECT_FALSE(reading.image.is_program);
  EXPECT_TRUE(reading.image.exports_name("qm_call"));
  EXPECT_TRUE(reading.image.exports_name("qmmoduleinfo"));
  EXPECT_EQ(reading.image.exports.size(), 2u);
  const auto imports = names_of_imports(reading.image);
  const std::string near = "near" + built_library("near").extension().string();
  EXPECT_NE(std::ranges::find(imports, near), imports.end());
}

TEST(Images, TellTheNamesThatAreWanted) {
  const std::string content = content_of(built_library("near"));
  const ImageReading reading = read_image(content);
  std::vector<std::string_view> wanted = reading.image.wanted;
  for (const qmtool::Import& import : reading.image.imports) {
    wanted.insert(wanted.end(), import.names.begin(), import.names.end());
  }
  EXPECT_NE(std::ranges::find(wanted, "far_number"), wanted.end());
}

TEST(Images, MayImportThousandsOfLibraries) {
  const std::vector<std::string> libraries(5000, "another.dll");
  const std::string content = windows_library_importing(libraries);
  const ImageReading reading = read_image(content);
  EXPECT_EQ(reading.fault, ImageFault::none) << reading.detail;
  EXPECT_TRUE(std::ranges::equal(names_of_imports(reading.image), libraries));
}

TEST(Images, AreDamagedByANameWithoutAnEnd) {
  std::string content = windows_library_importing({"near.dll"});
  content.pop_back();
  const ImageReading reading = read_image(content);
  EXPECT_EQ(reading.fault, ImageFault::damaged);
  EXPECT_EQ(reading.detail, "holds a name without an end");
}

// Every text of a reading has to lie within the file.
void expect_inside(const ImageReading& reading, std::string_view file) {
  const auto inside = [&](std::string_view text) {
    return text.data() >= file.data() && text.data() + text.size() <= file.data() + file.size();
  };
  EXPECT_TRUE(std::ranges::all_of(reading.image.exports, inside));
  EXPECT_TRUE(std::ranges::all_of(reading.image.wanted, inside));
  EXPECT_TRUE(std::ranges::all_of(names_of_imports(reading.image), inside));
}

TEST(Images, EndWellWhereverTheyAreCut) {
  const std::string whole = content_of(built_library("near"));
  for (std::size_t size = 0; size < whole.size(); size += size < 2048 ? 1 : 97) {
    const std::string part = whole.substr(0, size);
    const ImageReading reading = read_image(part);
    expect_inside(reading, part);
    EXPECT_EQ(reading.fault == ImageFault::empty, size == 0);
  }
}

TEST(Images, EndWellWhateverIsInTheirHeaders) {
  const std::string whole = content_of(built_library("near"));
  for (std::size_t at = 0; at < 1024; ++at) {
    for (const char value : {'\0', '\1', '\x7F', '\xFF'}) {
      std::string changed = whole;
      changed[at] = value;
      expect_inside(read_image(changed), changed);
    }
  }
}

TEST(Images, OfTheOtherSystemAreRead) {
  const std::string content = for_other_system();
  const ImageReading reading = read_image(content);
  EXPECT_NE(reading.image.bits, 0);
  EXPECT_NE(qmtool::name_of(reading.image.format), "");
}

}  // namespace
}  // namespace qmtool_test
