// A summary of a stream of numbers of any length, from which quantiles follow with a bounded error of rank.
//
// The stream is cut into stages of about 2/eps, 4/eps, 8/eps, ... numbers. Each stage has levels: level 0 gathers a
// block of b numbers; every other level is free or holds a run, b/2 numbers that stand for as many as 2^(level - 1)
// blocks had. A full block is sorted, and each second number of it becomes a run, which goes to level 1; where a level
// is taken already, its run and the new one are merged, each second number is kept, and the result goes on to the next
// level. So a stage keeps log2(N eps) levels for its N numbers, and what halving loses adds up to at most eps N
// (Zhang and Wang 2007, A fast algorithm for approximate quantiles in high speed data streams).
#pragma once
#include <arko/stats.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "stats/sort.h"

namespace [[gnu::visibility("hidden")]] kov {

// Numbers that ascend, with bounds for their ranks, from 1, among all that the run stands for.
template <class T, class Rank> struct run {
  T* value;
  Rank *rank_min, *rank_max;
  std::size_t size;
  Rank weight;  // how many numbers it stands for
};

// Merges a and b, in which equal numbers of a go first, and keeps each step-th entry from the first on. `out` has room
// for one entry more than are kept. An entry has at least the numbers below it in its own run and those below the last
// entry taken from the other; and at most those up to it and up to what comes next of the other, without that itself, or
// all of the other where nothing comes next.
template <int step, class T, class RankA, class RankB, class Rank>
void merge(const run<T, RankA>& a, const run<T, RankB>& b, run<T, Rank>& out) {
  std::size_t i = 0, j = 0, n = 0;
  Rank below_a = 0, below_b = 0;
  const auto put = [&](T v, Rank least, Rank most) {
    const std::size_t at = (n++ + step - 1) / step;  // what is not kept is written over
    out.value[at] = v, out.rank_min[at] = least, out.rank_max[at] = most;
  };
  while (i < a.size && j < b.size) {
    const T x = a.value[i], y = b.value[j];
    const Rank most = Rank{a.rank_max[i]} + b.rank_max[j] - 1;
    const bool first = key_of(x) <= key_of(y);
    below_a = first ? a.rank_min[i] : below_a;
    below_b = first ? below_b : b.rank_min[j];
    put(first ? x : y, below_a + below_b, most);
    i += first, j += !first;
  }
  for (; i < a.size; i++) put(a.value[i], a.rank_min[i] + below_b, a.rank_max[i] + Rank{b.weight});
  for (; j < b.size; j++) put(b.value[j], b.rank_min[j] + below_a, b.rank_max[j] + Rank{a.weight});
  out.weight = Rank{a.weight} + b.weight;
  out.size = (n + step - 1) / step;
}

// One allocation, at `occupied`, holds all four arrays.
struct SketchStage {
  std::int32_t seen;       // numbers taken
  std::int32_t block;      // b
  std::int32_t levels;     // L: levels run from 0 to L
  std::int32_t top_level;  // the highest in use
  std::int32_t fill;       // numbers now in level 0, not sorted
  std::int32_t* occupied;  // L + 1: 1 where a level holds a run
  void* values;            // L + 1 times b + 1 numbers
  std::int32_t *rank_min, *rank_max;

  std::size_t half() const { return static_cast<std::size_t>(block / 2); }
  template <class T> run<T, std::int32_t> level(std::int32_t l) const {
    const auto at = static_cast<std::size_t>(l) * (static_cast<std::size_t>(block) + 1);
    return {static_cast<T*>(values) + at, rank_min + at, rank_max + at,
            l == 0 ? static_cast<std::size_t>(fill) : half(), l == 0 ? fill : block << (l - 1)};
  }
  // The greatest number of the blocks that have left level 0, if any has; halving may lose it. It stands behind level 0.
  template <class T> T& greatest() const { return static_cast<T*>(values)[block]; }
  // Calls f with every run, from level 0 on.
  template <class T, class F> void for_runs(F&& f) const {
    for (std::int32_t l = 0; l <= top_level; l++)
      if (l == 0 || occupied[l]) f(level<T>(l));
  }
};

struct SketchComponent {
  std::int32_t stage_count;
  std::int32_t stage_index;  // of the current stage, -1 before the first
  std::int32_t active;       // 1, or 0 for a component that the first call left out, or end_of_sketch
  SketchStage* stages;

  SketchStage& current() const { return stages[stage_index]; }
};
inline constexpr std::int32_t end_of_sketch = -1;

// What stands behind the last component's record.
struct SketchEnd : SketchComponent {
  double eps;  // that the stages were made for
};

// All records of p components, and the end's.
inline std::size_t sketch_bytes(std::int64_t p) {
  return static_cast<std::size_t>(p) * sizeof(SketchComponent) + sizeof(SketchEnd);
}

// Numbers of a stage, by the formula: a real number that may be beyond what a stage can count.
template <class T> T stage_size(std::int32_t stage, T eps);
// That, as far as a stage can count.
template <class T> std::int32_t stage_capacity(std::int32_t stage, T eps);

// Appends the next stage; KOV_SS_ERR_NO_MEMORY and no change where there is no memory. drop_stage takes the last off.
template <class T> std::int32_t begin_stage(SketchComponent& component, T eps);
void drop_stage(SketchComponent& component);

// Work memory for take(): two runs of b/2 + 1 entries, and in the place of the first's numbers room for a block.
template <class T> struct sketch_work {
  static std::size_t bytes(std::int32_t block) {
    const auto b = static_cast<std::size_t>(block) + 2;
    return (b * (2 * sizeof(T) + 4 * sizeof(std::int32_t)) + 127) / 128 * 128;
  }
  run<T, std::int32_t> runs[2];

  sketch_work(void* memory, std::int32_t block) {
    const auto b = static_cast<std::size_t>(block) + 2;
    auto* numbers = static_cast<T*>(memory);
    auto* ranks = reinterpret_cast<std::int32_t*>(numbers + 2 * b);
    for (run<T, std::int32_t>& r : runs) {
      r = {numbers, ranks, ranks + b, 0, 0};
      numbers += b, ranks += 2 * b;
    }
  }
};

}  // namespace kov
