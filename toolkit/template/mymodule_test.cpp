// Opens the module as any host does, and tries what it promises.
#include <cstdio>
#include <qm/client.hpp>

#include "mymodule.h"

namespace {

int failures = 0;

void check(bool passed, const char* what) {
  std::printf("%s: %s\n", passed ? "ok" : "FAILED", what);
  if (!passed) ++failures;
}

void try_module(qm::Kernel kernel) {
  const auto counter = qm::ModuleHandle::open(kernel, "mymodule");

  mymodule_count record{QM_W("  to be or not "), 0, 0};
  counter.call(MYMODULE_COUNT, &record);
  check(record.words == 4 && record.total == 4, "counts words");
  record.text = QM_W("");
  counter.call(MYMODULE_COUNT, &record);
  check(record.words == 0 && record.total == 4, "adds them up");

  const auto other = qm::ModuleHandle::open(kernel, "mymodule");
  other.call(MYMODULE_COUNT, &record);
  check(record.total == 0, "counts for each handle");

  record.text = nullptr;
  const auto refused = counter.try_call(MYMODULE_COUNT, &record);
  check(!refused && refused.error().code() == QM_ERROR_ARGUMENT, "wants a text");
  std::printf("    \"%s\"\n", std::string(refused.error().text()).c_str());

  counter.call(MYMODULE_RESET);
  record.text = QM_W("again");
  counter.call(MYMODULE_COUNT, &record);
  check(record.total == 1, "starts over");
}

}  // namespace

int main() try {
  try_module(qm::Kernel::linked());
  return failures == 0 ? 0 : 1;
} catch (const qm::Error& error) {
  std::printf("error %d: %s\n", static_cast<int>(error.code()), error.what());
  return 1;
}
