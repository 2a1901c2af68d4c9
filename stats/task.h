// The task record: what the edit entries fill in and the computing entries read.
#pragma once
#include <arko/stats.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#define KOV_EXPORT extern "C" [[gnu::visibility("default")]]

namespace [[gnu::visibility("hidden")]] kov {

using status = std::int32_t;

// All pointers are null until they are set; fields.def lists them. The record is the same in both precisions.
struct SSTask {
  std::int32_t wide_ints;  // 0: integers behind pointers have 32 bits, else 64
  std::uint8_t tag;        // task_tag
  std::int32_t is_double;  // 1 or 0

#define INTEGER(field, code, missing) const void* field;
#define REAL(field, code, missing) void* field;
#define INTERNAL(type, field) std::type_identity_t<type> field;
#include "stats/fields.def"

  // What an integer pointer of this task points to, the first or the i-th.
  std::int64_t integer(const void* p, std::int64_t i = 0) const {
    return wide_ints ? static_cast<const std::int64_t*>(p)[i] : static_cast<const std::int32_t*>(p)[i];
  }
  std::int64_t dimension() const { return integer(obs_dim); }
  std::int64_t count() const { return integer(obs_count); }
  std::int64_t storage() const { return integer(obs_storage); }
  // Whether a component takes part.
  bool selected(std::int64_t component) const { return !indices || integer(indices, component) != 0; }
};

inline constexpr std::uint8_t task_tag = 2;

static_assert(std::is_standard_layout_v<SSTask> && std::is_trivial_v<SSTask>);
static_assert(offsetof(SSTask, tag) == 4 && offsetof(SSTask, is_double) == 8);
static_assert(offsetof(SSTask, obs_dim) == (sizeof(void*) == 8 ? 16 : 12));
static_assert(offsetof(SSTask, saved_mean) == offsetof(SSTask, obs_dim) + 82 * sizeof(void*));
static_assert(sizeof(SSTask) == offsetof(SSTask, obs_dim) + 83 * sizeof(void*));

// A real field in the task's precision.
template <class T> T* reals(void* field) { return static_cast<T*>(field); }

inline const SSTask& task_of(const void* task) { return *static_cast<const SSTask*>(task); }
inline SSTask& task_of(void* task) { return *static_cast<SSTask*>(task); }

}  // namespace kov
