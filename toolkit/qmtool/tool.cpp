#include "toolkit/qmtool/tool.h"

#include "toolkit/qmtool/system/libraries.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {

qm::Kernel Tool::kernel() {
  if (!library_) {
    library_ = qm::KernelLibrary::load(kernel_file.empty() ? std::filesystem::path(kKernelLibrary)
                                                           : path_of(kernel_file));
  }
  return library_;
}

}  // namespace qmtool
