#include "toolkit/qmtool/inspect/trial.h"

#include <optional>

#include <qm/module_handle.hpp>
#include <qm/properties.hpp>

#include "toolkit/qmtool/group_table.h"
#include "toolkit/qmtool/inspect/target.h"
#include "toolkit/qmtool/properties.h"
#include "toolkit/qmtool/system/convention.h"
#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

Json describe(const qm_module_info& info) {
  Json json = {{"id", info.id},
               {"version", qm::Version{info.version}.text()},
               {"entry", info.call != nullptr}};
  if (info.description != nullptr) json["description"] = info.description;
  if (info.description_wide != nullptr) {
    json["description_wide"] = qm::to_utf8(info.description_wide);
  }
  return json;
}

Json describe(const std::vector<qm::VersionText>& texts) {
  Json json = Json::array();
  for (const qm::VersionText& text : texts) json.push_back({text.key, text.value});
  return json;
}

Json groups_of(qm::Kernel kernel, const std::string& module) {
  Json ids = Json::array();
  for (const Group& group : group_table(kernel)) {
    if (group.module == module) ids.push_back(group.id);
  }
  return ids;
}

// Sends what the store says and returns the name that will be loaded in the end.
std::string report_alias(qm::Kernel kernel, const std::string& name, const std::string& group,
                         Report& report) {
  const std::string path = "/" + (group.empty() ? std::string("default") : group) + "/" + name;
  const auto value = qm::try_read_property(kernel, path);
  if (!value) return name;
  const Alias alias = split_alias(*value);
  report.send(
      {{"alias",
        {{"path", path}, {"value", *value}, {"name", alias.name}, {"group", alias.group}}}});
  return alias.name;
}

void report_opened(const qm::ModuleHandle& module, Report& report) {
  qm_resolve_handle resolved{module.get(), 0, nullptr, nullptr};
  if (module.kernel().try_call(QM_CALL_RESOLVEHANDLE, &resolved)) {
    qm_handle_ref reference{resolved.handle};
    module.kernel().call(QM_CALL_UNREFHANDLE, &reference);
    report.send({{"file", utf8(file_of_address(reinterpret_cast<const void*>(resolved.entry)))}});
  }
  const auto info = module.try_info();
  // Modules of the older kind answer with a record of their own.
  if (info && (*info)->id == QM_MODULE_ID) report.send({{"information", describe(**info)}});
  if (const auto texts = module.try_version_texts()) report.send({{"versions", describe(*texts)}});
}

// What the kernel does with a library file, one stage after the other. A stage that fails sends why
// and ends the trial.
class StepByStep {
 public:
  StepByStep(Tool& tool, Report& report) : tool_(tool), report_(report) {}

  void run(const std::filesystem::path& file, const std::string& group) {
    if (!load(file) || !ask_for_information()) return;
    // Not before: should this be the property module, the kernel would use it at its own start.
    report_.enter("kernel");
    kernel_ = tool_.kernel();
    if (tell_entry() && open(group)) close();
    report_.enter("unload");
    library_ = {};
  }

 private:
  bool refuse(const char* cause, const std::string& words) {
    report_.send({{"refusal", {{"cause", cause}, {"words", words}}}});
    return false;
  }

  bool load(const std::filesystem::path& file) {
    report_.enter("load");
    std::string problem;
    library_ = LoadedLibrary(file, problem);
    return library_ || refuse("load-refused", problem);
  }

  bool ask_for_information() {
    report_.enter("information");
    const auto* const exported = static_cast<const qm_module_info*>(library_.find("qmmoduleinfo"));
    if (exported == nullptr) return refuse("no-information", "");
    if (exported->id == QM_MODULE_ID) return take_entry(exported->call);
    const bool extended = exported->id == QM_EXTENDED_MODULE_ID;
    const auto call = reinterpret_cast<qm_call_fn>(library_.find("qm_call"));
    if (call == nullptr) {
      return extended || refuse("foreign-identifier", hexadecimal(exported->id));
    }
    qm_info_request request{nullptr};
    if (call(0, QM_CALL_GETKERNELINFO, &request) == 0) return refuse("information-refused", "");
    if (request.info == nullptr) return extended || refuse("information-empty", "");
    if (request.info->id == QM_MODULE_ID) return take_entry(request.info->call);
    return extended || refuse("foreign-identifier", hexadecimal(request.info->id));
  }

  bool take_entry(qm_call_fn entry) {
    entry_ = entry;
    return entry_ != nullptr || refuse("no-entry", "");
  }

  // Without an entry of the usual kind the module speaks the older protocol, which only the kernel
  // knows.
  bool tell_entry() {
    if (entry_ == nullptr) return true;
    report_.enter("notice");
    qm_kernel_entry notice{kernel_.entry()};
    const auto [result, drift] = call_measured(entry_, 0, QM_CALL_SETKERNELENTRY, &notice);
    return drift == 0 || refuse("calling-convention", std::to_string(drift));
  }

  bool open(const std::string& group) {
    if (entry_ == nullptr) return false;
    report_.enter("open");
    const qm::Text wide_group = group;
    qm_open_module_w record{QM_W("qmtool"), group.empty() ? nullptr : wide_group.c_str(), 0};
    if (entry_(0, QM_CALL_OPENMODULEW, &record) == 0) {
      return refuse("open-refused", std::string(kernel_.error().text()));
    }
    handle_ = record.handle;
    return true;
  }

  void close() {
    report_.enter("close");
    qm_handle_ref record{handle_};
    entry_(handle_, QM_CALL_CLOSEHANDLE, &record);
  }

  Tool& tool_;
  Report& report_;
  qm::Kernel kernel_;
  LoadedLibrary library_;
  qm_call_fn entry_ = nullptr;
  std::uint32_t handle_ = 0;
};

}  // namespace

void open_by_kernel(const std::vector<std::string>& arguments, Tool& tool, Report& report) {
  const std::string& name = arguments.at(0);
  const std::string& group = arguments.at(1);
  report.enter("kernel");
  const qm::Kernel kernel = tool.kernel();
  const std::string resolved = report_alias(kernel, name, group, report);
  report.send({{"groups", groups_of(kernel, resolved)}});

  report.enter("open");
  const std::optional<qm::Text> wide_group =
      group.empty() ? std::nullopt : std::optional<qm::Text>(group);
  auto module = qm::ModuleHandle::try_open(kernel, name, wide_group);
  if (!module) {
    const qm::Error& error = module.error();
    report.send({{"error", {{"code", error.code()}, {"message", error.text()}}}});
    return;
  }
  report_opened(*module, report);
  report.enter("close");
  module->reset();
  report.send({{"opened", true}});
}

void load_step_by_step(const std::vector<std::string>& arguments, Tool& tool, Report& report) {
  StepByStep(tool, report).run(path_of(arguments.at(0)), arguments.at(1));
}

}  // namespace qmtool
