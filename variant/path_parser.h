// The grammar of variant paths. Pure: reads text, finds no variants.
//
//   path    = [ step { "/" step } [ "/" ] ]
//   step    = blanks ( fields | name [ "," fields ] | bracket )
//   fields  = field { "," blanks field }
//   field   = "C" | "L" | "D=" integer | "N=" ( quoted | name ) | "V=" ( quoted | integer )
//           | "X=" integer
//   bracket = "[" blanks integer blanks "]"
//   quoted  = "'" text "'" | '"' text '"'
//
// A name runs to the first blank, comma or slash; cut at a "[", it ends its step and the bracket is
// the next one. "C" and "L" are fields only before the end, "," or "/"; other letters only before
// "=". Each slot (list, child, value, index) is given once in a step.
#pragma once

#include <cstddef>
#include <cstdint>

#include "services/text/text.h"

namespace qmsd {

// One selection of a child.
struct PathStep {
  enum class Child { any, by_id, by_name };
  enum class Value { any, text, integer };

  bool in_items = false;  // else in the attributes
  Child child = Child::any;
  std::int32_t id = 0;
  WideView name;
  Value value = Value::any;
  WideView text;
  std::int32_t integer = 0;
  bool has_index = false;
  std::int32_t index = 0;
};

class PathParser {
 public:
  explicit PathParser(WideView path) noexcept : path_(path) {}

  enum class Result { step, end, syntax };

  // Reads the next step. After a syntax error the position is that of the offending character, else
  // the end of the step.
  Result next(PathStep& step);
  std::int32_t position() const noexcept { return static_cast<std::int32_t>(at_); }

 private:
  // Which slots of the step are taken, and whether its name was cut at a bracket.
  struct Slots {
    bool list = false;
    bool child = false;
    bool value = false;
    bool index = false;
    bool cut = false;
  };

  // 0 at the end; a path holds no such character.
  qm_wchar peek(std::size_t ahead = 0) const noexcept;
  bool at_separator(std::size_t ahead = 0) const noexcept;
  void skip_blanks() noexcept;
  // The letter of the field that begins here, 0 when none does.
  qm_wchar field_letter() const noexcept;

  bool read_bracket(PathStep& step);
  bool read_fields(PathStep& step);
  bool read_field(PathStep& step, Slots& slots);
  bool read_opening_name(PathStep& step, Slots& slots);
  bool read_name(PathStep& step, Slots& slots);
  bool read_value(PathStep& step);
  bool read_quoted(WideView& text);
  bool read_integer(std::int32_t& value);
  WideView read_bare(Slots& slots) noexcept;

  WideView path_;
  std::size_t at_ = 0;
};

}  // namespace qmsd
