// A writer of our own: the library's loses keys that begin with a quote, and the line break at the
// start of a text. It only prints numbers, booleans, dates and times.
#include "toolkit/qmproperty/document.h"

#include <algorithm>
#include <locale>
#include <sstream>
#include <string_view>
#include <utility>

namespace qmproperty {
namespace {

void append_escaped(std::string& out, char character) {
  constexpr std::string_view kNamed = "\b\t\n\f\r\"\\";
  constexpr std::string_view kNames = "btnfr\"\\";
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(character);
  if (const std::size_t at = kNamed.find(character); at != std::string_view::npos) {
    out.append({'\\', kNames[at]});
  } else if (byte < 0x20 || byte == 0x7F) {
    out.append({'\\', 'u', '0', '0', kDigits[byte >> 4], kDigits[byte & 0xF]});
  } else {
    out.push_back(character);
  }
}

std::string quoted(std::string_view text) {
  std::string out = "\"";
  for (const char character : text) append_escaped(out, character);
  return out + '"';
}

bool is_bare(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || character == '_' || character == '-';
}

std::string spell_key(std::string_view key) {
  const bool bare = !key.empty() && std::all_of(key.begin(), key.end(), is_bare);
  return bare ? std::string(key) : quoted(key);
}

std::string spell_array(const toml::array& array) {
  std::string out;
  for (const toml::node& item : array) out += (out.empty() ? "" : ", ") + spell_value(item);
  return '[' + out + ']';
}

std::string spell_inline(const toml::table& table) {
  std::string out;
  for (const auto& [key, value] : table) {
    out += (out.empty() ? " " : ", ") + spell_key(key.str()) + " = " + spell_value(value);
  }
  return '{' + out + " }";
}

// `header` is the table's own dotted name, empty for the root.
void append_table(std::string& out, const toml::table& table, const std::string& header) {
  const auto is_table = [](const auto& entry) { return entry.second.is_table(); };
  const bool only_leads_on = !table.empty() && std::all_of(table.begin(), table.end(), is_table);
  if (!header.empty() && !only_leads_on) {
    if (!out.empty()) out += '\n';
    out += '[' + header + "]\n";
  }
  for (const auto& [key, value] : table) {
    if (!value.is_table()) out += spell_key(key.str()) + " = " + spell_value(value) + '\n';
  }
  for (const auto& [key, value] : table) {
    if (const toml::table* const below = value.as_table(); below != nullptr) {
      append_table(out, *below, (header.empty() ? "" : header + '.') + spell_key(key.str()));
    }
  }
}

}  // namespace

std::string spell_value(const toml::node& value) {
  if (const auto* const text = value.as_string(); text != nullptr) return quoted(text->get());
  if (const auto* const array = value.as_array(); array != nullptr) return spell_array(*array);
  if (const auto* const table = value.as_table(); table != nullptr) return spell_inline(*table);
  std::ostringstream out;
  out.imbue(std::locale::classic());  // whatever locale the host has chosen
  out << toml::toml_formatter(value);
  return std::move(out).str();
}

std::string spell_document(const toml::table& root) {
  std::string out;
  append_table(out, root, {});
  return out;
}

}  // namespace qmproperty
