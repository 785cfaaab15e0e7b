// The loader's constructor and destructor notices drive the kernel's start-up and shutdown; threads
// free their error state through the destructors of their thread slots.
#include "kernel/entry/application_name.h"
#include "kernel/entry/lifecycle.h"

namespace {

[[gnu::constructor]] void library_loaded() {
  qmsd::capture_application_name();
  qmsd::attach();
}

// The other threads live on here, unlike on Windows, so their locks are waited for.
[[gnu::destructor]] void library_unloaded() { qmsd::detach(false); }

}  // namespace
