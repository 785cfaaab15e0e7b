// The C++ client of the kernel, all of it. Each header below may also be included alone.
#pragma once

#include <qm/buffer.hpp>
#include <qm/children.hpp>
#include <qm/date_time.hpp>
#include <qm/error.hpp>
#include <qm/error_state.hpp>
#include <qm/files.hpp>
#include <qm/kernel.hpp>
#include <qm/kernel_library.hpp>
#include <qm/module_handle.hpp>
#include <qm/owner.hpp>
#include <qm/properties.hpp>
#include <qm/result.hpp>
#include <qm/slot.hpp>
#include <qm/text.hpp>
#include <qm/value.hpp>
#include <qm/variant.hpp>
#include <qm/version.hpp>
