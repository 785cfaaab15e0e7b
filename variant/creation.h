// Creates variants from creation records.
#pragma once

#include "include/qmsd7.h"
#include "variant/release_list.h"

namespace qmsd {

// A new variant with one reference, or nothing with an error recorded. Takes no lock; the owner of
// an object reference is called.
VariantOwner create_variant(const qm_variant_create& request);

}  // namespace qmsd
