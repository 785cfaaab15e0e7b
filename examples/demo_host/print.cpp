// Output of the demo host.
#include "print.h"

#include <cstdio>

namespace demo {

std::string utf8(const qm_wchar* text) {
  std::string bytes;
  for (; text != nullptr && *text != 0; ++text) {
    auto character = static_cast<unsigned long>(*text);
    const bool pair = character >= 0xD800 && character < 0xDC00 && text[1] != 0;
    if (pair) {
      ++text;
      character =
          0x10000 + ((character - 0xD800) << 10) + (static_cast<unsigned long>(*text) - 0xDC00);
    }
    const auto put = [&](unsigned long byte) { bytes.push_back(static_cast<char>(byte)); };
    if (character < 0x80) {
      put(character);
      continue;
    }
    if (character < 0x800) {
      put(0xC0 | (character >> 6));
    } else {
      put(character < 0x10000 ? 0xE0 | (character >> 12) : 0xF0 | (character >> 18));
      if (pair) put(0x80 | ((character >> 12) & 0x3F));
      put(0x80 | ((character >> 6) & 0x3F));
    }
    put(0x80 | (character & 0x3F));
  }
  return bytes;
}

std::string version_text(uint32_t packed) {
  std::string text = std::to_string(packed >> 24);
  for (const int shift : {16, 8, 0}) text += "." + std::to_string((packed >> shift) & 0xFF);
  return text;
}

void say(const std::string& line) { std::printf("     %s\n", line.c_str()); }

bool check(bool passed, const char* what) {
  if (passed) return true;
  char text[512];
  qm_get_error_a error{0, text, sizeof text};
  qm_call(0, QM_CALL_GETERRORA, &error);
  say(std::string("failed: ") + what + " (error " + std::to_string(error.code) + ": " + text + ")");
  return false;
}

}  // namespace demo
