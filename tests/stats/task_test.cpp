// The task: what a new one looks at, every edit with its status, every family of fields, the end.

#include <arko/stats.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "core/testing.h"

namespace {

using std::int32_t, std::int64_t;

constexpr std::size_t first_pointer = 16;  // offset of obs_dim: behind two integers and a byte

struct field {
  std::string name, kind;
  int64_t code;
  int32_t missing;
  std::size_t offset;
};

const std::vector<field>& fields() {
  static const std::vector<field> all = [] {
    std::vector<field> rows;
    std::ifstream file(ARKO_SOURCE "/tests/stats/data/fields.csv");
    std::string line;
    for (std::getline(file, line); std::getline(file, line);) {
      for (char& c : line)
        if (c == ',') c = ' ';
      std::istringstream cells(line);
      field f;
      cells >> f.name >> f.kind >> f.code >> f.missing;
      f.offset = first_pointer + sizeof(void*) * rows.size();
      rows.push_back(f);
    }
    return rows;
  }();
  return all;
}

constexpr std::size_t record_size = first_pointer + 83 * sizeof(void*);
using image = std::array<unsigned char, record_size>;

image image_of(const void* task) {
  image bytes;
  std::memcpy(bytes.data(), task, record_size);
  return bytes;
}

void put(image& bytes, const std::string& name, const void* value) {
  for (const field& f : fields())
    if (f.name == name) std::memcpy(bytes.data() + f.offset, &value, sizeof value);
}

const int32_t p = 3, n = 5, layout = KOV_SS_COMPONENTS;

template <class T> struct entries;
template <> struct entries<double> {
  static constexpr auto create = __kovdSSNewTask;
  static constexpr auto edit = __kovdSSEditTask;
};
template <> struct entries<float> {
  static constexpr auto create = __kovsSSNewTask;
  static constexpr auto edit = __kovsSSEditTask;
};

template <class T> struct task {
  void* record;
  task() { EXPECT_EQ(entries<T>::create(&record, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0); }
  ~task() { EXPECT_EQ(__kovSSDeleteTask(&record), 0); }
};

template <class T> class task_test : public testing::Test {};
using precisions = testing::Types<double, float>;
TYPED_TEST_SUITE(task_test, precisions);

TYPED_TEST(task_test, a_new_one_has_what_it_was_given) {
  const TypeParam x[15] = {}, w[5] = {};
  const int32_t selection[3] = {1, 0, 1};
  void* record;
  ASSERT_EQ(entries<TypeParam>::create(&record, &p, &n, &layout, x, w, selection, 0), 0);
  image expected{};
  expected[4] = 2;                       // tag
  expected[8] = sizeof(TypeParam) == 8;  // is_double
  put(expected, "obs_dim", &p), put(expected, "obs_count", &n), put(expected, "obs_storage", &layout);
  put(expected, "obs", x), put(expected, "weights", w), put(expected, "indices", selection);
  EXPECT_EQ(image_of(record), expected);
  EXPECT_EQ(__kovSSDeleteTask(&record), 0);
  EXPECT_EQ(record, nullptr);
  EXPECT_EQ(__kovSSDeleteTask(&record), -4031);
  EXPECT_EQ(__kovSSDeleteTask(nullptr), -4031);
}

TYPED_TEST(task_test, a_new_one_refuses) {
  const TypeParam x[1] = {};
  const int32_t zero = 0, minus = -1, observations = KOV_SS_OBSERVATIONS, both = 0x30000;
  const int64_t wide_p = int64_t{1} << 32, wide_zero = 0, wide_n = 7, wide_layout = KOV_SS_OBSERVATIONS,
                bad_layout = wide_p | KOV_SS_OBSERVATIONS;
  const auto narrow = [](const int64_t* v) { return reinterpret_cast<const int32_t*>(v); };
  const struct {
    const int32_t *p, *n, *layout;
    bool with_data;
    int32_t wide, status;
  } rows[] = {
      {&p, &n, &observations, true, 0, 0},
      {nullptr, &n, &layout, true, 0, -4001},
      {&zero, nullptr, nullptr, true, 0, -4001},
      {&minus, nullptr, nullptr, false, 0, -4001},
      {&p, &n, nullptr, true, 0, -4044},
      {&p, nullptr, nullptr, true, 0, -4044},
      {&p, nullptr, &layout, true, 0, -4002},
      {&p, &zero, &layout, true, 0, -4002},
      {&p, &minus, &layout, true, 0, -4002},
      {&p, &n, &zero, true, 0, -4003},
      {&p, nullptr, &both, true, 0, -4003},
      {&p, &minus, &both, true, 0, -4003},
      {&p, nullptr, nullptr, false, 0, 0},
      {&p, &minus, &zero, false, 0, 0},
      {narrow(&wide_p), narrow(&wide_n), narrow(&wide_layout), true, 1, 0},
      {narrow(&wide_zero), narrow(&wide_n), narrow(&wide_layout), true, 1, -4001},
      {narrow(&wide_p), narrow(&wide_n), narrow(&bad_layout), true, -1, -4003},
  };
  const int64_t live = arko_core_live_blocks();
  for (const auto& row : rows) {
    void* record = &record;
    EXPECT_EQ(entries<TypeParam>::create(&record, row.p, row.n, row.layout, row.with_data ? x : nullptr,
                                         nullptr, nullptr, row.wide),
              row.status)
        << &row - rows;
    EXPECT_EQ(record != nullptr, row.status == 0) << &row - rows;
    if (record) __kovSSDeleteTask(&record);
  }
  EXPECT_EQ(entries<TypeParam>::create(nullptr, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), -4031);
  arko_core_fail_allocation(1);
  void* record;
  EXPECT_EQ(entries<TypeParam>::create(&record, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), -4000);
  EXPECT_EQ(record, nullptr);
  arko_core_fail_allocation(0);
  EXPECT_EQ(arko_core_live_blocks(), live);
}

// Every code through every entry, with and without a value: the status, and that nothing else changes.
TYPED_TEST(task_test, edits_one_field) {
  ASSERT_EQ(fields().size(), 83u);
  const TypeParam value = 0;
  std::set<int64_t> codes;
  for (int64_t code = -1; code <= 81; code++) codes.insert(code);
  codes.insert((int64_t{1} << 32) + 7);
  codes.insert(INT64_MIN);
  int stored = 0;
  for (const int64_t code : codes) {
    const field* f = nullptr;
    for (const field& row : fields())
      if (row.code == code && row.kind != "internal") f = &row;
    for (const std::string kind : {"real", "int"})
      for (const void* v : {static_cast<const void*>(&value), static_cast<const void*>(nullptr)}) {
        const auto edit = [&](void* record) {
          return kind == "real" ? entries<TypeParam>::edit(record, code, static_cast<const TypeParam*>(v))
                                : __koviSSEditTask(record, code, v);
        };
        const task<TypeParam> t;
        image expected = image_of(t.record);
        const bool ours = f && f->kind == kind;
        if (ours && v) put(expected, f->name, v), stored++;
        EXPECT_EQ(edit(t.record), !ours ? -3 : v ? 0 : f->missing) << kind << ' ' << code;
        EXPECT_EQ(image_of(t.record), expected) << kind << ' ' << code;
        EXPECT_EQ(edit(nullptr), -4031);
      }
  }
  EXPECT_EQ(stored, 79);
}

// A family's entry with `count` addresses for its arguments.
struct family {
  const char* arguments;
  std::function<int32_t(void* task, const void* const* values)> call;
};

template <class... A> family made(const char* arguments, int32_t (*entry)(void*, A*...)) {
  return {arguments, [entry](void* task, const void* const* values) {
            return [&]<std::size_t... i>(std::index_sequence<i...>) {
              return entry(task, static_cast<A*>(const_cast<void*>(values[i]))...);
            }
            (std::index_sequence_for<A...>());
          }};
}

#define FAMILIES(P)                                                                                       \
  made("mean raw2 raw3 raw4 central2 central3 central4", __kov##P##SSEditMoments),                        \
      made("sum1 sum2 sum3 sum4 csum2 csum3 csum4", __kov##P##SSEditSums),                                \
      made("mean cov cov_storage cor cor_storage", __kov##P##SSEditCovCor),                               \
      made("mean sum1 cp cp_storage", __kov##P##SSEditCP),                                                \
      made(                                                                                               \
          "partial_indices cov cov_storage cor cor_storage partial_cov partial_cov_storage partial_cor "  \
          "partial_cor_storage",                                                                          \
          __kov##P##SSEditPartialCovCor),                                                                 \
      made("quant_count quant_orders quants order_stats order_stats_storage", __kov##P##SSEditQuantiles), \
      made("sq_count sq_orders sq_quants sq_param_count sq_params", __kov##P##SSEditStreamQuantiles),     \
      made("group_indices pooled_mean pooled_cov group_cov_indices group_means group_cov",                \
           __kov##P##SSEditPooledCovariance),                                                             \
      made(                                                                                               \
          "mv_param_count mv_params mv_init_count mv_init mv_prior_count mv_prior mv_sim_count mv_sim "   \
          "mv_est_count mv_est",                                                                          \
          __kov##P##SSEditMissingVals),                                                                   \
      made("robust_cov_storage robust_param_count robust_params robust_mean robust_cov",                  \
           __kov##P##SSEditRCov),                                                                         \
      made("outlier_param_count outlier_params outlier_weights", __kov##P##SSEditOutDetect),              \
      made("cor cor_storage param_matrix param_storage", __kov##P##SSEditMtxParametrz)

TYPED_TEST(task_test, edits_families_of_fields) {
  const std::vector<family> families = [] {
    if constexpr (sizeof(TypeParam) == 8)
      return std::vector<family>{FAMILIES(d)};
    else
      return std::vector<family>{FAMILIES(s)};
  }();
  ASSERT_EQ(families.size(), 12u);
  const double places[10] = {};
  for (const family& f : families) {
    std::vector<std::string> names;
    std::istringstream words(f.arguments);
    for (std::string name; words >> name;) names.push_back(name);
    // With all arguments, with none, and with each alone.
    for (int only = -2; only < static_cast<int>(names.size()); only++) {
      const void* values[10] = {};
      const task<TypeParam> t;
      image expected = image_of(t.record);
      for (int i = 0; i < static_cast<int>(names.size()); i++)
        if (only == -2 || only == i) put(expected, names[i], values[i] = &places[i]);
      EXPECT_EQ(f.call(t.record, values), 0) << f.arguments;
      EXPECT_EQ(image_of(t.record), expected) << f.arguments << ' ' << only;
      EXPECT_EQ(f.call(nullptr, values), -4031) << f.arguments;
    }
  }
}

}  // namespace
