// Arithmetic that comes out differently where the float flags of the kernels are missing. Compiled with those
// flags and with fused multiply-add at hand.

namespace arko::test {

// Four lanes of a b + c, each operation rounded.
void multiply_add(const float* a, const float* b, const float* c, float* r) {
  typedef float vec __attribute__((vector_size(16)));
  vec x, y, z;
  __builtin_memcpy(&x, a, sizeof x), __builtin_memcpy(&y, b, sizeof y), __builtin_memcpy(&z, c, sizeof z);
  const vec s = x * y + z;
  __builtin_memcpy(r, &s, sizeof s);
}

// 1/3 in the rounding of the moment.
void third(double* r) { *r = 1.0 / 3.0; }

}  // namespace arko::test
