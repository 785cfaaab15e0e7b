#include "files_part.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "print.h"
#include "qmsd7.h"
#include "step.h"

namespace demo {
namespace {

bool call(uint32_t function, void* record) { return qm_call(0, function, record) != 0; }

// What the steps write goes with them.
struct Folder {
  static constexpr char kName[] = "demo_files";
  ~Folder() { std::filesystem::remove_all(kName); }
};

// ---- Whole files ----

bool write_file(const char* name, std::string text) {
  qm_file record{text.data(), name, static_cast<int32_t>(text.size()), QM_FILE_NAME_NARROW};
  return call(QM_CALL_WRITEFILE, &record);
}

// The contents are the caller's block: copied here, and given back.
bool read_file(const qm_wchar* name, std::string& text) {
  qm_file record{nullptr, name, 0, QM_FILE_NAME_WIDE};
  if (!call(QM_CALL_READFILE, &record)) return false;
  text.assign(static_cast<const char*>(record.data), static_cast<size_t>(record.size));
  qm_realloc block{record.data, 0};
  return call(QM_CALL_REALLOC, &block);
}

// Both slashes separate, and directories that are missing are made.
bool write_and_read(Folder&) {
  if (!check(write_file("demo_files//notes/first.txt", "Remember the milk."), "write") ||
      !check(write_file("demo_files/notes/first.txt", "Buy milk."), "replace")) {
    return false;
  }
  std::string text;
  if (!check(read_file(QM_W("demo_files\\notes\\first.txt"), text), "read")) return false;
  say("\"" + text + "\"");
  return check(text == "Buy milk.", "what was written last");
}

bool refused(const std::string& what, int32_t expected, std::string_view condition) {
  char text[200];
  qm_get_error_a error{0, text, sizeof text};
  const bool code_fits = qm_call(0, QM_CALL_GETERRORA, &error) == expected;
  say(what + " -> " + text);
  return check(code_fits && std::string_view(text).ends_with(condition), "the reason");
}

// The error says which step failed, and in the code's own text why.
bool meet_failures(Folder&) {
  std::string text = "untouched";
  return check(!read_file(QM_W("demo_files/none.txt"), text), "nothing is there") &&
         refused("reading none.txt", QM_ERROR_NOT_FOUND, "(file)") &&
         check(!write_file("demo_files/notes", ""), "a directory stays") &&
         refused("writing to notes", 21, "(file creation)") &&
         check(text == "untouched", "no text");
}

// ---- Slots ----
// Two parties that know nothing of each other but a number: modules, or a host and a module. The
// kernel keeps the bytes as long as one of them uses them.

struct Position {
  int32_t x;
  int32_t y;
};
static_assert(sizeof(Position) == 8, "a slot's bytes");

bool publish(int32_t& id, Position position) {
  qm_slot slot{};
  if (!check(call(QM_CALL_SLOTCREATE, &slot), "create a slot")) return false;
  *static_cast<Position*>(slot.data) = position;
  id = slot.id;
  return true;
}

bool follow(int32_t id, Position& position) {
  qm_slot slot{id, nullptr};
  if (!call(QM_CALL_SLOTJOIN, &slot)) return false;
  position = *static_cast<Position*>(slot.data);
  return true;
}

bool leave(int32_t id) {
  qm_slot slot{id, nullptr};
  return call(QM_CALL_SLOTRELEASE, &slot);
}

bool share_slot(Folder&) {
  int32_t id = 0;
  Position seen{};
  if (!publish(id, {12, 34}) || !check(follow(id, seen), "join")) return false;
  say("slot " + std::to_string(id) + " holds " + std::to_string(seen.x) + ", " +
      std::to_string(seen.y));
  return check(leave(id), "the publisher leaves") && check(leave(id), "the follower leaves") &&
         check(!follow(id, seen), "nobody keeps the slot") &&
         refused("joining slot " + std::to_string(id), QM_ERROR_NOT_FOUND, "(slot)") &&
         check(seen.x == 12 && seen.y == 34, "what was published");
}

constexpr Step<Folder> kSteps[] = {
    {"a file is written and read", write_and_read},
    {"files that cannot be read or written are explained", meet_failures},
    {"a slot is shared", share_slot},
};

}  // namespace

bool run_files_part(int& number) { return run_steps<Folder>(kSteps, number); }

}  // namespace demo
