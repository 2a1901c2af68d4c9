// What all kernels have in common, over every kernel of the list: which elements are read and written, what
// an element's result depends on, reports, and the caller's floating-point words.

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <map>

#include "tests/support/child.h"
#include "tests/support/guard.h"
#include "tests/support/probes.h"
#include "tests/support/registry.h"
#include "tests/support/samples.h"

namespace {

using namespace arko::test;
using bytes = std::vector<unsigned char>;

enum class place { begin, begin_plus_one, end };

struct operand {
  guarded memory{8192};
  unsigned char* first;  // element 0
  int inc;
  std::size_t size;  // of an element

  unsigned char* at(int i) const {
    return first + std::ptrdiff_t{i} * inc * static_cast<std::ptrdiff_t>(size);
  }

  // Puts an array of n elements at an end of the memory. All other bytes are `untouched`.
  void lay(int n, int increment, std::size_t element, place where) {
    inc = increment, size = element;
    const std::size_t steps =
        n > 0 ? static_cast<std::size_t>(n - 1) * static_cast<std::size_t>(std::abs(inc)) : 0;
    const std::size_t extent = n > 0 ? (steps + 1) * size : 0;
    memory.clear();
    unsigned char* low = where == place::end     ? memory.end() - extent
                         : where == place::begin ? memory.begin()
                                                 : memory.begin() + size;
    first = low + (inc < 0 ? steps * size : 0);
  }
  bytes image() { return {memory.begin(), memory.end()}; }
};

class frame : public testing::TestWithParam<kernel> {
 protected:
  const kernel k = GetParam();
  const form& how = *k.f->how;
  std::mt19937 random{20260501};
  operand in[2], out[2];

  // The unit-stride kernel of a twin's level.
  kernel unit() const {
    if (!k.f->strided) return k;
    for (const function& f : functions())
      if (f.name + "I" == k.f->name) return {&f, k.level};
    throw std::logic_error("a twin without its function");
  }

  // The results of one element, in a call of its own.
  void single(const kernel& one, const void* const (&a)[2], unsigned char (&r)[2][16]) const {
    alignas(16) unsigned char x[2][16] = {};
    arguments c{1};
    for (int j = 0; j < how.inputs; j++)
      std::memcpy(x[j], a[j], how.in_size), c.in[j] = x[j], c.inc_in[j] = 2;
    for (int j = 0; j < how.outputs; j++) c.out[j] = r[j], c.inc_out[j] = 2;
    one(c);
  }

  arguments call(int n) {
    arguments c{n};
    for (int j = 0; j < 2; j++) {
      c.in[j] = in[j].first, c.inc_in[j] = in[j].inc;
      c.out[j] = out[j].first, c.inc_out[j] = out[j].inc;
    }
    return c;
  }

  // Lays all arrays and fills the inputs. increments: one for each input, then one for each output.
  void lay(int n, const std::vector<int>& increments, place where) {
    for (int j = 0; j < 2; j++) {
      in[j].lay(n, j < how.inputs ? increments[j] : 1, how.in_size, where);
      out[j].lay(n, j < how.outputs ? increments[how.inputs + j] : 1, how.out_size, where);
    }
    for (int j = 0; j < how.inputs; j++)
      for (int i = 0; i < n; i++)
        fill(in[j].at(i), static_cast<int>(how.in_size / how.real_size), how.real_size, random);
  }
  // An increment that keeps a twin from calling the unit-stride kernel.
  int own_step() const { return k.f->strided ? 2 : 1; }
  std::vector<int> same(int inc) const { return std::vector<int>(how.inputs + how.outputs, inc); }

