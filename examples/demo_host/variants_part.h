// The part of the demo about variants: values in a tree, paths into it, dates, copies.
#pragma once

namespace demo {

// Runs its steps, counting on from `number`; false when one of them failed.
bool run_variants_part(int& number);

}  // namespace demo
