// Elements one after the other through their converter.
#include "variant/slice.h"

#include "variant/conversion_result.h"
#include "variant/element_converter.h"

namespace qmsd {

std::int32_t convert_slice(const Slice& slice) {
  const ElementConverter converter = element_converter(slice.type, slice.target_type);
  if (converter == nullptr) return refuse_conversion(QM_W("(type)"));
  std::int32_t total = 0;
  for (std::int32_t at = 0; at < slice.count; ++at) {
    const std::ptrdiff_t source_offset = std::ptrdiff_t{at} * slice.element_width;
    const std::ptrdiff_t target_offset = std::ptrdiff_t{at} * slice.target_width;
    const ConversionTarget target{slice.targets + target_offset,
                                  static_cast<std::int32_t>(slice.capacity - target_offset),
                                  slice.target_width};
    const std::int32_t written =
        converter(target, {slice.elements + source_offset, slice.element_width});
    if (written == kConversionFailed) return kConversionFailed;
    total += written;
  }
  return total;
}

}  // namespace qmsd
