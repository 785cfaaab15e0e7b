// Sets the runtime's locale for the length of a test.
#pragma once

#include <clocale>

namespace qmsd::platform {

class LocaleGuard {
 public:
  explicit LocaleGuard(const char* name, int category = LC_ALL) noexcept
      : accepted_(std::setlocale(category, name) != nullptr) {}
  ~LocaleGuard() { std::setlocale(LC_ALL, "C"); }
  LocaleGuard(const LocaleGuard&) = delete;
  LocaleGuard& operator=(const LocaleGuard&) = delete;

  bool accepted() const noexcept { return accepted_; }

 private:
  bool accepted_;
};

}  // namespace qmsd::platform
