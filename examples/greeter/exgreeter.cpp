// exgreeter: a module in C++, made with the module kit. It keeps a text for each instance, reads a
// property, reports errors and hands a buffer to its caller.
#include "exgreeter.h"

#include <qm/module.hpp>

namespace {

// "/<group>/greeting" from the property store, or a greeting of our own.
qm::WideString choose_greeting(qm::WideView group) {
  if (!group.empty()) {
    qm_wchar text[64];
    const qm::WideString path = QM_W("/") + qm::WideString(group) + QM_W("/greeting");
    qm_property_text property{path.c_str(), text, 64};
    if (qm::module_kernel().try_call_at(QM_PROPERTY_HANDLE, QM_PROPERTY_READW, &property)) {
      return text;
    }
  }
  return QM_W("Hello");
}

// One for each open handle; the kernel's open and close create and destroy it. Nothing changes in
// it afterwards, so threads may share it.
class Greeter {
 public:
  explicit Greeter(const qm::Opening& opening) : greeting_(choose_greeting(opening.group())) {}

  void greet(exgreeter_greet_w& record) const {
    if (record.name == nullptr) throw qm::Failure(QM_ERROR_ARGUMENT, "(!name)");
    record.text =
        qm::tracked_copy(qm::module_kernel(), greeting_ + QM_W(", ") + record.name + QM_W("!"));
  }

 private:
  const qm::WideString greeting_;
};

constexpr auto kModule = qm::define_module<Greeter>(
    {.name = QM_MODULE_NAME, .version = QM_MODULE_VERSION, .description = QM_MODULE_DESCRIPTION},
    {{EXGREETER_GREETW, qm::handler<&Greeter::greet>}});

}  // namespace

QM_EXPORT_MODULE(kModule);
