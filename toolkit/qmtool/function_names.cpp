#include "toolkit/qmtool/function_names.h"

#include <qmsd7.h>

#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

struct NamedCode {
  std::string_view name;  // without QM_CALL_
  std::uint32_t code;
};
constexpr NamedCode kCodes[] = {
#define QMTOOL_CODE(name) {#name, QM_CALL_##name},
#include <function_codes.inc>
#undef QMTOOL_CODE
};

}  // namespace

std::optional<std::uint32_t> function_code(std::string_view name) {
  std::string wanted = lower_case(name);
  if (wanted.starts_with("qm_call_")) wanted.erase(0, 8);
  for (const NamedCode& known : kCodes) {
    if (lower_case(known.name) == wanted) return known.code;
  }
  return std::nullopt;
}

}  // namespace qmtool
