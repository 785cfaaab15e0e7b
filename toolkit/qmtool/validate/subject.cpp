#include "toolkit/qmtool/validate/subject.h"

#include <algorithm>

#include "toolkit/qmtool/probe.h"
#include "toolkit/qmtool/validate/check.h"

namespace qmtool {

void Subject::enter(std::string_view stage) { report_.enter(stage); }

const std::filesystem::path& Subject::file() {
  if (!file_.empty()) return file_;
  const auto candidates = candidates_of(target_);
  const auto there = std::ranges::find(candidates, FileState::file, &Candidate::state);
  expect(there != candidates.end(),
         "there is no such file; \"qmtool inspect\" tells where it was looked for");
  return file_ = there->path;
}

const ImageReading& Subject::reading() {
  if (!bytes_) {
    bytes_.emplace(file());
    expect(bytes_->problem().empty(), "the file cannot be opened: " + bytes_->problem());
    reading_ = read_image(bytes_->bytes());
  }
  return reading_;
}

LoadedLibrary Subject::load() {
  std::string problem;
  LoadedLibrary library(file(), problem);
  expect(static_cast<bool>(library), "the library cannot be loaded: " + problem);
  return library;
}

qm::ModuleHandle Subject::open() { return open_with_group(options_.group); }

qm::ModuleHandle Subject::open_with_group(const std::string& group) {
  const std::optional<qm::Text> text =
      group.empty() ? std::nullopt : std::optional<qm::Text>(group);
  auto module = qm::ModuleHandle::try_open(kernel(), target_.name, text);
  if (!module) throw CheckFailure("opening fails with " + describe(module.error()));
  return std::move(module).value();
}

Instance Subject::open_instance() {
  Instance instance{open()};
  static_cast<void>(exported_information(load()));
  qm_resolve_handle record{instance.module.get(), 0, nullptr, nullptr};
  kernel().call(QM_CALL_RESOLVEHANDLE, &record);
  qm_handle_ref reference{record.handle};
  kernel().call(QM_CALL_UNREFHANDLE, &reference);
  instance.entry = record.entry;
  instance.handle = record.owner_handle;
  return instance;
}

const qm_module_info& Subject::exported_information(const LoadedLibrary& library) const {
  const auto* const info = static_cast<const qm_module_info*>(library.find("qmmoduleinfo"));
  if (info == nullptr) throw CheckSkipped("file.information-export failed");
  if (info->id == QM_EXTENDED_MODULE_ID) throw CheckSkipped("the module is of the older kind");
  return *info;
}

std::string describe(const qm::Error& error) {
  return "error " + std::to_string(error.code()) + ": " + std::string(error.text());
}

}  // namespace qmtool
