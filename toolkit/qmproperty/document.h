// Spells a tree as TOML text.
#pragma once

#include <toml++/toml.h>

#include <string>

namespace qmproperty {

// A value as a document would show it; strings are quoted.
std::string spell_value(const toml::node& value);

// A whole document: of each table the values first, then the tables below it under their headers.
std::string spell_document(const toml::table& root);

}  // namespace qmproperty
