// qmtool list: the module libraries that are installed, or the names below a property.
#include <algorithm>
#include <map>
#include <system_error>

#include <qm/version.hpp>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/image/image.h"
#include "toolkit/qmtool/inspect/target.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/properties.h"
#include "toolkit/qmtool/system/files.h"
#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/system/program.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {"list",
                               "List the installed modules, or a node of the property store",
                               "  qmtool list\n"
                               "  qmtool list 'ex*'\n"
                               "  qmtool list --all            libraries that are no modules, too\n"
                               "  qmtool list /default/groups  what is below a property"};

struct Options {
  std::string pattern = "*";
  bool all = false;
};

struct Library {
  std::filesystem::path file;
  std::string name;
  qm::Version version;
  std::string description;
  std::string kind;  // "32-bit x86 Windows library"
  int bits = 0;
  bool is_loaded_by_name = false;
};

class CurrentFolder {
 public:
  explicit CurrentFolder(const std::filesystem::path& folder)
      : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(folder);
  }
  ~CurrentFolder() {
    std::error_code ignored;
    std::filesystem::current_path(before_, ignored);
  }
  CurrentFolder(const CurrentFolder&) = delete;
  CurrentFolder& operator=(const CurrentFolder&) = delete;

 private:
  std::filesystem::path before_;
};

// The kernel's listing, the current folder first.
std::vector<qm::InstalledModule> listing(qm::Kernel kernel, const std::string& pattern) {
  auto modules = qm::list_modules(kernel, pattern);
  for (qm::InstalledModule& module : modules) {
    module.path = utf8(std::filesystem::absolute(path_of(module.path)).lexically_normal());
  }
  return modules;
}

// Seen from there, a folder that the kernel does not list is the current one.
std::vector<qm::InstalledModule> listing_of(const Folder& folder, qm::Kernel kernel,
                                            const std::string& pattern) {
  if (!std::filesystem::is_directory(folder.path)) return {};
  const CurrentFolder there(folder.path);
  auto modules = listing(kernel, pattern);
  std::erase_if(modules, [&](const qm::InstalledModule& module) {
    return path_of(module.path).parent_path() != folder.path;
  });
  return modules;
}

std::vector<qm::InstalledModule> complete_listing(qm::Kernel kernel, const std::string& pattern) {
  std::vector<qm::InstalledModule> modules;
  const auto append = [&](std::vector<qm::InstalledModule> more) {
    for (qm::InstalledModule& module : more) {
      const bool known =
          std::ranges::find(modules, module.path, &qm::InstalledModule::path) != modules.end();
      if (!known) modules.push_back(std::move(module));
    }
  };
  for (const Folder& folder : unlisted_folders()) append(listing_of(folder, kernel, pattern));
  append(listing(kernel, pattern));
  return modules;
}

std::string description_of(qm::Kernel kernel, const std::string& file) {
  const auto texts = qm::try_version_texts(kernel, file);
  if (!texts) return "";
  const auto text = std::ranges::find(*texts, "FileDescription", &qm::VersionText::key);
  return text != texts->end() ? text->value : "";
}

bool is_loaded_by_name(const Library& library) {
  for (const Candidate& candidate : candidates_of({library.name, {}})) {
    if (candidate.state != FileState::file) continue;
    std::error_code ignored;
    return std::filesystem::equivalent(candidate.path, library.file, ignored);
  }
  return false;
}

std::vector<Library> find_libraries(qm::Kernel kernel, const Options& options) {
  std::vector<Library> libraries;
  for (const qm::InstalledModule& module : complete_listing(kernel, options.pattern)) {
    Library library{path_of(module.path), "", module.version, "", "", 0, false};
    const MappedFile file(library.file);
    const Image image = read_image(file.bytes()).image;
    const bool is_module = image.exports_name("qm_call") || image.exports_name("qmmoduleinfo");
    const bool is_kernel = is_module && !image.exports_name("qmmoduleinfo");
    if (!options.all && (!is_module || is_kernel)) continue;
    library.name = utf8(library.file.stem());
    library.bits = image.bits;
    library.description = description_of(kernel, module.path);
    library.is_loaded_by_name = is_loaded_by_name(library);
    libraries.push_back(std::move(library));
  }
  return libraries;
}

std::vector<std::string> warnings_about(const std::vector<Library>& libraries) {
  std::map<std::string, std::vector<const Library*>> by_name;
  for (const Library& library : libraries) by_name[library.name].push_back(&library);
  std::vector<std::string> warnings;
  const auto here = std::filesystem::current_path();
  for (const auto& [name, copies] : by_name) {
    const auto loaded = std::ranges::find_if(
        copies, [](const Library* library) { return library->is_loaded_by_name; });
    const std::string counts = loaded != copies.end()
                                   ? utf8((*loaded)->file) + " is the one that loads"
                                   : "none of them loads by its name";
    if (copies.size() > 1) {
      warnings.push_back(name + " is there " + std::to_string(copies.size()) + " times; " + counts +
                         ".");
    }
    if (loaded != copies.end() && (*loaded)->file.parent_path() == here &&
        here != program_file().parent_path()) {
      warnings.push_back(name +
                         " is loaded from the current folder; a program that runs in another " +
                         "folder does not find it there.");
    }
  }
  return warnings;
}

void print_libraries(const std::vector<Library>& libraries) {
  std::vector<std::filesystem::path> folders;
  for (const Library& library : libraries) {
    const auto folder = library.file.parent_path();
    if (std::ranges::find(folders, folder) == folders.end()) folders.push_back(folder);
  }
  for (const auto& folder : folders) {
    print_line(utf8(folder));
    Table table({"  NAME", "VERSION", "BITS", "DESCRIPTION"});
    for (const Library& library : libraries) {
      if (library.file.parent_path() != folder) continue;
      table.add({"  " + library.name, library.version.text(), std::to_string(library.bits),
                 library.description});
    }
    table.print();
    print_line();
  }
}

Json json_of(const std::vector<Library>& libraries, const std::vector<std::string>& warnings) {
  Json modules = Json::array();
  for (const Library& library : libraries) {
    modules.push_back({{"name", library.name},
                       {"file", utf8(library.file)},
                       {"version", library.version.text()},
                       {"bits", library.bits},
                       {"description", library.description},
                       {"loads", library.is_loaded_by_name}});
  }
  return {{"modules", modules}, {"warnings", warnings}};
}

int list_node(const std::string& path, Tool& tool) {
  const std::vector<std::string> names = list_property(tool.kernel(), path).value();
  if (tool.json) {
    print_json({{"path", path}, {"names", names}});
  } else {
    for (const std::string& name : names) print_line(name);
  }
  return kDone;
}

int run(const Options& options, Tool& tool) {
  // No pattern of a file name begins like that, and every path of a property does.
  if (options.pattern.starts_with('/')) return list_node(options.pattern, tool);
  const std::vector<Library> libraries = find_libraries(tool.kernel(), options);
  const std::vector<std::string> warnings = warnings_about(libraries);
  if (tool.json) {
    print_json(json_of(libraries, warnings));
  } else {
    print_libraries(libraries);
    for (const std::string& warning : warnings) print_line("Note: " + warning);
    if (libraries.empty()) print_line("There are no such modules.");
  }
  return kDone;
}

}  // namespace

void add_list_command(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  commands.add(kText, options, &run)
      .optional_argument(options->pattern, {"pattern", "PATTERN|PATH",
                                            "File name pattern without ending, or a property"})
      .flag(options->all, "--all", "Also list libraries that are no modules");
}

}  // namespace qmtool
