// A module that does not like the kernel that loads it, and has no functions.
#include <qm/module.hpp>

namespace {

void refuse() { throw qm::Failure(QM_ERROR_BUSY, "(loaded)"); }

constexpr auto kModule = qm::define_module({.name = QM_MODULE_NAME,
                                            .version = QM_MODULE_VERSION,
                                            .description = QM_MODULE_DESCRIPTION,
                                            .loaded = &refuse});

}  // namespace

QM_EXPORT_MODULE(kModule);
