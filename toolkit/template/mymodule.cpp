// mymodule: counts words.
#include "mymodule.h"

#include <atomic>
#include <qm/module.hpp>

namespace {

// Opening the module makes one of these, closing the handle ends it. Threads may share a handle.
class Counter {
 public:
  void count(mymodule_count& record) {
    if (record.text == nullptr) throw qm::Failure(QM_ERROR_ARGUMENT, "(!text)");
    record.words = words_of(record.text);
    record.total = total_ += record.words;
  }

  void reset() { total_ = 0; }

 private:
  static std::int32_t words_of(qm::WideView text) {
    std::int32_t words = 0;
    bool inside = false;
    for (const qm_wchar unit : text) {
      if (unit != ' ' && !inside) ++words;
      inside = unit != ' ';
    }
    return words;
  }

  std::atomic<std::int32_t> total_ = 0;
};

constexpr auto kModule = qm::define_module<Counter>(
    {.name = QM_MODULE_NAME, .version = QM_MODULE_VERSION, .description = QM_MODULE_DESCRIPTION},
    {
        {MYMODULE_COUNT, qm::handler<&Counter::count>},
        {MYMODULE_RESET, qm::handler<&Counter::reset>},
    });

}  // namespace

QM_EXPORT_MODULE(kModule);
