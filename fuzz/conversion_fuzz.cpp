// Any value read as any type at any width: the target's neighbours stay untouched.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "include/qmsd7.h"
#include "kernel/entry/lifecycle.h"

namespace {

// What the first bytes of the input say; the rest is the value's data.
struct Header {
  std::uint8_t type;
  std::uint8_t size;
  std::uint8_t target_type;
  std::int8_t width;
  std::uint8_t capacity;
  std::uint8_t count;
};

constexpr std::int32_t kTypes[] = {0,   1,   2,   3,   4,   65,   66,   67,   68,
                                   128, 129, 130, 131, 132, 4226, 4227, 8322, 8323};
constexpr std::int32_t type_of(std::uint8_t choice) { return kTypes[choice % std::size(kTypes)]; }

constexpr std::size_t kRoom = 256;
constexpr std::size_t kGuard = 16;
constexpr unsigned char kPoison = 0xA5;

void convert(qm_variant* variant, const Header& header) {
  unsigned char room[kRoom + 2 * kGuard];
  std::memset(room, kPoison, sizeof room);
  qm_variant_convert record{
      variant,        0, type_of(header.target_type), header.width, header.count, room + kGuard,
      header.capacity};
  qm_call(0, QM_CALL_VARIANTCONVERT, &record);
  for (std::size_t at = 0; at < sizeof room; ++at) {
    const bool is_target = at >= kGuard && at < kGuard + header.capacity;
    if (!is_target && room[at] != kPoison) std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool attached = (qmsd::attach(), true);
  static_cast<void>(attached);
  Header header;
  if (size < sizeof header) return 0;
  std::memcpy(&header, data, sizeof header);
  unsigned char value[512] = {};
  std::memcpy(value, data + sizeof header, std::min(size - sizeof header, sizeof value));

  const std::int32_t type = type_of(header.type);
  const bool is_array = type > QM_TYPE_EMPTY_ARRAY && type < QM_TYPE_CONTAINER;
  const std::int32_t nitems = is_array ? header.count % 8 : 1;
  const bool has_data =
      type != QM_TYPE_EMPTY && type != QM_TYPE_CONTAINER && nitems != 0 && type != QM_TYPE_OBJECT;
  qm_variant_create made{nullptr,
                         0,
                         nullptr,
                         type,
                         header.size % 64,
                         has_data ? nitems : 0,
                         has_data ? value : nullptr};
  if (qm_call(0, QM_CALL_VARIANTCREATE, &made) == 0) return 0;
  convert(made.variant, header);
  qm_call(0, QM_CALL_VARIANTRELEASE, made.variant);
  return 0;
}
