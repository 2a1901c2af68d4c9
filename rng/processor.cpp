// What the processor has that some generators need. It is asked once, when the module is loaded: in a virtual machine
// each question takes as long as a thousand numbers.
#include "rng/processor.h"

#include <arko/core.h>
#include <cpuid.h>
#include <immintrin.h>

#include "rng/stream.h"

namespace kov {
namespace {

struct features {
  unsigned ecx = 0, edx = 0;  // of leaf 1; nothing where the processor has no such leaf
};
features leaf_1() {
  features f;
  unsigned eax, ebx;
  __get_cpuid(1, &eax, &ebx, &f.ecx, &f.edx);
  return f;
}

const features processor = leaf_1();
const std::int32_t has_vaes = arko_serv_cpuisicx();

}  // namespace

[[gnu::target("rdrnd")]] bool rdrand(std::uint32_t& x) { return _rdrand32_step(&x) != 0; }

}  // namespace kov

KOV_EXPORT std::int32_t __kovCPUisRDRAND() { return (kov::processor.ecx & bit_RDRND) != 0; }

KOV_EXPORT std::int32_t __kovCPUisAES() {
  return (kov::processor.edx & bit_SSE2) != 0 && (kov::processor.ecx & bit_AES) != 0;
}

KOV_EXPORT std::int32_t __kovCPUisVAES() { return kov::has_vaes; }
