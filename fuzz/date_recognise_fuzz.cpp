// Any bytes and any zone through the recogniser: it consumes no more than there is, the same again
// when given only that, and finds a value exactly when it consumed something.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "variant/time/recognise.h"

using namespace qmsd;

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::int32_t zone_offset = 0;
  if (size < sizeof zone_offset) return 0;
  std::memcpy(&zone_offset, data, sizeof zone_offset);
  const std::string text(data + sizeof zone_offset, data + size);

  const RecognisedTime result = recognise_date_time(text, zone_offset);
  require(result.consumed <= text.size());
  require((result.consumed == 0) == (result.value == DateTime()));
  require(result.value != DateTime::invalid());
  if (result.value.has_time()) {
    require(result.value.time_of_day() >= 0 && result.value.time_of_day() < kMicrosecondsPerDay);
  }
  const RecognisedTime again = recognise_date_time(text.substr(0, result.consumed), zone_offset);
  require(again.consumed == result.consumed && again.value == result.value);
  return 0;
}
