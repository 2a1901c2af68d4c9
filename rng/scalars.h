// Scalar functions that distributions and statistics use beside the exported _kovdLn, _kovdSqrt, _kovdFloor.
#pragma once

namespace [[gnu::visibility("hidden")]] kov {

// Natural logarithm, computed in double. Whatever has no finite logarithm gives -103.27893.
float ScalarLnF(float x);

}  // namespace kov
