#include "toolkit/qmtool/inspect/imports.h"

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <system_error>

#include "toolkit/qmtool/inspect/fitness.h"
#include "toolkit/qmtool/system/files.h"
#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

struct LibraryFile {
  explicit LibraryFile(std::filesystem::path where)
      : path(std::move(where)), bytes(path), reading(read_image(bytes.bytes())) {}

  std::filesystem::path path;
  MappedFile bytes;
  ImageReading reading;
};

// Goes through the imports of imports, each library once, nearest first.
class ImportWalk {
 public:
  ImportReport run(const std::filesystem::path& library, const Image& image) {
    queue_.push_back({library, &image, {utf8(library.filename())}});
    while (!queue_.empty()) {
      const Node node = std::move(queue_.front());
      queue_.pop_front();
      for (const Import& import : node.image->imports) follow(node, import);
      wanted_.emplace_back(node.wanted_by, node.image);
    }
    if (report_.problems.empty()) check_wanted_names();
    return std::move(report_);
  }

 private:
  struct Node {
    std::filesystem::path path;
    const Image* image;
    std::vector<std::string> wanted_by;
  };

  void follow(const Node& node, const Import& import) {
    const std::string name(import.library);
    LibraryFile* const file = resolve(node, name);
    if (file != nullptr) check_names(node, import, *file);
  }

  // The file of an import; null when it has none that could be looked into.
  LibraryFile* resolve(const Node& node, const std::string& name) {
    const std::string key = kOwnFormat == ImageFormat::pe ? lower_case(name) : name;
    const auto known = std::ranges::find(known_, key, &Known::name);
    if (known != known_.end()) return known->file;
    LibraryFile* const file = open(node, name);
    known_.push_back({key, file});
    return file;
  }

  LibraryFile* open(const Node& node, const std::string& name) {
    if (needs_no_file(name)) {
      report_.found.push_back({name, {}});
      return nullptr;
    }
    // What is part of this process already has all that it needs.
    const std::filesystem::path loaded = loaded_file(name);
    const std::filesystem::path path = loaded.empty() ? find(node, name) : loaded;
    if (path.empty()) {
      add_problem({ImportProblem::Kind::missing, name, "", "", beside(node, name), node.wanted_by});
      return nullptr;
    }
    files_.push_back(std::make_unique<LibraryFile>(path));
    LibraryFile& file = *files_.back();
    const Unfitness unfitness = unfitness_of(file.reading);
    if (unfitness.cause != nullptr) {
      add_problem({ImportProblem::Kind::unfit, name, "", unfitness.detail, path, node.wanted_by});
      return nullptr;
    }
    report_.found.push_back({name, path});
    if (loaded.empty()) {
      std::vector<std::string> wanted_by = node.wanted_by;
      wanted_by.push_back(name);
      queue_.push_back({path, &file.reading.image, std::move(wanted_by)});
    }
    return &file;
  }

  static std::filesystem::path find(const Node& node, const std::string& name) {
    const std::filesystem::path path = path_of(name);
    if (path.has_parent_path()) return is_file(path) ? path : std::filesystem::path();
    for (const Folder& folder : import_folders(node.path, *node.image)) {
      if (is_file(folder.path / path)) return folder.path / path;
    }
    return {};
  }

  // Where beginners put it.
  static std::filesystem::path beside(const Node& node, const std::string& name) {
    const auto path = node.path.parent_path() / path_of(name);
    return is_file(path) ? path : std::filesystem::path();
  }

  static bool is_file(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
  }

  void check_names(const Node& node, const Import& import, const LibraryFile& file) {
    const auto& exports = sorted_exports(file);
    for (const std::string_view name : import.names) {
      if (exports.contains(name)) continue;
      add_problem({ImportProblem::Kind::function, std::string(import.library), std::string(name),
                   "", file.path, node.wanted_by});
    }
  }

  const std::set<std::string_view>& sorted_exports(const LibraryFile& file) {
    const auto [at, is_new] = exports_.try_emplace(&file);
    if (is_new)
      at->second.insert(file.reading.image.exports.begin(), file.reading.image.exports.end());
    return at->second;
  }

  // Linux: any library may serve a name.
  void check_wanted_names() {
    std::set<std::string_view> served;
    for (const auto& file : files_) {
      served.insert(file->reading.image.exports.begin(), file->reading.image.exports.end());
    }
    for (const auto& [wanted_by, image] : wanted_) {
      for (const std::string_view name : image->wanted) {
        if (served.contains(name) || is_symbol_at_hand(name)) continue;
        add_problem({ImportProblem::Kind::function, "", std::string(name), "", {}, wanted_by});
      }
    }
  }

  void add_problem(ImportProblem problem) { report_.problems.push_back(std::move(problem)); }

  struct Known {
    std::string name;
    LibraryFile* file;
  };

  ImportReport report_;
  std::deque<Node> queue_;
  std::vector<Known> known_;
  std::vector<std::unique_ptr<LibraryFile>> files_;
  std::map<const LibraryFile*, std::set<std::string_view>> exports_;
  std::vector<std::pair<std::vector<std::string>, const Image*>> wanted_;
};

}  // namespace

ImportReport check_imports(const std::filesystem::path& library, const Image& image) {
  return ImportWalk().run(library, image);
}

}  // namespace qmtool
