#include "toolkit/qmtool/tool.h"

#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/system/process.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {

qm::Kernel Tool::kernel() {
  if (library_) return library_;
  forget_crash();
  auto loaded = qm::KernelLibrary::try_load(
      kernel_file.empty() ? std::filesystem::path(kKernelLibrary) : path_of(kernel_file));
  if (!loaded) end_if_crashed();
  library_ = std::move(loaded).value();
  return library_;
}

}  // namespace qmtool
