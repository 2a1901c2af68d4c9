// A registered generator for tests: it delivers given numbers in turn, fails at a given fill and looks at what it is
// called under.
#pragma once
#include <arko/state.h>
#include <arko/stream.h>

#include <cstdint>
#include <vector>

namespace arko::test {

struct script {
  std::vector<double> numbers = {0.5};
  int fails_at = 0;         // the number of a fill, from 1; 0 for none
  std::int32_t answer = 0;  // of the other fills
  int fills = 0;            // so far
  std::size_t delivered = 0;
  std::uint32_t mode = 0;  // as the last fill found it

  static constexpr std::int32_t failure = -77;
};
inline script played;

template <class T> std::int32_t play(std::int32_t n, T* r) {
  played.mode = arko_zur_kernel_GetMode();
  if (++played.fills == played.fails_at) return script::failure;
  while (n-- > 0) *r++ = static_cast<T>(played.numbers[played.delivered++ % played.numbers.size()]);
  return played.answer;
}

// The code of the generator. The script starts anew.
inline std::int32_t scripted(script s) {
  static const std::int32_t code = [] {
    const BrngProperties row = {sizeof(BrngStream),
                                1,
                                1,
                                4,
                                32,
                                [](std::int32_t, void*, std::int32_t, const void*) { return KOV_STATUS_OK; },
                                [](void*, std::int32_t n, float* r, float, float) { return play(n, r); },
                                [](void*, std::int32_t n, double* r, double, double) { return play(n, r); },
                                [](void*, std::int32_t n, std::uint32_t* r) { return play(n, r); }};
    return __kovRegisterBrng(&row);
  }();
  played = s;
  return code;
}

}  // namespace arko::test
