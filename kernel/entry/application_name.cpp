#include "kernel/entry/application_name.h"

#include <cstddef>

#include "platform/library.h"

namespace qmsd {
namespace {

constexpr std::size_t kNameSize = 260;

char g_name[kNameSize];

}  // namespace

const char* application_name() noexcept { return g_name[0] != 0 ? g_name : "NOAPP"; }

void capture_application_name() noexcept { platform::executable_name(g_name, kNameSize); }

}  // namespace qmsd
