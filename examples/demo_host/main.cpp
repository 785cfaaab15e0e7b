// The demo host: one function for each thing that a host does with the kernel, and a table of them.
// This part is about modules and the kernel itself; the others have files of their own.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>

#include "excounter.h"
#include "exgreeter.h"
#include "files_part.h"
#include "print.h"
#include "qmsd7.h"
#include "step.h"
#include "variants_part.h"

namespace {

using demo::check;
using demo::say;
using demo::utf8;

// What one step leaves for the next.
struct Demo {
  uint32_t greeter = 0;  // opened by its name
  uint32_t welcome = 0;  // the same module, opened by an alias
  uint32_t counter = 0;
  qm_wchar* text = nullptr;  // a tracked block that the greeter handed out
  std::basic_string<qm_wchar> greeter_file;
};

bool call(uint32_t handle, uint32_t function, void* record) {
  return qm_call(handle, function, record) != 0;
}

// Gives a tracked block back.
bool release(void* block) {
  qm_realloc record{block, 0};
  return call(0, QM_CALL_REALLOC, &record);
}

bool kernel_answers(Demo&) {
  qm_info_request kernel{};
  if (!check(call(0, QM_CALL_NOP, nullptr), "no operation")) return false;
  if (!check(call(0, QM_CALL_GETKERNELINFO, &kernel), "kernel information")) return false;
  say(std::string(kernel.info->description) + ", version " +
      demo::version_text(kernel.info->version));
  return true;
}

// Looks in the current directory, the PATH and the system's `qm` folder.
bool list_modules(Demo& demo) {
  qm_list_modules_w list{};
  list.pattern = QM_W("ex*er");
  if (!check(call(0, QM_CALL_LISTMODULESW, &list), "list modules")) return false;
  for (int32_t i = 0; i < list.count; ++i) {
    say(utf8(list.paths[i]) + ", version " + demo::version_text(list.versions[i]));
    if (utf8(list.paths[i]).find("exgreeter") != std::string::npos) {
      demo.greeter_file = list.paths[i];
    }
    release(list.paths[i]);
  }
  release(list.paths);
  release(list.versions);
  return check(!demo.greeter_file.empty(), "the example modules have to be in this directory");
}

// The file qmproperty.toml says that "welcome" is the greeter, with the property group "formal".
bool open_modules(Demo& demo) {
  qm_open_module_w by_name{QM_W("exgreeter"), nullptr, 0};
  qm_open_module_w by_alias{QM_W("welcome"), nullptr, 0};
  qm_open_module_a narrow{"excounter", nullptr, 0};
  const bool opened = check(call(0, QM_CALL_OPENMODULEW, &by_name), "open exgreeter") &&
                      check(call(0, QM_CALL_OPENMODULEW, &by_alias), "open welcome") &&
                      check(call(0, QM_CALL_OPENMODULEA, &narrow), "open excounter");
  demo.greeter = by_name.handle;
  demo.welcome = by_alias.handle;
  demo.counter = narrow.handle;
  char line[100];
  std::snprintf(line, sizeof line, "exgreeter %08x, welcome %08x, excounter %08x",
                static_cast<unsigned>(demo.greeter), static_cast<unsigned>(demo.welcome),
                static_cast<unsigned>(demo.counter));
  say(line);
  return opened;
}

bool greet(uint32_t handle, const qm_wchar* name, qm_wchar*& text) {
  exgreeter_greet_w record{name, nullptr};
  if (!check(call(handle, EXGREETER_GREETW, &record), "greet")) return false;
  text = record.text;
  say(utf8(text));
  return true;
}

bool call_by_handle(Demo& demo) {
  qm_wchar* formal = nullptr;
  if (!greet(demo.greeter, QM_W("Ada"), demo.text) || !greet(demo.welcome, QM_W("Ada"), formal)) {
    return false;
  }
  const bool differs = utf8(demo.text) == "Hello, Ada!" && utf8(formal) == "Good evening, Ada!";
  return check(release(formal), "release") && check(differs, "the alias brings its own greeting");
}

// The file qmproperty.toml says that excounter serves group 0x1200: no handle is needed then.
bool call_by_group(Demo& demo) {
  excounter_add mine{5, 0};
  excounter_add shared{2, 0};
  if (!check(call(demo.counter, EXCOUNTER_ADD, &mine), "count") ||
      !check(call(QM_GROUP_HANDLE(0x1200), EXCOUNTER_ADD, &shared), "count by group")) {
    return false;
  }
  say("instance counts " + std::to_string(mine.value) + ", group counts " +
      std::to_string(shared.value));
  return check(mine.value == 5 && shared.value == 2, "each counts on its own");
}

// A block that a module allocated is resized, measured, checked and released by the host.
bool use_buffer(Demo& demo) {
  qm_realloc block{demo.text, 999};
  if (!check(call(0, QM_CALL_REALLOC, &block), "resize")) return false;
  qm_mem_size size{block.pointer, 0};
  const bool sound = check(call(0, QM_CALL_MEMSIZE, &size), "measure") &&
                     check(call(0, QM_CALL_MEMCHECK, nullptr), "check all blocks");
  const std::string text = utf8(static_cast<qm_wchar*>(block.pointer));
  say("\"" + text + "\" in " + std::to_string(size.size) + " bytes");
  return check(release(block.pointer), "release") &&
         check(sound && text == "Hello, Ada!" && size.size == 1000, "the text stays");
}

// An error belongs to the thread. Its text is the code's own, here from qmproperty.toml, and behind
// it what the module says.
bool read_errors(Demo& demo) {
  qm_wchar wide[200];
  char narrow[200];
  qm_get_error_w error{0, wide, static_cast<int32_t>(std::size(wide))};
  qm_get_error_a again{0, narrow, sizeof narrow};
  excounter_add record{EXCOUNTER_LIMIT, 0};
  if (!check(!call(demo.counter, EXCOUNTER_ADD, &record), "the limit holds")) return false;
  qm_call(0, QM_CALL_GETERRORW, &error);
  say(utf8(wide));

  // Saved while another call fails, then taken back.
  const bool saved = call(0, QM_CALL_PUSHERROR, nullptr);
  const bool other = !call(0, 0x1000ABCD, nullptr) && qm_call(0, QM_CALL_GETERRORA, &again) == 22;
  say(narrow);
  const bool restored = call(0, QM_CALL_POPERROR, nullptr) &&
                        qm_call(0, QM_CALL_GETERRORA, &again) == EXCOUNTER_ERROR_LIMIT;
  say(narrow);
  return check(error.code == EXCOUNTER_ERROR_LIMIT, "the module's code") &&
         check(utf8(wide).starts_with("Counter limit reached."), "the code's own text") &&
         check(saved && other && restored && utf8(wide) == narrow, "push and pop");
}

bool say_versions(const qm_version_props* props) {
  for (uint32_t i = 0; i < props->count; ++i) {
    say(utf8(props->pairs[i].key) + ": " + utf8(props->pairs[i].value));
  }
  return props->count != 0;
}

// The texts of a file are the caller's block; those of an open module stay the kernel's.
bool read_versions(Demo& demo) {
  qm_version_info_w file{demo.greeter_file.c_str(), nullptr};
  if (!check(call(0, QM_CALL_VERSIONINFOW, &file), "version of a file")) return false;
  const bool told = say_versions(file.props);
  qm_module_version module{};
  const bool same = check(call(demo.counter, QM_CALL_MODULEVERSIONINFO, &module), "of a module") &&
                    say_versions(module.props);
  return check(release(file.props), "release") && told && same;
}

// A handle lives as long as it has references. Who calls a module very often may resolve the handle
// and call the module itself; that reference is given back like any other.
bool count_references(Demo& demo) {
  qm_handle_ref handle{demo.counter};
  qm_resolve_handle direct{demo.counter, 0, nullptr, nullptr};
  if (!check(call(0, QM_CALL_REFHANDLE, &handle), "add a reference") ||
      !check(call(0, QM_CALL_RESOLVEHANDLE, &direct), "resolve")) {
    return false;
  }
  excounter_add record{1, 0};
  direct.entry(direct.owner_handle, EXCOUNTER_ADD, &record);
  say("called directly: " + std::to_string(record.value));
  return check(call(0, QM_CALL_UNREFHANDLE, &handle), "give back the first") &&
         check(call(0, QM_CALL_CLOSEHANDLE, &handle), "give back the second") &&
         check(handle.handle == demo.counter && record.value == 6, "the handle is still open");
}

int count_blocks() {
  int blocks = 0;
  for (qm_mem_info info{}; call(0, QM_CALL_MEMINFO, &info); ++info.index) {
    if (info.pointer != nullptr) ++blocks;
  }
  return blocks;
}

// The last reference closes the module's instance and sets the host's variable to 0.
bool close_all(Demo& demo) {
  const uint32_t closed = demo.counter;
  for (uint32_t* handle : {&demo.greeter, &demo.welcome, &demo.counter}) {
    qm_handle_ref record{*handle};
    if (!check(call(0, QM_CALL_CLOSEHANDLE, &record), "close")) return false;
    *handle = record.handle;
  }
  excounter_add record{1, 0};
  const int blocks = count_blocks();
  say("tracked blocks left: " + std::to_string(blocks));
  return check(demo.greeter + demo.welcome + demo.counter == 0, "the handles are gone") &&
         check(!call(closed, EXCOUNTER_ADD, &record), "a closed handle does not answer") &&
         check(blocks == 0, "no block is left");
}

constexpr demo::Step<Demo> kSteps[] = {
    {"the kernel answers", kernel_answers},
    {"installed modules are listed", list_modules},
    {"modules open by name and by alias", open_modules},
    {"modules are called through their handles", call_by_handle},
    {"a module is called through its group", call_by_group},
    {"a module's buffer is the host's to use", use_buffer},
    {"a module's error is read, saved and restored", read_errors},
    {"version information is read", read_versions},
    {"handles are counted and resolved", count_references},
    {"everything is closed", close_all},
};

}  // namespace

int main(int, char** arguments) {
  // The modules lie beside this program, and listing looks in the current directory.
  std::filesystem::current_path(std::filesystem::absolute(arguments[0]).parent_path());
  int number = 0;
  if (!demo::run_steps<Demo>(kSteps, number) || !demo::run_variants_part(number) ||
      !demo::run_files_part(number)) {
    std::printf("FAILED\n");
    return 1;
  }
  std::printf("All %d steps passed.\n", number);
  return 0;
}
