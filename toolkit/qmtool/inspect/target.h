// A module as its user names it, and the files that the kernel tries for it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace qmtool {

struct Target {
  std::string name;            // what the kernel is asked to open
  std::filesystem::path file;  // empty when the module was not named by its file
};

// An argument with a folder or the ending of libraries in it is a file, anything else a name.
Target target_of(const std::string& argument);

enum class FileState { absent, file, other };

struct Candidate {
  std::filesystem::path path;
  std::string where;  // "the program's folder"
  FileState state;
};

// In the order in which they are tried, those that are not there included.
std::vector<Candidate> candidates_of(const Target& target);

// "name : group" of the property store; the last colon counts.
struct Alias {
  std::string name;
  std::string group;
};
Alias split_alias(const std::string& value);

}  // namespace qmtool
