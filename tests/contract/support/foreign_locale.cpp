#include "tests/contract/support/foreign_locale.h"

#include "tests/contract/support/shared_library.h"

namespace contract {

#ifdef _WIN32

ForeignLocale::ForeignLocale(const LocaleNames& names) : name_(names.windows) {}

#else

ForeignLocale::ForeignLocale(const LocaleNames& names) : name_(names.linux_name) {
  place_.emplace("LOCPATH", (program_file().parent_path() / "locales").string());
}

#endif

}  // namespace contract
