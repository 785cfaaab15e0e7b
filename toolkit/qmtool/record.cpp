#include "toolkit/qmtool/record.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

#include <qm/buffer.hpp>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {

// One field: what it puts into the record, and what the record's place for it holds afterwards.
class Field {
 public:
  explicit Field(std::string written) : written_(std::move(written)) {}
  virtual ~Field() = default;
  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;

  const std::string& written() const noexcept { return written_; }
  virtual std::size_t size() const { return sizeof(void*); }
  virtual void store(void* place) const = 0;
  virtual std::string show(const void* place, qm::Kernel kernel) const = 0;

 protected:
  template <class T>
  static T load(const void* place) {
    T value;
    std::memcpy(&value, place, sizeof value);
    return value;
  }

 private:
  std::string written_;
};

namespace {

constexpr std::int64_t kLargestBuffer = 1 << 24;

std::string in_quotes(std::string_view text) { return '"' + std::string(text) + '"'; }

std::string pointer_text(const void* pointer) {
  if (pointer == nullptr) return "null";
  return hexadecimal(reinterpret_cast<std::uintptr_t>(pointer), 2 * sizeof pointer);
}

class NumberField : public Field {
 public:
  NumberField(std::string written, std::uint32_t number, bool is_signed)
      : Field(std::move(written)), number_(number), is_signed_(is_signed) {}

  std::size_t size() const override { return sizeof number_; }
  void store(void* place) const override { std::memcpy(place, &number_, sizeof number_); }
  std::string show(const void* place, qm::Kernel) const override {
    const auto number = load<std::uint32_t>(place);
    const std::string decimal =
        is_signed_ ? std::to_string(static_cast<std::int32_t>(number)) : std::to_string(number);
    return decimal + " (" + hexadecimal(number) + ")";
  }

 private:
  std::uint32_t number_;
  bool is_signed_;
};

class FloatingField : public Field {
 public:
  FloatingField(std::string written, double number) : Field(std::move(written)), number_(number) {}

  std::size_t size() const override { return sizeof number_; }
  void store(void* place) const override { std::memcpy(place, &number_, sizeof number_); }
  std::string show(const void* place, qm::Kernel) const override {
    char text[32];
    const auto end = std::to_chars(std::begin(text), std::end(text), load<double>(place)).ptr;
    return {std::begin(text), end};
  }

 private:
  double number_;
};

class PointerField : public Field {
 public:
  using Field::Field;
  void store(void* place) const override { std::memset(place, 0, sizeof(void*)); }
  std::string show(const void* place, qm::Kernel) const override {
    return pointer_text(load<void*>(place));
  }
};

// Points to memory of the field's own, which the call may write.
template <class Unit>
class BufferField : public Field {
 public:
  using Text = std::basic_string<Unit>;
  BufferField(std::string written, Text content)
      : Field(std::move(written)), content_(std::move(content)) {}

  void store(void* place) const override {
    const Unit* const start = content_.c_str();
    std::memcpy(place, &start, sizeof start);
  }
  std::string show(const void* place, qm::Kernel) const override {
    const auto* const pointer = load<const Unit*>(place);
    // What the call put there instead may be anything.
    if (pointer != content_.c_str()) return pointer_text(pointer);
    return show_content();
  }

 protected:
  const Text& content() const { return content_; }
  virtual std::string show_content() const {
    const Text text = content_.substr(0, content_.find(Unit{}));
    if constexpr (sizeof(Unit) == 1) {
      return in_quotes(text);
    } else {
      return in_quotes(qm::to_utf8(text));
    }
  }

 private:
  Text content_;
};

class BytesField : public BufferField<char> {
 public:
  using BufferField::BufferField;

