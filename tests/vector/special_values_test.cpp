// What functions give at their edges, by data/special_values.txt; and whose rounding and denormal handling
// hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>

#include "tests/support/child.h"
#include "tests/support/data.h"
#include "tests/support/probes.h"
#include "tests/support/registry.h"

namespace {

using namespace arko::test;

constexpr unsigned invalid = 1, divide = 4, overflow = 8, underflow = 0x10;

// A call on one element under a new record. Numbers of an argument's or a result's parts stand side by side.
template <class T> struct outcome {
  T results[4] = {-7, -7, -7, -7};
  int status;
  std::string reported;  // the name, "" for no report
  unsigned flags;

  outcome(const kernel& k, const std::vector<T>& x) {
    static thread_local char name[sizeof ZurErrorContext::FuncName];
    const form& how = *k.f->how;
    on_new_thread([&] {
      _zurSetErrorCallBack([](ZurErrorContext* c) {
        std::copy_n(c->FuncName, sizeof name, name);
        return 0;
      });
      const arguments c{
          1, {x.data(), &x[how.inputs == 2]}, {results, &results[how.out_size / sizeof(T)]}, {2, 2}, {2, 2}};
      flags = under({}, [&] { k(c); }).sse_flags();
      status = _zurGetErrStatus();
      reported = name;
    });
  }
};

template <class T> bool as_told(const std::string& told, T result) {
  const T expected = number<T>(told);
  if (std::isnan(expected) && told[0] != '@')
    return std::isnan(result) && (told == "nan" || std::signbit(result) == std::signbit(expected));
  return std::bit_cast<bits_of<T>>(result) == std::bit_cast<bits_of<T>>(expected);
}

// A row of the file for one type.
struct row {
  std::vector<std::string> x, results;
  int status = 0;
  std::set<std::string> which;

  explicit row(const std::vector<std::string>& words) {
    const auto equals = std::find(words.begin() + 2, words.end(), "=");
    x.assign(words.begin() + 2, equals);
    auto w = equals + 1;
    for (; w < words.end() && *w != "status" && std::isupper((*w)[0]) == 0 && *w != "unit" && *w != "twin";
         ++w)
      results.push_back(*w);
    if (w != words.end() && *w == "status") status = std::stoi(w[1]), w += 2;
    which.insert(w, words.end());
  }
  bool holds_for(const kernel& k) const {
    const std::string level[] = {"LA", "HA", "EP"};
    const bool all_levels = !which.contains("LA") && !which.contains("HA") && !which.contains("EP");
    return !which.contains(k.f->strided ? "unit" : "twin") && (all_levels || which.contains(level[k.level]));
  }

