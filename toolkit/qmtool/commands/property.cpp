// qmtool get, set, remove: the property store. "qmtool list /PATH" lists a node.
#include <qm/properties.hpp>

#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/properties.h"

namespace qmtool {
namespace {

constexpr CommandText kGetText = {"get", "Print a property",
                                  "  qmtool get /default/groups/x1200\n"
                                  "  qmtool list /default         the names below a node"};
constexpr CommandText kSetText = {"set", "Set a property and save the store",
                                  "  qmtool set /default/viewer \"qmjpeg8 : fast\"   an alias\n"
                                  "  qmtool set /default/groups/x1300 qmclock     a group"};
constexpr CommandText kRemoveText = {"remove", "Remove a property or a node and save the store",
                                     "  qmtool remove /default/viewer"};

struct Options {
  std::string path;
  std::string value;
};

int get(const Options& options, Tool& tool) {
  const std::string value = qm::read_property(tool.kernel(), options.path);
  if (tool.json) {
    print_json({{"path", options.path}, {"value", value}});
  } else {
    print_line(value);
  }
  return kDone;
}

int set(const Options& options, Tool& tool) {
  write_property(tool.kernel(), options.path, options.value);
  if (tool.json) print_json({{"path", options.path}, {"value", options.value}});
  return kDone;
}

int remove(const Options& options, Tool& tool) {
  remove_property(tool.kernel(), options.path);
  if (tool.json) print_json({{"path", options.path}});
  return kDone;
}

constexpr OptionText kPath = {"path", "PATH", "Path of the property, as in /default/groups/x1200"};

}  // namespace

void add_property_commands(CommandSet& commands) {
  const auto options = std::make_shared<Options>();
  commands.add(kGetText, options, &get).argument(options->path, kPath);
  commands.add(kSetText, options, &set)
      .argument(options->path, kPath)
      .argument(options->value, {"value", "VALUE", "The text to store"});
  commands.add(kRemoveText, options, &remove).argument(options->path, kPath);
}

}  // namespace qmtool