 private:
  std::string show_content() const override {
    constexpr std::size_t kShown = 64;
    std::string text;
    for (const char byte : content().substr(0, kShown)) {
      text += hexadecimal(static_cast<unsigned char>(byte), 2).substr(2) + ' ';
    }
    if (content().size() > kShown) return text + "...";
    return text.substr(0, text.size() - 1);
  }
};

// A text that the call hands out.
template <class Unit>
class HandedOutField : public PointerField {
 public:
  using PointerField::PointerField;
  std::string show(const void* place, qm::Kernel kernel) const override {
    auto* const pointer = load<void*>(place);
    if (pointer == nullptr) return "null";
    const auto block = qm::Buffer::try_adopt(kernel, pointer);
    if (!block) return pointer_text(pointer) + ", no tracked block";
    const auto units = block->template bytes<Unit>();
    const std::basic_string<Unit> text(units.begin(), std::ranges::find(units, Unit{}));
    if constexpr (sizeof(Unit) == 1) {
      return in_quotes(text);
    } else {
      return in_quotes(qm::to_utf8(text));
    }
  }
};

[[noreturn]] void refuse(const std::string& field) {
  throw UsageError("'" + field + "' is no field; \"qmtool call --help\" shows their forms");
}

std::uint32_t number_of(const std::string& field, std::string_view text, std::int64_t lowest,
                        std::int64_t highest) {
  const auto number = parse_number(text);
  if (!number || *number < lowest || *number > highest) refuse(field);
  return static_cast<std::uint32_t>(*number);
}

double floating_of(const std::string& field, std::string_view text) {
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) refuse(field);
  return number;
}

std::unique_ptr<Field> field_without_value(const std::string& field) {
  if (field == "null") return std::make_unique<PointerField>(field);
  if (field == "out") return std::make_unique<NumberField>(field, 0, false);
  if (field == "wout") return std::make_unique<HandedOutField<qm_wchar>>(field);
  if (field == "aout") return std::make_unique<HandedOutField<char>>(field);
  refuse(field);
}

std::unique_ptr<Field> make_field(const std::string& field) {
  const std::size_t colon = field.find(':');
  if (colon == std::string::npos) return field_without_value(field);
  const std::string kind = field.substr(0, colon);
  const std::string value = field.substr(colon + 1);
  const auto length = [&] { return number_of(field, value, 1, kLargestBuffer); };
  if (kind == "u32") {
    return std::make_unique<NumberField>(field, number_of(field, value, 0, UINT32_MAX), false);
  }
  if (kind == "i32") {
    return std::make_unique<NumberField>(field, number_of(field, value, INT32_MIN, INT32_MAX),
                                         true);
  }
  if (kind == "f64") return std::make_unique<FloatingField>(field, floating_of(field, value));
  if (kind == "w") return std::make_unique<BufferField<qm_wchar>>(field, qm::to_wide(value));
  if (kind == "a") return std::make_unique<BufferField<char>>(field, value);
  if (kind == "buf") return std::make_unique<BytesField>(field, std::string(length(), 0));
  if (kind == "abuf") {
    return std::make_unique<BufferField<char>>(field, std::string(length(), 0));
  }
  if (kind == "wbuf") {
    return std::make_unique<BufferField<qm_wchar>>(field, qm::WideString(length(), 0));
  }
  refuse(field);
}

}  // namespace

Record::Record(const std::vector<std::string>& fields) {
  std::size_t end = 0;
  for (const std::string& field : fields) {
    fields_.push_back(make_field(field));
    const std::size_t size = fields_.back()->size();
    offsets_.push_back((end + size - 1) / size * size);
    end = offsets_.back() + size;
  }
  bytes_.resize((end + sizeof(std::max_align_t) - 1) / sizeof(std::max_align_t));
  auto* const start = static_cast<char*>(data());
  for (std::size_t i = 0; i < fields_.size(); ++i) fields_[i]->store(start + offsets_[i]);
}

Record::~Record() = default;

void* Record::data() noexcept { return fields_.empty() ? nullptr : bytes_.data(); }

std::vector<Record::Value> Record::read(qm::Kernel kernel) {
  std::vector<Value> values;
  const auto* const start = static_cast<const char*>(data());
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    values.push_back({fields_[i]->written(), fields_[i]->show(start + offsets_[i], kernel)});
  }
  return values;
}

}  // namespace qmtool
