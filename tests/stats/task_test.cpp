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
  const TypeParam x[1] = {};
  for (const auto& row : table_of("tests/stats/data/creations.csv")) {
    int64_t values[6];
    const int32_t* integers[6];
    for (std::size_t i = 0; i < 6; i++) {
      values[i] = row[i] == "null" ? 0 : std::stoll(row[i], nullptr, 0);
      integers[i] = row[i] == "null" ? nullptr : narrow(&values[i]);
    }
    void* record = &record;
    EXPECT_EQ(entries<TypeParam>::create(&record, integers[0], integers[1], integers[2],
                                         values[3] ? x : nullptr, nullptr, nullptr, int32_t(values[4])),
              values[5])
        << row[0] << ' ' << row[1] << ' ' << row[2];
    EXPECT_EQ(record != nullptr, values[5] == 0);
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
  int32_t call(const std::string& name, const std::string& estimates, const std::string& method) const {
    return entries<T>::by_name.at(name)(record, std::stoull(estimates, nullptr, 0),
                                        std::stoull(method, nullptr, 0), thread_services::get());
  }
};

TYPED_TEST(task_test, is_checked_in_order_by_every_entry) {
  const auto rows = table_of("tests/stats/data/checks.csv");
  for (std::size_t first = 0, end; first < rows.size(); first = end) {
    const auto same = [&](const auto& row) {
      return std::equal(row.begin(), row.begin() + 3, rows[first].begin());
    };
    end =
        std::size_t(std::find_if_not(rows.begin() + std::ptrdiff_t(first), rows.end(), same) - rows.begin());
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
        EXPECT_EQ(t.call(rows[first][0], rows[first][1], wrong["method"]),
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
  thread_services::threads = 2;
  for (const auto& row : table_of("tests/stats/data/allocations.csv")) {
    const auto run = [&] {
      sound_task<TypeParam> t;
      if (!t.record) return KOV_SS_ERR_NO_MEMORY;
      t.reals["cov"][0] = -1;
      const int32_t status = t.call(row[0], row[1], row[2]);
      if (status != 0) {
        EXPECT_EQ(t.reals["cov"][0], -1) << "is written only where all memory is there";
        EXPECT_EQ(t.call(row[0], row[1], row[2]), 0) << row[0];
      }
      return status;
    };
    EXPECT_GT(each_allocation_fails(KOV_SS_ERR_NO_MEMORY, run), std::stoi(row[3])) << row[0] << ' ' << row[1];
  }
}

TYPED_TEST(task_test, reads_wide_integers) {
  sound_task<TypeParam> t({{"indices", "0x100000000"}, {"mean", "-1"}}, 1);
  EXPECT_EQ(t.call("basic", "0x1", "2"), 0);
  EXPECT_EQ(t.reals["mean"][2], TypeParam(0.5));
}

}  // namespace
