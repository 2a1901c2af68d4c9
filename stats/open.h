// What an entry looks at before it computes. The checks that entries share are here, each once; an entry has a row of them,
// in its order.
#pragma once
#include <initializer_list>
#include <limits>

#include "stats/task.h"

namespace [[gnu::visibility("hidden")]] kov {

using check = status (*)(const SSTask&);

// The first complaint of a row.
inline status open(const SSTask& task, std::initializer_list<check> row) {
  for (const check complaint : row)
    if (const status s = complaint(task); s != KOV_SS_OK) return s;
  return KOV_SS_OK;
}

constexpr std::int64_t known_layouts = KOV_SS_COMPONENTS | KOV_SS_OBSERVATIONS;
inline bool has_layout(std::int64_t storage) { return storage & known_layouts; }

namespace checks {

inline status dimension(const SSTask& t) {
  return t.obs_dim && t.dimension() > 0 ? KOV_SS_OK : KOV_SS_ERR_OBS_DIM;
}
// A service counts what it shares out in 32 bits.
inline status shared_dimension(const SSTask& t) {
  const bool can = dimension(t) == KOV_SS_OK && t.dimension() <= std::numeric_limits<std::int32_t>::max();
  return can ? KOV_SS_OK : KOV_SS_ERR_OBS_DIM;
}
inline status count(const SSTask& t) {
  return t.obs_count && t.count() > 0 ? KOV_SS_OK : KOV_SS_ERR_OBS_COUNT;
}
inline status observations(const SSTask& t) { return t.obs ? KOV_SS_OK : KOV_SS_ERR_OBS; }
inline status storage(const SSTask& t) { return t.obs_storage ? KOV_SS_OK : KOV_SS_ERR_NULL_INTEGER; }
// Behind storage: at least one of the layouts, or one and nothing else.
inline status layout(const SSTask& t) { return has_layout(t.storage()) ? KOV_SS_OK : KOV_SS_ERR_STORAGE; }
inline status one_layout(const SSTask& t) {
  const std::int64_t s = t.storage();
  return s == KOV_SS_COMPONENTS || s == KOV_SS_OBSERVATIONS ? KOV_SS_OK : KOV_SS_ERR_STORAGE;
}

}  // namespace checks

}  // namespace kov
