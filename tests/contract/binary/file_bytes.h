// The bytes of a file, read with every access checked against its end.
#pragma once

#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace binary {

class FileBytes {
 public:
  explicit FileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot open " + path);
    bytes_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }

  template <typename Record>
  Record at(std::size_t offset) const {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (offset > bytes_.size() || bytes_.size() - offset < sizeof(Record)) {
      throw std::out_of_range("record beyond the end of the file");
    }
    Record record;
    std::memcpy(&record, bytes_.data() + offset, sizeof record);
    return record;
  }

  template <typename Record>
  std::vector<Record> array_at(std::size_t offset, std::size_t count) const {
    std::vector<Record> records;
    for (std::size_t i = 0; i < count; ++i) {
      records.push_back(at<Record>(offset + i * sizeof(Record)));
    }
    return records;
  }

  std::string text_at(std::size_t offset) const {
    std::string text;
    for (char c = at<char>(offset); c != '\0'; c = at<char>(++offset)) text.push_back(c);
    return text;
  }

 private:
  std::vector<char> bytes_;
};

}  // namespace binary
