// qmtool: looks at modules, tries them out, and asks the kernel from the command line.
#include "toolkit/qmtool/command.h"
#include "toolkit/qmtool/system/program.h"

int main(int count, char** arguments) {
  const qmtool::Utf8Console console;
  return qmtool::run_command_line(qmtool::command_line(count, arguments));
}
