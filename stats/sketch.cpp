// Stages of a sketch: made and taken down. Their sizes.
#include "stats/sketch.h"

#include <arko/stream.h>

#include <cmath>
#include <limits>
#include <numeric>

#include "core/block.h"

using std::int32_t;

namespace kov {
namespace {

struct shape {
  int32_t block, levels;  // a block below 1: there is no memory for such a stage
};

// b = lg / eps and L = lg + 2 with lg = log2(N eps), cut to integers. A block is even, so that halving leaves nothing
// over, and at least 2 / eps: in the first stage, of 2 / eps numbers, every second one counts. Only with eps = 1 is a block
// of 1 as good as another. There are levels for all blocks, which with eps near 1 takes more than L.
template <class T> shape shape_of(int32_t stage, T eps) {
  const T size = stage_size(stage, eps);
  const T lg = static_cast<T>(_kovdLn(size * eps) * 1.4426950408889634),
          block = std::trunc(std::max(lg, eps < 1 ? T(2) : T(1)) * (1 / eps));
  if (!std::isfinite(size) || !(block < T(std::numeric_limits<int32_t>::max() - 1))) return {0, 0};
  const int32_t b = eps < 1 ? (static_cast<int32_t>(block) + 1) / 2 * 2 : static_cast<int32_t>(block);
  const auto blocks = static_cast<std::uint32_t>(stage_capacity(stage, eps) / b);
  return {b, std::max(static_cast<int32_t>(lg + T(2)), bits_in(blocks))};
}

}  // namespace

template <class T> T stage_size(int32_t stage, T eps) {
  const T per = 1 / eps;
  return std::trunc((std::ldexp(T(1), stage + 2) - 1) * per) -
         std::trunc((std::ldexp(T(1), stage + 1) - 1) * per);
}
template double stage_size(int32_t, double);
template float stage_size(int32_t, float);

template <class T> int32_t stage_capacity(int32_t stage, T eps) {
  constexpr int32_t most = std::numeric_limits<int32_t>::max();
  const T size = stage_size(stage, eps);
  return size < static_cast<T>(most) ? static_cast<int32_t>(size) : most;
}
template int32_t stage_capacity(int32_t, double);
template int32_t stage_capacity(int32_t, float);

template <class T> int32_t begin_stage(SketchComponent& c, T eps) {
  const auto [block, levels] = shape_of(c.stage_index + 1, eps);
  if (block < 1) return KOV_SS_ERR_NO_MEMORY;
  const auto rows = static_cast<std::size_t>(levels) + 1,
             entries = rows * (static_cast<std::size_t>(block) + 1);
  const std::size_t head = (rows * sizeof(int32_t) + 127) / 128 * 128;

  arko::block<SketchStage> stages(static_cast<std::size_t>(c.stage_count) + 1);
  arko::block<unsigned char> memory(head + entries * (2 * sizeof(int32_t) + sizeof(T)));
  if (!stages || !memory) return KOV_SS_ERR_NO_MEMORY;
  SketchStage s = {};
  s.block = block, s.levels = levels;
  s.rank_min = reinterpret_cast<int32_t*>(memory.get() + head);
  s.rank_max = s.rank_min + entries;
  s.values = s.rank_max + entries;
  s.occupied = reinterpret_cast<int32_t*>(memory.release());
  std::fill_n(s.occupied, rows, 0);
  for (int32_t i = 0; i < block; i++) s.rank_min[i] = s.rank_max[i] = i + 1;  // of level 0, for good

  std::copy_n(c.stages, c.stage_count, stages.get());
  stages[static_cast<std::size_t>(c.stage_count)] = s;
  arko_serv_deallocate(c.stages);
  c.stages = stages.release();
  c.stage_count++, c.stage_index++;
  return KOV_SS_OK;
}
template int32_t begin_stage(SketchComponent&, double);
template int32_t begin_stage(SketchComponent&, float);

void drop_stage(SketchComponent& c) {
  arko_serv_deallocate(c.stages[--c.stage_count].occupied);
  c.stage_index--;
}

}  // namespace kov
