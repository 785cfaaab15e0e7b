// A parameter record written as a list of fields, such as "u32:5 w:text out buf:256"; the help of
// "qmtool call" explains them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <qm/kernel.hpp>

#include "toolkit/qmtool/output.h"

namespace qmtool {

class Field;

// Lays the fields out as a C compiler would: numbers of 32 bits, pointers of the system's size.
class Record {
 public:
  // Errors: UsageError names the field that is none.
  explicit Record(const std::vector<std::string>& fields);
  ~Record();
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  // Null without fields: such calls get no record.
  void* data() noexcept;

  struct Value {
    std::string field;  // as it was written
    std::string text;   // as it is now
  };
  // What the fields hold after the call. Blocks that it handed out are given back.
  std::vector<Value> read(qm::Kernel kernel);

 private:
  std::vector<std::unique_ptr<Field>> fields_;
  std::vector<std::size_t> offsets_;
  std::vector<std::max_align_t> bytes_;
};

}  // namespace qmtool
