#include "toolkit/qmtool/inspect/target.h"

#include <algorithm>
#include <system_error>

#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

FileState state_of(const std::filesystem::path& path) {
  std::error_code ignored;
  const auto status = std::filesystem::status(path, ignored);
  if (!std::filesystem::exists(status)) return FileState::absent;
  return std::filesystem::is_regular_file(status) ? FileState::file : FileState::other;
}

}  // namespace

Target target_of(const std::string& argument) {
  const std::filesystem::path path = path_of(argument);
  const bool has_ending = lower_case(utf8(path.extension())) == kLibraryExtension;
  if (!path.has_parent_path() && !has_ending) return {argument, {}};
  auto file = std::filesystem::absolute(path).lexically_normal().make_preferred();
  // The kernel itself adds the ending to what it is asked for.
  auto name = file;
  if (has_ending) name.replace_extension();
  return {utf8(name), std::move(file)};
}

std::vector<Candidate> candidates_of(const Target& target) {
  if (!target.file.empty()) return {{target.file, "as given", state_of(target.file)}};
  std::vector<Folder> folders = library_folders();
  folders.push_back(family_folder());
  std::vector<Candidate> candidates;
  for (const Folder& folder : folders) {
    const auto path = folder.path / path_of(target.name + std::string(kLibraryExtension));
    if (std::ranges::find(candidates, path, &Candidate::path) == candidates.end()) {
      candidates.push_back({path, folder.what, state_of(path)});
    }
  }
  return candidates;
}

Alias split_alias(const std::string& value) {
  const std::size_t colon = value.rfind(':');
  if (colon == std::string::npos) return {value, ""};
  std::string name = value.substr(0, colon);
  std::string group = value.substr(colon + 1);
  name.erase(name.find_last_not_of(' ') + 1);
  group.erase(0, std::min(group.find_first_not_of(' '), group.size()));
  return {name, group};
}

}  // namespace qmtool
