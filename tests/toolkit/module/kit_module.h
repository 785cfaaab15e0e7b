// What the module of these tests understands: a handler of every form, in group 0x1300.
#pragma once

#include <cstdint>

#include "include/qmsd7.h"

namespace kit {

enum Code : std::uint32_t {
  kAdd = 0x13000000,       // Sum         the instance's sum
  kReset = 0x13000001,     // no record
  kPeek = 0x13000002,      // Sum or null: the sum of all instances' constructors then
  kRaw = 0x13000003,       // Number      returns it as it is
  kThrow = 0x13000004,     // Number      throws what Thrown names; needs no instance
  kCount = 0x13000005,     // Instances   needs no instance
  kRetain = 0x13000006,    // an object's value in place of a record
  kGiveUp = 0x13000007,    // the same
  kSucceed = 0x13000008,   // Number      a result: an error unless it is 0
  kMeanwhile = 0x13000009  // Meanwhile   calls back while the instance works
};

struct Sum {
  std::int32_t step;
  std::int32_t sum;
};

struct Number {
  std::int32_t value;
};

struct Instances {
  std::int32_t live;
  std::int32_t objects;  // retained and not given up
};

struct Meanwhile {
  void (*call)(Meanwhile& record);
  void* context;
  std::int32_t sum;  // of the instance, read after the call
};

// Values for kThrow, and the last character of a group that makes the constructor throw ("throw1").
enum Thrown {
  kFailure = 1,
  kKernelError,  // what a call of the kernel has left
  kOwnError,     // an Error with a text of its own, beyond ASCII
  kNoMemory,
  kInvalidArgument,
  kOutOfRange,
  kSystemError,  // errno 17
  kOtherException,
  kNoException  // an int
};

// Opened with the group "fields", an instance starts with the sum that this record has.
struct Open {
  qm_open_module_w common;
  std::int32_t sum;
};

}  // namespace kit
