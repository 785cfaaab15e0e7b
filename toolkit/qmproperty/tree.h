// The tree of values in memory. Knows TOML and paths, but no file, no lock and no caller.
#pragma once

#include <toml++/toml.h>

#include <string>
#include <string_view>

#include "toolkit/qmproperty/result.h"

namespace qmproperty {

// All text is UTF-8. A failed change leaves the tree as it was.
class Tree {
 public:
  // Fails with the line and column of the first thing that is not TOML.
  Result parse(std::string_view document);
  std::string document() const;

  Result read(std::string_view path, std::string& value) const;
  // The children's names, each followed by CR LF.
  Result list(std::string_view path, std::string& names) const;
  Result write(std::string_view path, std::string_view value);
  Result remove(std::string_view path);

 private:
  toml::table root_;
};

}  // namespace qmproperty