  // One call against calls for each element; `in_place`: the input that the first output shares, or none.
  void check(int n, const std::vector<int>& increments, place where, int in_place = -1) {
    lay(n, increments, where);
    operand& shared = in_place < 0 ? out[0] : in[in_place];
    const bool ones = increments == same(1);
    bytes expected[2] = {shared.image(), out[1].image()};
    for (int i = 0; i < n; i++) {
      const void* const a[] = {in[0].at(i), in[1].at(i)};
      unsigned char r[2][16];
      single(ones ? unit() : k, a, r);
      std::memcpy(&expected[0][shared.at(i) - shared.memory.begin()], r[0], how.out_size);
      std::memcpy(&expected[1][out[1].at(i) - out[1].memory.begin()], r[1],
                  how.outputs > 1 ? how.out_size : 0);
    }
    const bytes inputs[2] = {in[0].image(), in[1].image()};
    arguments c = call(n);
    c.out[0] = shared.first;
    k(c);
    for (int i = 0; how.inputs == 2 && i < n; i++)
      for (std::size_t part = 0; part < how.out_size; part += how.real_size)
        take_over_nan(&expected[0][shared.at(i) - shared.memory.begin() + part], shared.at(i) + part,
                      how.real_size);
    const auto told = [&] {
      std::string s = "n " + std::to_string(n) + ", place " + std::to_string(static_cast<int>(where)) +
                      ", in place " + std::to_string(in_place) + ", increments";
      for (const int inc : increments) s += " " + std::to_string(inc);
      return s;
    };
    ASSERT_TRUE(shared.image() == expected[0]) << told();
    ASSERT_TRUE(out[1].image() == expected[1]) << told();
    for (int j = 0; j < 2; j++) ASSERT_TRUE(j == in_place || in[j].image() == inputs[j]) << told();
  }
};

// Increments 1 here, also for the twins: those must give just what the unit-stride kernel gives.
TEST_P(frame, every_length_gives_what_single_elements_give) {
  for (const place where : {place::begin, place::begin_plus_one, place::end}) {
    for (const int n : {INT_MIN, -17, -1}) check(n, same(1), where);
    for (int n = 0; n <= 67; n++) {
      check(n, same(1), where);
      for (int j = 0; j < how.inputs && how.in_size == how.out_size; j++) check(n, same(1), where, j);
    }
  }
}

TEST_P(frame, every_increment_gives_what_single_elements_give) {
  if (!k.f->strided) return;
  const int arrays = how.inputs + how.outputs;
  for (int code = 0; code < 1 << (2 * arrays); code++) {
    std::vector<int> increments;
    for (int j = 0; j < arrays; j++) increments.push_back(std::array{-2, 0, 1, 3}[code >> (2 * j) & 3]);
    for (const int n : {-1, 0, 1, 3, 16, 37})
      check(n, increments, place::begin_plus_one), check(n, increments, place::end);
  }
  for (const int inc : {-2, 3})
    for (int n = 0; n <= 67 && how.in_size == how.out_size; n++) check(n, same(inc), place::end, 0);
}

TEST_P(frame, exported_names_reach_the_kernel_of_their_level) {
  constexpr int n = 40;
  lay(n, same(own_step()), place::end);
  k(call(n));
  const bytes expected = out[0].image();
  for (int name = 0; name < 4; name++) {
    if (std::array{0, 1, 1, 2}[name] != k.level) continue;
    out[0].memory.clear();
    (k.f->strided ? how.twin : how.unit)(k.f->names[name], call(n));
    EXPECT_TRUE(out[0].image() == expected) << name;
  }
}

// ---- reports

struct report {
  ZurErrorContext context;
  double argument, result;  // in the arrays at the time of the report
  bool later_untouched;
};

// What the callback of the running test sees and does.
struct listener {
  operand *in, *out;
  const form* how;
  int n;
  std::vector<report> reports = {};
  std::int32_t (*act)(ZurErrorContext*, std::size_t count) = nullptr;
};
thread_local listener* listening;

double real_at(const unsigned char* p, std::size_t real_size) {
  float s;
  double d;
  std::memcpy(&s, p, sizeof s);
  std::memcpy(&d, p, real_size == 8 ? 8 : 4);
  return real_size == 8 ? d : s;
}

bool same_number(double x, double y) { return x == y || (x != x && y != y); }

std::int32_t listen(ZurErrorContext* c) {
  listener& l = *listening;
  // No block is longer than 32 elements, so nothing beyond can have been computed.
  const auto is_untouched = [](unsigned char byte) { return byte == guarded::untouched; };
  bool later_untouched = true;
  for (int i = c->Index + 32; i < l.n; i++)
    later_untouched &= std::all_of(l.out->at(i), l.out->at(i) + l.how->out_size, is_untouched);
  l.reports.push_back({*c, real_at(l.in->at(c->Index), l.how->real_size),
                       real_at(l.out->at(c->Index), l.how->real_size), later_untouched});
  return l.act ? l.act(c, l.reports.size()) : 0;
}

TEST_P(frame, reports_ascend_and_tell_the_element) {
  for (const int inc : {1, 2, -3}) {
    if (inc != 1 && !k.f->strided) continue;
    constexpr int n = 150;
    lay(n, same(inc), place::end);
    listener l{in, out, &how, n};
    on_new_thread([&] {
      std::map<int, int> expected;  // status by element
      for (int i = 0; i < n; i++) {
        const void* const a[] = {in[0].at(i), in[1].at(i)};
        unsigned char r[2][16];
        _zurClearErrStatus();
        single(inc == 1 ? unit() : k, a, r);
        if (const int status = _zurGetErrStatus()) expected[i] = status;
      }
      listening = &l;
      _zurSetErrorCallBack(listen);
      _zurSetErrStatus(77);
      k(call(n));
      EXPECT_EQ(_zurGetErrStatus(), expected.empty() ? 77 : expected.rbegin()->second);
      ASSERT_EQ(l.reports.size(), expected.size());
      auto next = expected.begin();
      const std::string name = inc == 1 ? unit().f->report_name : k.f->report_name;
      for (const report& r : l.reports) {
        EXPECT_EQ(r.context.Index, next->first);
        EXPECT_EQ(r.context.Code, next->second);
        EXPECT_EQ(r.context.FuncName, name);
        EXPECT_EQ(r.context.FuncNameLen, static_cast<int>(name.size()));
        EXPECT_PRED2(same_number, r.context.Arg1, r.argument);
        EXPECT_PRED2(same_number, r.context.Res1, r.result);
        EXPECT_TRUE(r.later_untouched);
        next++;
      }
    });
  }
}

TEST_P(frame, callback_replaces_results_when_it_returns_zero) {
  constexpr int n = 150;
  lay(n, same(own_step()), place::end);
  on_new_thread([&] {
    k(call(n));
    bytes expected = out[0].image();
    listener l{in, out, &how, n};
    // 42 for every other report; changes of the others are dropped by returning 1.
    l.act = [](ZurErrorContext* c, std::size_t count) {
      c->Res1 = c->Res2 = 42;
      return static_cast<std::int32_t>(count % 2);
    };
    listening = &l;
    _zurSetErrorCallBack(listen);
    k(call(n));
    for (std::size_t i = 1; i < l.reports.size(); i += 2) {
      const float s = 42;
      const double d = 42;
      unsigned char* at = &expected[out[0].at(l.reports[i].context.Index) - out[0].memory.begin()];
      std::memcpy(at, how.real_size == 4 ? static_cast<const void*>(&s) : &d, how.real_size);
    }
    EXPECT_TRUE(out[0].image() == expected);
  });
}

TEST_P(frame, error_mode_does_not_change_results) {
  constexpr int n = 150;
  for (const int inc : {1, 2}) {
    lay(n, same(inc), place::end);
    listener l{in, out, &how, n};
    on_new_thread([&] {
      listening = &l;
      _zurClearErrStatus();
      k(call(n));
      const int status = _zurGetErrStatus();
      const bytes expected = out[0].image();
      _zurSetErrorCallBack(listen);
      for (const unsigned mode : {ZUR_ERRMODE_NOERR, ZUR_ERRMODE_IGNORE}) {
        _zurSetMode(mode);
        _zurSetErrStatus(77);
        errno = 0;
        out[0].memory.clear();
        const fp_words after = under({}, [&] { k(call(n)); });
        EXPECT_TRUE(out[0].image() == expected) << std::hex << mode;
        EXPECT_EQ(_zurGetErrStatus(), mode == ZUR_ERRMODE_NOERR || status == 0 ? 77 : status);
        EXPECT_EQ(errno, 0);
        EXPECT_EQ(after.x87_flags(), 0u);
        EXPECT_TRUE(l.reports.empty());
      }
    });
  }
}

// ---- the floating-point environment

// Kernels that keep the caller's rounding and denormal handling and do not look at the mode word.
bool keeps_callers_environment(const kernel& k) {
  const std::string& name = k.f->name;
  for (const char* f :
       {"sAbs", "dAbs", "sRint", "dRint", "sNearbyInt", "dNearbyInt", "dLinearFrac", "dLinearFracI"})
    if (name == f) return true;
  return name == "dLog1p" && k.level == 1;
}

TEST_P(frame, callers_words_come_back_and_results_do_not_depend_on_them) {
  constexpr int n = 37;
  const bool own = !keeps_callers_environment(k);
  lay(n, same(own_step()), place::end);
  for (const unsigned denormals : {0u, ZUR_KEEP_DENORMALS, ZUR_FLUSH_DENORMALS})
    on_new_thread([&] {
      // A report may raise x87 flags, which a caller with unmasked exceptions would see as a trap.
      _zurSetMode(ZUR_ERRMODE_IGNORE | denormals);
      const unsigned raised = under({}, [&] { k(call(n)); }).sse_flags();
      const bytes expected = out[0].image();
      int checked = 0;
      for (unsigned sse = 0; sse < 0x10000; sse += 0x20) {
        // Rounding and both denormal bits go round; masks all, none, or all but one; with and without a flag.
        const unsigned masks = sse & 0x1F80;
        if (masks != 0x1F80 && masks != 0 && masks != 0x1F00 && masks != 0x1B80) continue;
        for (const std::uint16_t control : {0x37F, 0x27F, 0x07F, 0xC7F, 0x340, 0xB7B}) {
          out[0].memory.clear();
          const fp_words after = under({sse, control}, [&] { k(call(n)); });
          ASSERT_EQ(after.control, control) << std::hex << sse;
          ASSERT_EQ(after.sse & ~0x3Fu, sse & ~0x3Fu);
          ASSERT_EQ(sse & ~after.sse, 0u) << "a sticky flag was lost";
          if (own) {
            ASSERT_EQ(after.sse, sse | raised) << std::hex << sse;
            ASSERT_TRUE(out[0].image() == expected) << std::hex << sse << ' ' << control;
          }
          checked++;
        }
      }
      EXPECT_EQ(checked, 4 * 4 * 4 * 2 * 6);
    });
}

INSTANTIATE_TEST_SUITE_P(all, frame, testing::ValuesIn(kernels()),
                         [](const auto& info) { return info.param.name(); });

}  // namespace