  template <class T> void check(const kernel& k) const {
    std::vector<T> in;
    for (const std::string& word : x) in.push_back(number<T>(word));
    const outcome<T> got(k, in);
    const bool found_elsewhere = results[0] == "~";
    const T first = got.results[0];
    const int expected =
        found_elsewhere && std::isinf(first) ? 3 : status;  // at EP the error may carry it there
    EXPECT_EQ(got.status, expected);
    EXPECT_EQ(got.reported, expected ? k.f->report_name : "");
    for (std::size_t i = 0; i < results.size() && !found_elsewhere; i++)
      EXPECT_PRED2(as_told<T>, results[i], got.results[i]);
    // Just below the normal numbers the step that makes a result denormal may be exact and raise nothing, and
    // lanes that the routine serves may raise more on their way to it.
    const bool of_nan = std::any_of(in.begin(), in.end(), [](T v) { return std::isnan(v); });
    const bool plain = std::all_of(
        in.begin(), in.end(), [](T v) { return v == 0 || (std::fabs(v) > T(1e-10) && std::fabs(v) < 80); });
    const bool tiny = std::fabs(first) < std::numeric_limits<T>::min() / 256;
    const unsigned raised = std::isnan(first) && !of_nan                            ? invalid
                            : std::isinf(first) && (expected == 1 || expected == 2) ? divide
                            : expected == 3                                         ? overflow
                            : expected == 4 && tiny                                 ? underflow
                                                                                    : 0;
    const unsigned clear = plain && expected == 0 && !raised ? invalid | divide | overflow | underflow : 0;
    EXPECT_EQ(got.flags & (raised | clear), raised);
  }
};

TEST(special_values, come_with_their_statuses_and_flags) {
  for (const auto& words : rows_of("tests/vector/data/special_values.txt")) {
    const row r(words);
    std::istringstream roots(words[0]);
    for (std::string root; std::getline(roots, root, ',');)
      for (const char type : words[1]) {
        int checked = 0;
        for (const kernel& k : kernels_of(type + root)) {
          if (!r.holds_for(k)) continue;
          SCOPED_TRACE(k.name() + " of " + testing::PrintToString(r.x));
          k.f->is_double() ? r.check<double>(k) : r.check<float>(k);
          checked++;
        }
        EXPECT_GT(checked, 0) << type << root;
      }
  }
}

// A quiet NaN raises nothing, in whichever argument, and a signalling one is an invalid operation; but
// greater and lesser of two are what the processor's comparison gives, to which every NaN is invalid.
TEST(special_values, of_nan_only_signalling_ones_are_invalid) {
  for (const kernel& k : kernels()) {
    const bool compares =
        k.f->name.find("Fmax") == 1 || k.f->name.find("Fmin") == 1 || k.f->name.find("Mag") == 4;
    const auto flags = [&](std::uint64_t first,
                           std::uint64_t second) {  // by bits: in a register NaN may change
      const std::uint64_t x[2][2] = {{first, first}, {second, second}};
      std::uint64_t r[2][2];
      return under({}, [&] { k({1, {x[0], x[1]}, {r[0], r[1]}, {2, 2}, {2, 2}}); }).sse_flags() & invalid;
    };
    const bool single = !k.f->is_double();
    const std::uint64_t one = single ? 0x3F8000003F800000 : 0x3FF0000000000000,
                        quiet = single ? 0x7FC000007FC00000 : 0x7FF8000000000000,
                        signalling = single ? 0x7F8000017F800001 : 0x7FF0000000000001;
    for (const unsigned mode : {ZUR_ERRMODE_NOERR, ZUR_ERRMODE_DEFAULT})
      on_new_thread([&] {
        _zurSetMode(mode);
        EXPECT_TRUE(compares || (!flags(quiet, one) && !flags(one, quiet))) << k;
        EXPECT_EQ(_zurGetErrStatus(), 0) << k;
        EXPECT_TRUE(k.f->how->inputs == 2 || k.f->type == 'c' || k.f->type == 'z' || flags(signalling, one))
            << k;
      });
  }
}

// Unit-stride Rint and NearbyInt round as the caller does; all others as their names say. Log1p of double at
// HA has no frame but for its rounding.
template <class T> void check_rounding() {
  const struct {
    const char* root;
    T x, nearest, down, up, toward_zero;
  } rows[] = {{"Rint", 2.5, 2, 2, 3, 2},        {"NearbyInt", -2.75, -3, -3, -2, -2},
              {"Ceil", 1.25, 2, 2, 2, 2},       {"Floor", 1.75, 1, 1, 1, 1},
              {"Trunc", -1.75, -1, -1, -1, -1}, {"Round", 2.5, 3, 3, 3, 3},
              {"Modf", -1.75, -1, -1, -1, -1}};
  for (const auto& row : rows)
    for (const kernel& k : kernels_of<T>(row.root))
      for (const unsigned rounding : {0, 1, 2, 3}) {
        T r, unused;
        under({0x1F80 | rounding << 13}, [&] { k({1, {&row.x}, {&r, &unused}, {2}, {2, 2}}); });
        const T expected[] = {row.nearest, row.down, row.up, row.toward_zero};
        EXPECT_EQ(r, expected[k.f->strided ? 0 : rounding]) << k << " in rounding " << rounding;
      }
}
TEST(special_values, whose_rounding_holds) {
  check_rounding<float>(), check_rounding<double>();
  for (const kernel& k : kernels_of<double>("Log1p"))
    for (const double x :
         {0.0, 0x1p-1000, -0x1p-100, 1e-20, -1e-9, 0.1, -0.9, 3.0, 1e10, 0x1p1022, 0x1.9p1023}) {
      double r[4];
      for (const unsigned rounding : {0, 1, 2, 3})
        under({0x1F80 | rounding << 13}, [&] { k({1, {&x}, {&r[rounding]}, {2}, {2}}); });
      EXPECT_EQ(std::count(r, r + 4, r[0]), 4) << k << " of " << x;
    }
}

// Denormal arguments and results are flushed where the mode word says so, whatever the caller's word, and
// with the status as without; unit-stride Abs leaves them to the caller's word.
template <class T> void check_denormals() {
  constexpr bool single = sizeof(T) == 4;
  constexpr T least = std::numeric_limits<T>::denorm_min();
  const struct {
    const char* root;
    T x;
    int kept, flushed, status, status_flushed;
  } rows[] = {{"Abs", -3 * least, FP_SUBNORMAL, FP_ZERO, 0, 0},
              {"Add", least, FP_SUBNORMAL, FP_ZERO, 0, 0},
              {"Div", least, FP_NORMAL, FP_NAN, 0, 2},
              {"Exp", single ? -87.4 : -720, FP_SUBNORMAL, FP_ZERO, 4, 4},
              {"Exp2", single ? -126.5 : -1022.7, FP_SUBNORMAL, FP_ZERO, 4, 4},
              {"Exp10", single ? -40 : -310, FP_SUBNORMAL, FP_ZERO, 4, 4}};
  for (const auto& row : rows)
    for (const kernel& k : kernels_of<T>(row.root))
      for (const unsigned mode : {0u, unsigned{ZUR_KEEP_DENORMALS}, unsigned{ZUR_FLUSH_DENORMALS}})
        for (const unsigned sse : {0x1F80, 0x1FC0, 0x9F80, 0x9FC0})
          on_new_thread([&] {
            _zurSetMode(mode);
            T r = -1;
            under({sse}, [&] { k({1, {&row.x, &row.x}, {&r}, {2, 2}, {2}}); });
            const bool callers = row.root == std::string("Abs") && !k.f->strided;
            const bool kept = callers ? sse == 0x1F80 : mode != ZUR_FLUSH_DENORMALS;
            EXPECT_EQ(std::fpclassify(r), kept ? row.kept : row.flushed)
                << k << std::hex << mode << ' ' << sse;
            EXPECT_EQ(_zurGetErrStatus(), kept ? row.status : row.status_flushed) << k;
          });
}
TEST(special_values, whose_denormal_handling_holds) { check_denormals<float>(), check_denormals<double>(); }

// In a screened block the elements go out one by one: at a report all before are written, none behind.
template <class T> void check_screened(const kernel& k, T special_value) {
  static constexpr int n = 24, special = 11;
  static constexpr T untouched = -77;
  static T r[n];
  static int calls;
  T x[n];
  std::fill_n(x, n, T(1)), std::fill_n(r, n, untouched);
  x[special] = special_value, calls = 0;
  on_new_thread([&] {
    _zurSetErrorCallBack([](ZurErrorContext* c) {
      EXPECT_EQ(c->Index, special);
      for (int i = 0; i < n; i++) EXPECT_EQ(r[i] != untouched, i <= special) << "element " << i;
      return calls++, 0;
    });
    k({n, {x}, {r}});
  });
  EXPECT_EQ(calls, 1) << k;
}
TEST(special_values, screened_blocks_write_in_order) {
  const std::map<double, std::set<std::string>> screened = {
      {-1,
       {"sSqrt_LA", "sSqrt_HA", "sSqrt_EP", "dSqrt_LA", "dSqrt_HA", "dSqrt_EP", "dLn_LA", "dLn_HA",
        "dLn_EP"}},
      {0, {"sInv_EP", "dInvSqrt_LA", "dInvSqrt_HA", "dInvSqrt_EP"}},
      {1000, {"sExp_LA", "sExp_HA", "dExp_LA", "dExp_HA", "dExp_EP"}}};
  for (const auto& [x, names] : screened)
    for (const kernel& k : kernels())
      if (names.contains(k.name()))
        k.f->is_double() ? check_screened<double>(k, x) : check_screened<float>(k, x);
}

}  // namespace
