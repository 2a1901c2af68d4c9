// Abs: bit patterns in and out, and whose denormal handling holds.

#include <gtest/gtest.h>

#include "tests/support/child.h"
#include "tests/support/probes.h"
#include "tests/support/registry.h"

namespace {

using namespace arko::test;

struct row {
  std::uint64_t x, unit, twin;  // the unit-stride kernels keep the sign of a NaN
};
constexpr row singles[] = {
    {0x00000000, 0x00000000, 0x00000000}, {0x80000000, 0x00000000, 0x00000000},
    {0xBF800000, 0x3F800000, 0x3F800000}, {0x42280000, 0x42280000, 0x42280000},
    {0x80000001, 0x00000001, 0x00000001}, {0x807FFFFF, 0x007FFFFF, 0x007FFFFF},
    {0xFF7FFFFF, 0x7F7FFFFF, 0x7F7FFFFF}, {0xFF800000, 0x7F800000, 0x7F800000},
    {0x7FC00001, 0x7FC00001, 0x7FC00001}, {0xFFC00001, 0xFFC00001, 0x7FC00001},
    {0x7F800001, 0x7FC00001, 0x7FC00001}, {0xFF812345, 0xFFC12345, 0x7FC12345},
};
constexpr row doubles[] = {
    {0x8000000000000000, 0x0000000000000000, 0x0000000000000000},
    {0xBFF0000000000000, 0x3FF0000000000000, 0x3FF0000000000000},
    {0x8000000000000001, 0x0000000000000001, 0x0000000000000001},
    {0xFFEFFFFFFFFFFFFF, 0x7FEFFFFFFFFFFFFF, 0x7FEFFFFFFFFFFFFF},
    {0xFFF0000000000000, 0x7FF0000000000000, 0x7FF0000000000000},
    {0xFFF8000000000001, 0xFFF8000000000001, 0x7FF8000000000001},
    {0x7FF0000000000001, 0x7FF8000000000001, 0x7FF8000000000001},
    {0xFFF0000000000001, 0xFFF8000000000001, 0x7FF8000000000001},
};

// One element, by its bits.
std::uint64_t result(const kernel& k, std::uint64_t x, fp_words words = {}, fp_words* after = nullptr) {
  std::uint64_t r = 0;
  const fp_words end = under(words, [&] { k({1, {&x}, {&r}, {2}, {2}}); });
  if (after) *after = end;
  return r;
}

std::vector<kernel> kernels_of_abs() {
  std::vector<kernel> found;
  for (const kernel& k : kernels())
    for (const char* name : {"sAbs", "sAbsI", "dAbs", "dAbsI"})
      if (k.f->name == name) found.push_back(k);
  EXPECT_EQ(found.size(), 12u);
  return found;
}

// And only a signalling NaN is an invalid operation.
TEST(abs, patterns) {
  for (const kernel& k : kernels_of_abs()) {
    const auto check = [&](const row& row, std::uint64_t quiet) {
      fp_words after;
      EXPECT_EQ(result(k, row.x, {}, &after), k.f->strided ? row.twin : row.unit)
          << k << ' ' << std::hex << row.x;
      const bool signalling = (row.unit & quiet) == quiet && (row.x & quiet) != quiet;
      EXPECT_EQ(after.sse_flags() & 1, signalling) << k << ' ' << std::hex << row.x;
    };
    if (k.f->is_double())
      for (const row& row : doubles) check(row, 0x7FF8000000000000);
    else
      for (const row& row : singles) check(row, 0x7FC00000);
  }
}

// The unit-stride kernels leave denormals to the caller's word, the twins to the mode word.
TEST(abs, denormals) {
  constexpr unsigned plain = 0x1F80, denormals_are_zero = 0x1FC0, flush_to_zero = 0x9F80;
  for (const kernel& k : kernels_of_abs()) {
    const std::uint64_t x = k.f->is_double() ? 0x8000000000000003 : 0x80000003;
    for (const std::uint32_t mode : {ZUR_KEEP_DENORMALS, ZUR_FLUSH_DENORMALS})
      on_new_thread([&] {
        _zurSetMode(mode);
        for (const unsigned sse : {plain, denormals_are_zero, flush_to_zero}) {
          const bool kept = k.f->strided ? mode == ZUR_KEEP_DENORMALS : sse == plain;
          EXPECT_EQ(result(k, x, {sse}), kept ? 3u : 0u) << k << ' ' << std::hex << mode << ' ' << sse;
        }
      });
  }
}

}  // namespace
