#include "variants_part.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "print.h"
#include "qmsd7.h"
#include "step.h"

namespace demo {
namespace {

bool call(uint32_t function, void* record) { return qm_call(0, function, record) != 0; }

// One reference to a variant, given back at the end.
class Variant {
 public:
  Variant() = default;
  explicit Variant(qm_variant* taken) : variant_(taken) {}
  Variant(Variant&& from) noexcept : variant_(std::exchange(from.variant_, nullptr)) {}
  Variant& operator=(Variant&& from) noexcept {
    std::swap(variant_, from.variant_);
    return *this;
  }
  ~Variant() {
    if (variant_ != nullptr) call(QM_CALL_VARIANTRELEASE, variant_);
  }

  qm_variant* get() const { return variant_; }
  explicit operator bool() const { return variant_ != nullptr; }

 private:
  qm_variant* variant_ = nullptr;
};

// ---- Making and finding variants ----

Variant create(const qm_variant_create& request) {
  qm_variant_create record = request;
  check(call(QM_CALL_VARIANTCREATE, &record), "create a variant");
  return Variant(record.variant);
}

Variant container(const qm_wchar* name, int32_t id) {
  return create({nullptr, id, name, QM_TYPE_CONTAINER, 0, 0, nullptr});
}

// Becomes a number or a date-time if the text looks like one, else it is a text.
Variant recognised(const qm_wchar* name, const char* text) {
  const auto size = static_cast<int32_t>(std::strlen(text) + 1);
  return create({nullptr, 0, name, QM_TYPE_TEXT_AUTO, size, 1, text});
}

// The holder takes a reference of its own; that of the caller ends here.
bool append(uint32_t function, const Variant& holder, const Variant& child) {
  qm_variant_child record{holder.get(), QM_FIND_LAST, 0, 0, nullptr, child.get()};
  return child && check(call(function, &record), "insert");
}
bool add_item(const Variant& holder, const Variant& item) {
  return append(QM_CALL_VARIANTINSERTITEM, holder, item);
}
bool add_attribute(const Variant& holder, const Variant& attribute) {
  return append(QM_CALL_VARIANTINSERTATTRIBUTE, holder, attribute);
}

// Nothing behind the last child.
Variant child(uint32_t function, const Variant& holder, int32_t index) {
  qm_variant_child record{holder.get(), QM_FIND_INDEX, 0, index, nullptr, nullptr};
  return call(function, &record) ? Variant(record.child) : Variant();
}

Variant find(const Variant& root, const char* path) {
  qm_variant_path_a record{root.get(), path, nullptr};
  return call(QM_CALL_VARIANTPATHA, &record) ? Variant(record.result) : Variant();
}

// ---- Values as text ----

template <class Value>
Value value_of(const Variant& variant, int32_t type) {
  Value value{};
  qm_variant_convert record{variant.get(), 0, type, sizeof value, 1, &value, sizeof value};
  check(call(QM_CALL_VARIANTCONVERT, &record), "convert");
  return value;
}

std::string text_of(const Variant& variant) {
  char text[64] = "";
  qm_variant_convert record{variant.get(), 0, QM_TYPE_TEXT_UTF8, sizeof text, 1, text, sizeof text};
  check(call(QM_CALL_VARIANTCONVERT, &record), "convert to text");
  return text;
}

std::string elements_of(const Variant& array, int32_t count) {
  std::string list;
  for (int32_t i = 0; i < count; ++i) {
    char text[64] = "";
    qm_variant_array record{array.get(), sizeof text, QM_TYPE_TEXT, i, 1, text, sizeof text};
    check(call(QM_CALL_VARIANTREADARRAY, &record), "read an element");
    list += (i == 0 ? "" : ", ") + std::string(text);
  }
  return list;
}

std::string describe(const Variant& variant) {
  qm_wchar name[32];
  qm_variant_info_name info{
      variant.get(), 0, name, static_cast<int32_t>(std::size(name)), 0, 0, 0, 0};
  check(call(QM_CALL_VARIANTINFONAME, &info), "information");
  const std::string head = utf8(name);
  switch (info.type) {
    case QM_TYPE_CONTAINER:
      return head + ": " + std::to_string(info.nitems) + " items";
    case QM_TYPE_DATETIME:
      return head + ": date-time " + text_of(variant);
    case QM_TYPE_FLOATING:
      return head + ": number " + text_of(variant);
    case QM_TYPE_FLOATING_ARRAY:
      return head + ": numbers " + elements_of(variant, info.nitems);
    default:
      return head + ": text \"" + text_of(variant) + "\"";
  }
}

// Returns how many variants it met.
int say_tree(const Variant& variant, const std::string& indent) {
  say(indent + describe(variant));
  int met = 1;
  for (const uint32_t get : {QM_CALL_VARIANTGETATTRIBUTE, QM_CALL_VARIANTGETITEM}) {
    const std::string below = indent + (get == QM_CALL_VARIANTGETATTRIBUTE ? "  @" : "  ");
    for (int32_t i = 0; const Variant next = child(get, variant, i); ++i) {
      met += say_tree(next, below);
    }
  }
  return met;
}

// ---- The steps ----

// What one step leaves for the next.
struct Station {
  Variant tree;
};

Variant make_reading(int32_t id, const char* taken, const double (&wind)[3], const char* sky,
                     const Variant& sensor) {
  Variant reading = container(QM_W("reading"), id);
  const bool made = reading && add_attribute(reading, recognised(QM_W("taken"), taken)) &&
                    add_attribute(reading, sensor) &&
                    add_item(reading, create({nullptr, 0, QM_W("wind"), QM_TYPE_FLOATING_ARRAY,
                                              sizeof wind[0], 3, wind})) &&
                    add_item(reading, recognised(QM_W("sky"), sky));
  return made ? std::move(reading) : Variant();
}

// Both readings hold the same sensor, which has a reference from each.
bool build_tree(Station& station) {
  station.tree = container(QM_W("station"), 0);
  const Variant sensor = recognised(QM_W("sensor"), "cup anemometer");
  const bool built =
      station.tree && add_attribute(station.tree, recognised(QM_W("place"), "North Pier")) &&
      add_attribute(station.tree, recognised(QM_W("opened"), "1998-05-17")) &&
      add_attribute(station.tree, recognised(QM_W("height"), "12.5")) &&
      add_item(station.tree,
               make_reading(1, "2024-02-29 13:05", {3.5, 4.25, 2.75}, "clear", sensor)) &&
      add_item(station.tree, make_reading(2, "2024-02-29 14:05", {6.0, 7.5, 9.25}, "rain", sensor));
  if (!built) return false;
  qm_variant_info info{station.tree.get(), 0, 0, 0, 0, 0};
  if (!check(call(QM_CALL_VARIANTINFO, &info), "information")) return false;
  say(std::to_string(info.nattributes) + " attributes, " + std::to_string(info.nitems) + " items");
  return check(info.nattributes == 3 && info.nitems == 2, "all are in their places");
}

bool print_tree(Station& station) {
  return check(say_tree(station.tree, "") == 14, "the whole tree is there");
}

// A step of a path looks among the attributes, after an "L" among the items.
bool read_by_path(Station& station) {
  constexpr std::pair<const char*, const char*> kPaths[] = {
      {"place", "North Pier"},
      {"height", "12.5"},
      {"L,D=2/taken", "2024-02-29 14:05:00.000"},
      {"L,N=reading,X=1/L,N=sky", "rain"},
      {"[0]/L,V='clear'", "clear"},
  };
  for (const auto& [path, expected] : kPaths) {
    char text[64] = "";
    qm_variant_path_value_a record{station.tree.get(), path, 0,    QM_TYPE_TEXT,
                                   sizeof text,        1,    text, sizeof text};
    if (!check(call(QM_CALL_VARIANTPATHVALUEA, &record), path)) return false;
    say(std::string(path) + " -> " + text);
    if (!check(std::strcmp(text, expected) == 0, "the value that was stored")) return false;
  }
  if (!check(!find(station.tree, "L,D=2/weather"), "there is no weather")) return false;
  char message[200];
  qm_get_error_a error{0, message, sizeof message};
  const bool missing = qm_call(0, QM_CALL_GETERRORA, &error) == QM_ERROR_NOT_FOUND;
  say(std::string("L,D=2/weather -> ") + message);
  return check(missing, "not found");
}

// Each text becomes a date-time, which prints in one form and counts in several ways. What a text
// leaves open stays open: the year of a birthday, the day of a time.
bool use_dates(Station&) {
  constexpr std::pair<const char*, const char*> kDates[] = {
      {"2024-02-29T13:05:09.5", "2024-02-29 13:05:09.500"},
      {"20240229T1305", "2024-02-29 13:05:00.000"},
      {"2024-060", "2024-02-29"},
      {"2024-W09-4", "2024-02-29"},
      {"XXXX-05-17", "XXXX-05-17"},
      {"13:05", "13:05:00.000"},
  };
  for (const auto& [text, expected] : kDates) {
    const Variant date = recognised(nullptr, text);
    const std::string printed = text_of(date);
    say(std::string(text) + " -> " + printed);
    if (!check(printed == expected, "the date that was meant")) return false;
  }
  const Variant noon = recognised(nullptr, "1970-01-02 12:00");
  const auto milliseconds = value_of<int64_t>(noon, QM_TYPE_SIGNED);
  const auto days = value_of<double>(noon, QM_TYPE_FLOATING);
  char counts[80];
  std::snprintf(counts, sizeof counts, "%.0f ms after 1970 began, %g days after 1899-12-30",
                static_cast<double>(milliseconds), days);
  say(text_of(noon) + " is " + counts);
  return check(milliseconds == 129600000 && days == 25570.5, "the counts of that noon");
}

// The copy has nothing in common with the original, but what was one variant in it is one again.
bool copy_tree(Station& station) {
  qm_variant_copy record{station.tree.get(), nullptr};
  if (!check(call(QM_CALL_VARIANTCOPY, &record), "copy")) return false;
  const Variant copy(record.copy);

  const Variant sky = find(station.tree, "[1]/L,N=sky");
  qm_variant_create fog{sky.get(), 0, QM_W("sky"), QM_TYPE_TEXT, 4, 1, "fog"};
  if (!check(call(QM_CALL_VARIANTASSIGN, &fog), "assign")) return false;
  const std::string original = text_of(sky);
  const std::string copied = text_of(find(copy, "[1]/L,N=sky"));
  say("sky of the original: " + original + ", of the copy: " + copied);

  const Variant first = find(copy, "[0]/sensor");
  const Variant second = find(copy, "[1]/sensor");
  const Variant old = find(station.tree, "[0]/sensor");
  return check(original == "fog" && copied == "rain", "the copy stays as it was") &&
         check(first && first.get() == second.get(), "the readings still share their sensor") &&
         check(first.get() != old.get(), "which is not that of the original");
}

constexpr Step<Station> kSteps[] = {
    {"a tree of variants is built", build_tree},
    {"the tree is printed", print_tree},
    {"values are read by their paths", read_by_path},
    {"texts become dates", use_dates},
    {"the tree is copied", copy_tree},
};

}  // namespace

bool run_variants_part(int& number) { return run_steps<Station>(kSteps, number); }

}  // namespace demo
