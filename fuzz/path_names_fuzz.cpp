// File names of any kind: the normal form is one, and root and parent lie within the path.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "services/files/path_names.h"

namespace {

using qmsd::WideView;

void require(bool condition) {
  if (!condition) std::abort();
}

bool holds(WideView text, WideView part) { return text.find(part) != WideView::npos; }

void check_parents(WideView path) {
  while (true) {
    require(qmsd::path_root_length(path) <= path.size());
    const WideView parent = qmsd::parent_of(path);
    if (parent == QM_W(".") || parent == path) return;
    require(parent.size() < path.size() && path.starts_with(parent));
    path = parent;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Of exactly its size, so that the sanitizer sees the text left.
  const std::size_t length = size / sizeof(qm_wchar);
  const auto text = std::make_unique<qm_wchar[]>(length + 1);
  if (length != 0) std::memcpy(text.get(), data, length * sizeof(qm_wchar));
  const std::size_t before = WideView(text.get()).size();
  check_parents(text.get());

  qmsd::normalise_path(text.get());
  const WideView normal = text.get();
  require(normal.size() <= before);
  require(!holds(normal, QM_W("/")) && !holds(normal, QM_W("...")));
  require(normal.empty() || !holds(normal.substr(1), QM_W("\\\\")));
  check_parents(normal);
  return 0;
}
