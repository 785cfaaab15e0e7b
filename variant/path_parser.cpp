// Reads variant paths.
#include "variant/path_parser.h"

#include <algorithm>
#include <cstdint>

#include "services/text/digits.h"

namespace qmsd {
namespace {

// False when the slot was taken before.
bool take(bool& slot) {
  const bool was_free = !slot;
  slot = true;
  return was_free;
}

}  // namespace

qm_wchar PathParser::peek(std::size_t ahead) const noexcept {
  return at_ + ahead < path_.size() ? path_[at_ + ahead] : qm_wchar{0};
}

bool PathParser::at_separator(std::size_t ahead) const noexcept {
  return at_ + ahead >= path_.size() || peek(ahead) == ',' || peek(ahead) == '/';
}

void PathParser::skip_blanks() noexcept {
  while (peek() == ' ') ++at_;
}

qm_wchar PathParser::field_letter() const noexcept {
  switch (const qm_wchar letter = peek()) {
    case 'C':
    case 'L':
      return at_separator(1) ? letter : qm_wchar{0};
    case 'D':
    case 'N':
    case 'V':
    case 'X':
      return peek(1) == '=' ? letter : qm_wchar{0};
    default:
      return 0;
  }
}

PathParser::Result PathParser::next(PathStep& step) {
  if (at_ != 0 && peek() == '/') ++at_;
  if (at_ >= path_.size()) return Result::end;
  step = PathStep();
  skip_blanks();
  const bool read = peek() == '[' ? read_bracket(step) : read_fields(step);
  return read ? Result::step : Result::syntax;
}

bool PathParser::read_bracket(PathStep& step) {
  step.in_items = true;
  step.has_index = true;
  ++at_;
  skip_blanks();
  if (!read_integer(step.index)) return false;
  skip_blanks();
  if (peek() != ']') return false;
  ++at_;
  return at_ >= path_.size() || peek() == '/';
}

bool PathParser::read_fields(PathStep& step) {
  Slots slots;
  const bool opened =
      field_letter() != 0 ? read_field(step, slots) : read_opening_name(step, slots);
  if (!opened) return false;
  while (peek() == ',') {
    ++at_;
    skip_blanks();
    if (!read_field(step, slots)) return false;
  }
  return at_ >= path_.size() || peek() == '/' || (slots.cut && peek() == '[');
}

bool PathParser::read_field(PathStep& step, Slots& slots) {
  constexpr std::size_t kLetterAndSign = 2;
  switch (field_letter()) {
    case 'C':
    case 'L':
      if (!take(slots.list)) return false;
      step.in_items = peek() == 'L';
      ++at_;
      return true;
    case 'D':
      if (!take(slots.child)) return false;
      at_ += kLetterAndSign;
      step.child = PathStep::Child::by_id;
      return read_integer(step.id);
    case 'N':
      if (!take(slots.child)) return false;
      at_ += kLetterAndSign;
      return read_name(step, slots);
    case 'V':
      if (!take(slots.value)) return false;
      at_ += kLetterAndSign;
      return read_value(step);
    case 'X':
      if (!take(slots.index)) return false;
      at_ += kLetterAndSign;
      step.has_index = true;
      return read_integer(step.index);
    default:
      return false;
  }
}

bool PathParser::read_opening_name(PathStep& step, Slots& slots) {
  slots.child = true;
  step.child = PathStep::Child::by_name;
  step.name = read_bare(slots);
  return !step.name.empty();
}

bool PathParser::read_name(PathStep& step, Slots& slots) {
  step.child = PathStep::Child::by_name;
  if (peek() == '\'' || peek() == '"') return read_quoted(step.name);
  step.name = read_bare(slots);
  return true;
}

bool PathParser::read_value(PathStep& step) {
  if (peek() == '\'' || peek() == '"') {
    step.value = PathStep::Value::text;
    return read_quoted(step.text);
  }
  step.value = PathStep::Value::integer;
  return read_integer(step.integer);
}

// There are no escapes: a text with one kind of quote is written in the other.
bool PathParser::read_quoted(WideView& text) {
  const std::size_t begin = at_ + 1;
  const std::size_t end = path_.find(peek(), begin);
  if (end == WideView::npos) {
    at_ = path_.size();
    return false;
  }
  text = path_.substr(begin, end - begin);
  at_ = end + 1;
  return true;
}

WideView PathParser::read_bare(Slots& slots) noexcept {
  const std::size_t begin = at_;
  while (!at_separator() && peek() != ' ' && peek() != '[') ++at_;
  slots.cut = peek() == '[';
  return path_.substr(begin, at_ - begin);
}

// An optional sign, the base from the prefix, and at least one digit; clamped to 32 bits.
bool PathParser::read_integer(std::int32_t& value) {
  const bool negative = peek() == '-';
  if (negative || peek() == '+') ++at_;
  int base = peek() == '0' ? 8 : 10;
  if (base == 8 && (peek(1) == 'x' || peek(1) == 'X') && hexadecimal_value(peek(2)) < 16) {
    base = 16;
    at_ += 2;
  }
  if (hexadecimal_value(peek()) >= base) return false;
  constexpr std::int64_t kBeyond = std::int64_t{INT32_MAX} + 1;
  std::int64_t magnitude = 0;
  for (; hexadecimal_value(peek()) < base; ++at_) {
    magnitude = std::min(magnitude * base + hexadecimal_value(peek()), kBeyond);
  }
  value = static_cast<std::int32_t>(negative ? -magnitude
                                             : std::min<std::int64_t>(magnitude, INT32_MAX));
  return true;
}

}  // namespace qmsd
