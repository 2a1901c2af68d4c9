// What the processor has that some generators need.
#include <arko/core.h>
#include <cpuid.h>

#include "rng/stream.h"

namespace kov { namespace {

struct features {
  unsigned ecx = 0, edx = 0;  // of leaf 1; nothing where the processor has no such leaf
};
features leaf_1() {
  features f;
  unsigned eax, ebx;
  __get_cpuid(1, &eax, &ebx, &f.ecx, &f.edx);
  return f;
}

}  // namespace
}  // namespace kov

KOV_EXPORT std::int32_t __kovCPUisRDRAND() { return (kov::leaf_1().ecx & bit_RDRND) != 0; }

KOV_EXPORT std::int32_t __kovCPUisAES() {
  const kov::features f = kov::leaf_1();
  return (f.edx & bit_SSE2) != 0 && (f.ecx & bit_AES) != 0;
}

KOV_EXPORT std::int32_t __kovCPUisVAES() { return arko_serv_cpuisicx(); }
