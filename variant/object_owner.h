// Tells the module that owns an object about references to it. Calls modules: no lock may be held.
#pragma once

#include "variant/variant.h"

namespace qmsd {

// If the module cannot be opened, or refuses, its error stays recorded and the caller goes on.
void take_object(const ObjectOwner& owner);
void give_object_back(const ObjectOwner& owner);

}  // namespace qmsd
