// The C++ client of the kernel, all of it. Each header below may also be included alone.
#pragma once

#include <qm/error.hpp>
#include <qm/kernel.hpp>
#include <qm/kernel_library.hpp>
#include <qm/owner.hpp>
#include <qm/result.hpp>
#include <qm/text.hpp>
