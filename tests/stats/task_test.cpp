// The task and what every entry does with it: its fields and their edits, the order of checks, memory that cannot be had.

#include <array>
#include <cstring>
#include <set>
#include <utility>

#include "tests/stats/tasks.h"

namespace {

using namespace arko::test;

const auto narrow = [](const int64_t* v) { return reinterpret_cast<const int32_t*>(v); };

constexpr std::size_t first_pointer = 16, record_size = first_pointer + 83 * sizeof(void*);
using image = std::array<unsigned char, record_size>;

image image_of(const void* record) {
  image bytes;
  std::memcpy(bytes.data(), record, record_size);
  return bytes;
}
void put(image& bytes, const std::string& name, const void* value) {
  for (std::size_t i = 0; i < fields().size(); i++)
    if (fields()[i].name == name)
      std::memcpy(bytes.data() + first_pointer + sizeof(void*) * i, &value, sizeof value);
}

template <class T> class task_test : public testing::Test {};
TYPED_TEST_SUITE(task_test, precisions);

TYPED_TEST(task_test, begins_with_what_it_is_given) {
  const TypeParam x[15] = {}, w[5] = {};
  const int32_t p = 3, n = 5, layout = KOV_SS_COMPONENTS, selection[3] = {1, 0, 1};
  void* record;
  ASSERT_EQ(entries<TypeParam>::create(&record, &p, &n, &layout, x, w, selection, 0), 0);
  image expected{};
  expected[4] = 2, expected[8] = sizeof(TypeParam) == 8;  // tag, is_double
  put(expected, "obs_dim", &p), put(expected, "obs_count", &n), put(expected, "obs_storage", &layout);
  put(expected, "obs", x), put(expected, "weights", w), put(expected, "indices", selection);
  EXPECT_EQ(image_of(record), expected);
  EXPECT_EQ(__kovSSDeleteTask(&record), 0);
  EXPECT_EQ(record, nullptr);
  EXPECT_EQ(__kovSSDeleteTask(&record), -4031);
  EXPECT_EQ(__kovSSDeleteTask(nullptr), -4031);
  EXPECT_EQ(entries<TypeParam>::create(nullptr, &p, &n, &layout, x, w, selection, 0), -4031);
}

TYPED_TEST(task_test, is_not_created_from_what_cannot_be) {
  constexpr int64_t none = INT64_MIN, large = int64_t{1} << 32;  // none: a null pointer
  constexpr int64_t rows = KOV_SS_COMPONENTS, columns = KOV_SS_OBSERVATIONS, both = rows | columns;
  const struct {
    int64_t p, n, layout;
    bool with_data;
    int32_t wide, status;
  } cases[] = {{3, 5, columns, true, 0, 0},
               {none, 5, rows, true, 0, -4001},
               {0, none, none, true, 0, -4001},
               {-1, none, none, false, 0, -4001},
               {3, 5, none, true, 0, -4044},
               {3, none, rows, true, 0, -4002},
               {3, 0, rows, true, 0, -4002},
               {3, -1, rows, true, 0, -4002},
               {3, 5, 0, true, 0, -4003},
               {3, -1, both, true, 0, -4003},
               {3, none, none, false, 0, 0},
               {3, -1, 0, false, 0, 0},
               {large, 7, columns, true, 1, 0},
               {0, 7, columns, true, 1, -4001},
               {large, 7, large | columns, true, -1, -4003}};
  const TypeParam x[1] = {};
  const auto address = [](const int64_t& v) { return v == none ? nullptr : narrow(&v); };
  for (const auto& c : cases) {
    void* record = &record;
    EXPECT_EQ(entries<TypeParam>::create(&record, address(c.p), address(c.n), address(c.layout),
                                         c.with_data ? x : nullptr, nullptr, nullptr, c.wide),
              c.status)
        << &c - cases;
    EXPECT_EQ(record != nullptr, c.status == 0) << &c - cases;
    if (record) __kovSSDeleteTask(&record);
  }
}

// Every code through every entry, with and without a value: the status, and that nothing else changes.
TYPED_TEST(task_test, edits_one_field) {
  ASSERT_EQ(fields().size(), 83u);
  const TypeParam value = 0;
  std::set<int64_t> codes = {(int64_t{1} << 32) + 7, INT64_MIN};
  for (int64_t code = -1; code <= 81; code++) codes.insert(code);
  for (const int64_t code : codes)
    for (const std::string kind : {"real", "int"})
      for (const TypeParam* v : {&value, static_cast<const TypeParam*>(nullptr)}) {
        const auto edit = [&](void* record) {
          return kind == "real" ? entries<TypeParam>::edit(record, code, v)
                                : __koviSSEditTask(record, code, v);
        };
        const task<TypeParam> t(3);
        image expected = image_of(t.record);
        int32_t status = -3;
        for (const field& f : fields())
          if (f.code == code && f.kind == kind) {
            status = v ? 0 : f.missing;
            if (v) put(expected, f.name, v);
          }
        EXPECT_EQ(edit(t.record), status) << kind << ' ' << code;
        EXPECT_EQ(image_of(t.record), expected) << kind << ' ' << code;
        EXPECT_EQ(edit(nullptr), -4031);
      }
}

// Every argument is for the field that is named: first all, then none or one alone, which leaves the others.
template <class T, class... A>
void expect_family(const std::string& arguments, int32_t (*edit)(void*, A*...)) {
  const std::vector<std::string> names = words_of(arguments);
  ASSERT_EQ(names.size(), sizeof...(A)) << arguments;
  const double places[2 * sizeof...(A)] = {};
  for (std::size_t only = 0; only <= names.size(); only++) {
    const task<T> t(3);
    image expected = image_of(t.record);
    for (const bool all : {true, false}) {
      const void* values[sizeof...(A)] = {};
      for (std::size_t i = 0; i < names.size(); i++)
        if (all || only == i) put(expected, names[i], values[i] = &places[2 * i + all]);
      [&]<std::size_t... i>(std::index_sequence<i...>) {
        EXPECT_EQ(edit(t.record, static_cast<A*>(const_cast<void*>(values[i]))...), 0) << arguments;
        EXPECT_EQ(edit(nullptr, static_cast<A*>(const_cast<void*>(values[i]))...), -4031) << arguments;
      }
      (std::index_sequence_for<A...>());
      EXPECT_EQ(image_of(t.record), expected) << arguments << ' ' << only;
    }
  }
}

#define EXPECT_FAMILY(name)                               \
  expect_family<double>(rows[at][1], __kovdSSEdit##name); \
  expect_family<float>(rows[at][1], __kovsSSEdit##name);  \
  EXPECT_EQ(rows[at++][0], #name)

TEST(families, edit_the_fields_that_they_name) {
  const auto rows = table_of("tests/stats/data/families.csv");
  std::size_t at = 0;
  EXPECT_FAMILY(Moments);
  EXPECT_FAMILY(Sums);
  EXPECT_FAMILY(CovCor);
  EXPECT_FAMILY(CP);
  EXPECT_FAMILY(PartialCovCor);
  EXPECT_FAMILY(Quantiles);
  EXPECT_FAMILY(StreamQuantiles);
  EXPECT_FAMILY(PooledCovariance);
  EXPECT_FAMILY(MissingVals);
  EXPECT_FAMILY(RCov);
  EXPECT_FAMILY(OutDetect);
  EXPECT_FAMILY(MtxParametrz);
}

// ---- What the computing entries have in common

using faults = std::map<std::string, std::string>;

// A task of 3 components and 40 observations with all that any entry needs, but for what is wrong with it.
template <class T> struct sound_task {
  void* record = nullptr;
  std::map<std::string, std::vector<int64_t>> integers;
  std::map<std::string, std::vector<T>> reals;

  explicit sound_task(const faults& wrong = {}, int32_t wide = 0) {
    static const faults sound = {
        {"obs_dim", "3"},           {"obs_count", "40"},           {"accum_weight", "0"},
        {"obs_storage", "0x10000"}, {"sorted_storage", "0x10000"}, {"order_stats_storage", "0x10000"}};
    const int64_t p = 3;
    if (entries<T>::create(&record, narrow(&p), nullptr, nullptr, nullptr, nullptr, nullptr, wide) != 0)
      return;
    for (const field& f : fields()) {
      const std::string value = wrong.contains(f.name)   ? wrong.at(f.name)
                                : sound.contains(f.name) ? sound.at(f.name)
                                : f.kind == "int"        ? "1"
                                                         : "0.5";
      if (f.kind == "internal" || value == "null") continue;
      if (f.kind == "int") {
        integers[f.name].assign(3, std::stoll(value, nullptr, 0));
        __koviSSEditTask(record, f.code, integers[f.name].data());
      } else if (value == "obs") {
        entries<T>::edit(record, f.code, reals["obs"].data());
      } else {
        reals[f.name].assign(200, T(std::stod(value)));
        entries<T>::edit(record, f.code, reals[f.name].data());
      }
    }
  }
  ~sound_task() { __kovSSDeleteTask(&record); }
};

TYPED_TEST(task_test, is_checked_in_order_by_every_entry) {
  const auto rows = table_of("tests/stats/data/checks.csv");
  for (std::size_t first = 0, end; first < rows.size(); first = end) {
    const auto same = [&](const auto& row) {
      return std::equal(row.begin(), row.begin() + 3, rows[first].begin());
    };
    end =
        std::size_t(std::find_if_not(rows.begin() + std::ptrdiff_t(first), rows.end(), same) - rows.begin());
    const entry call = entries<TypeParam>::by_name.at(rows[first][0]);
    faults below = {{"method", rows[first][2]}};  // all that is wrong by rows below
    for (std::size_t k = end;; k--) {
      faults wrong = below;
      if (k < end) {
        std::istringstream words(rows[k][3]);
        for (std::string name, value; std::getline(words >> std::ws, name, '=') && words >> value;)
          wrong[name] = value;
        if (rows[k][4] != "0") below = wrong;
      }
      for (const int32_t wide : {0, 1}) {
        const sound_task<TypeParam> t(wrong, wide);
        EXPECT_EQ(call(t.record, std::stoull(rows[first][1], nullptr, 0),
                       std::stoull(wrong["method"], nullptr, 0), nullptr),
                  k < end ? std::stoi(rows[k][4]) : 0)
            << (k < end ? rows[k][3] : "nothing wrong") << " for " << rows[first][0];
      }
      if (k == first) break;
    }
  }
  for (const auto& [name, call] : entries<TypeParam>::by_name)
    EXPECT_EQ(call(nullptr, ~uint64_t{0}, 1, nullptr), KOV_SS_ERR_NULL_TASK) << name;
}

// The call answers, nothing is lost, and the same task serves once there is memory.
TYPED_TEST(task_test, outlives_allocations_that_fail) {
  const struct {
    const char* name;
    uint64_t estimates, method;
    int at_least;  // allocations beside the task's own
  } calls[] = {{"basic", 0x2001, KOV_SS_FAST, 3},
               {"basic", 0x2000001, KOV_SS_ONE_PASS, 2},
               {"basic", 0x3001, KOV_SS_GIVEN_MEAN, 2},
               {"basic", 0x3000, KOV_SS_FROM_SUMS, 1},
               {"minmax", 0x400, KOV_SS_ONE_PASS, 1},
               {"sort", 0, KOV_SS_RADIX, 2},
               {"quantiles", 0x10000, KOV_SS_FAST, 2},
               {"quantiles", 0x20000, KOV_SS_FAST, 2},
               {"mad", 0x200000000, KOV_SS_FAST, 1},
               {"mad", 0x400000000, KOV_SS_FAST, 1},
               {"wmedian", 0, 0, 1},
               {"stream", 0, KOV_SS_SQ_RESULT, 20}};
  thread_services::threads = 2;
  for (const auto& c : calls) {
    const entry call = entries<TypeParam>::by_name.at(c.name);
    const auto run = [&] {
      sound_task<TypeParam> t;
      if (!t.record) return KOV_SS_ERR_NO_MEMORY;
      t.reals["cov"][0] = -1;
      const int32_t status = call(t.record, c.estimates, c.method, thread_services::get());
      if (status != 0) {
        EXPECT_EQ(t.reals["cov"][0], -1) << "is written only where all memory is there";
        EXPECT_EQ(call(t.record, c.estimates, c.method, thread_services::get()), 0) << c.name;
      }
      return status;
    };
    EXPECT_GT(each_allocation_fails(KOV_SS_ERR_NO_MEMORY, run), c.at_least) << c.name << ' ' << c.estimates;
  }
}

TYPED_TEST(task_test, reads_wide_integers) {
  sound_task<TypeParam> t({{"indices", "0x100000000"}, {"mean", "-1"}}, 1);
  EXPECT_EQ(entries<TypeParam>::by_name.at("basic")(t.record, KOV_SS_EST_MEAN, KOV_SS_ONE_PASS, nullptr), 0);
  EXPECT_EQ(t.reals["mean"][2], TypeParam(0.5));
}

}  // namespace
