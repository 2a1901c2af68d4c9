// Exp, Exp2, Exp10 and Expm1 at their edges.

#include "tests/vector/special_values.h"

namespace {

using namespace arko::test;

// Kernels of Exp that serve special lanes by their own routine differ in two thresholds of single precision.
bool screened(const kernel& k) { return !k.f->strided && (k.f->is_double() || k.level != 2); }
bool masked(const kernel& k) { return !screened(k); }

long double exp10_by_pow(long double x) { return std::pow(10.0L, x); }

// Arguments at the ends of the fast path and of its routine's ranges. Those with a normal result have no status, those
// with a denormal one status 4; from `overflows` on the result is infinite.
template <class T> struct exponential {
  const char* root;
  long double (*function)(long double);
  std::vector<T> normal, denormal;
  T overflows;
  std::vector<row<T>> others;
};

const exponential<float> singles[] = {
    {"Exp",
     std::exp,
     {1, s(0x42AEAC4F), s(0x42AEAC50), s(0xC2AEAC4F), 88.7f, s(0x42B17217)},
     {s(0xC2AEAC50), -87.4f, s(0xC2CE8ED0)},
     s(0x42B17218),
     {{s(0xC2CE8ED1), 0, 4, screened},  // -103.27894
      near(s(0xC2CE8ED1), 4, masked),
      {-103.3f, 0, 4, screened},
      {-103.3f, s(0x00000001), 4, masked},
      {s(0xC2CFF1B4), s(0x00000001), 4, masked},  // the last denormal result
      {s(0xC2CFF1B5), 0, 4}}},
    {"Exp2",
     std::exp2,
     {0.3f, s(0x42FC0001), s(0x42FFFFFF)},
     {s(0xC2FC0001), -126.5f, -148.9f},
     128,
     {{1, 2, 0},
      {-3, 0.125f, 0},
      {126, 0x1p126f, 0},
      {-126, 0x1p-126f, 0},
      {127, 0x1p127f, 0},
      {s(0xC315FFFF), s(0x00000001), 4},
      {-150, 0, 4}}},
    {"Exp10",
     exp10_by_pow,
     {1, -0.3f, s(0x4217B818), s(0x4217B819), s(0xC217B818), s(0x421A209A)},
     {-37.9297829f, -40},
     s(0x421A209B),
     {{-45.154499f, s(0x00000001), 4}, {s(0xC2349E36), 0, 4}}},
    {"Expm1",
     std::expm1,
     {0x1p-12f, 0.0108f, -0.0108f, 1, -16, s(0x42AD496B), s(0x42AD496C), 88.7228317f},
     {},
     s(0x42B17218),
     {{0x1p-30f, 0x1p-30f, 0}, {-18, -1, 0}, {s(0xC2AD496B), -1, 0}, {s(0xC2AD496C), -1, 0}}},
};

// The fast path ends by the upper word of x.
const exponential<double> doubles[] = {
    {"Exp",
     std::exp,
     {1, d(0x4086232AFFFFFFFF), d(0x4086232B00000000), d(0xC086232AFFFFFFFF), d(0xC086232B00000000),
      d(0xC086232BDD7ABCD2), 709.78, d(0x40862E3D73697A30), d(0x40862E3D73697A31), d(0x40862E42FEFA39EF)},
     {d(0xC086232BDD7ABCD3), -720, d(0xC0874910D52D3051)},
     d(0x40862E42FEFA39F0),
     {{d(0xC0874910D52D3052), 0, 4}, {-745.14, 0, 4}}},
    {"Exp2",
     std::exp2,
     {0.3, d(0x408FEFFFFFFFFFFF), d(0xC08FEFFFFFFFFFFF), d(0x408FFFFFFFFFFFFF)},
     {d(0xC08FF00000000003), -1022.7, -1060.3, -1073.9},
     1024,
     {{10, 1024, 0},
      {-3, 0.125, 0},
      {1022, 0x1p1022, 0},
      {-1022, 0x1p-1022, 0},
      {1023, 0x1p1023, 0},
      {d(0xC090CBFFFFFFFFFF), d(0x0000000000000001), 4},
      {-1075, 0, 4}}},
    {"Exp10",
     exp10_by_pow,
     {1, -0.3, d(0x40733A70FFFFFFFF), d(0x40733A7100000000), d(0xC0733A70FFFFFFFF), d(0xC0733A7100000000),
      -307.6526555685887, 308, 308.2547155599167},
     {d(0xC0733A7146F72A42), -310},
     308.25471555991675,
     {{-323.60724533877976, d(0x0000000000000001), 4}, {-323.6072453387798, 0, 4}}},
    {"Expm1",
     std::expm1,
     {0x1p-26, 0.0054, -0.0054, 1, -36, d(0x40861DA0FFFFFFFF), d(0x40861DA100000000), 709.78,
      d(0x40862E42FEFA39EF)},
     {},
     d(0x40862E42FEFA39F0),
     {{0x1p-60, 0x1p-60, 0}, {-40, -1, 0}, {d(0xC0861DA0FFFFFFFF), -1, 0}, {d(0xC0861DA100000000), -1, 0}}},
};

template <class T> void check_edges(const exponential<T>& e) {
  using limits = std::numeric_limits<T>;
  const bool less_one = std::string(e.root) == "Expm1";
  const T nan = sizeof(T) == 4 ? T(s(0x7FC00001)) : T(d(0x7FF8000000000001)), inf = infinity<T>,
          low = less_one ? -1 : 0;
  std::vector<row<T>> rows = e.others;
  for (const T x : {T(0.0), T(-0.0), limits::denorm_min(), -(limits::min() - limits::denorm_min())})
    rows.push_back({x, less_one ? x : T(1), 0});
  for (const row<T>& r : {row<T>{nan, nan, 0},
                          {-nan, -nan, 0},
                          {inf, inf, 0},
                          {-inf, low, 0},
                          {e.overflows, inf, 3},
                          {limits::max(), inf, 3},
                          {limits::lowest(), low, less_one ? 0 : 4}})
    rows.push_back(r);
  for (const T x : e.normal) rows.push_back(near(x, 0));
  for (const T x : e.denormal) rows.push_back(near(x, 4));
  check_rows(e.root, rows, {e.function});
  if (!less_one) check_denormal_result(e.root, e.denormal[1], 4);
}

TEST(exponentials, edges) {
  for (const auto& e : singles) check_edges(e), check_signalling(e.root);
  for (const auto& e : doubles) check_edges(e);
}
TEST(exponentials, screened_blocks_write_in_order) {
  check_screened("Exp", 1000.0f, screened);
  check_screened("Exp", 1000.0, screened);
}

}  // namespace
