// qmtool groups: which module serves which group of function codes.
#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/group_table.h"
#include "toolkit/qmtool/output.h"
#include "toolkit/qmtool/text.h"

namespace qmtool {
namespace {

constexpr CommandText kText = {"groups", "List the groups of function codes and their modules",
                               "  qmtool groups\n"
                               "  qmtool groups --json"};

struct Options {};

int run(const Options&, Tool& tool) {
  Json list = Json::array();
  Table table({"GROUP", "HANDLE", "MODULE", "FROM"});
  for (const Group& group : group_table(tool.kernel())) {
    const std::uint32_t handle = QM_GROUP_HANDLE(group.id);
    const char* const origin = group.from_store ? "property store" : "kernel";
    list.push_back(
        {{"group", group.id}, {"handle", handle}, {"module", group.module}, {"from", origin}});
    table.add({hexadecimal(group.id, 4), hexadecimal(handle), group.module, origin});
  }
  if (tool.json) {
    print_json(list);
  } else {
    table.print();
  }
  return kDone;
}

}  // namespace

void add_groups_command(CommandSet& commands) {
  commands.add(kText, std::make_shared<Options>(), &run);
}

}  // namespace qmtool
