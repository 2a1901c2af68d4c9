// The built module and the source tree against the lists of data/: names, tables, forwarders, dependencies.
//
// data/exports.txt has the names of the whole export surface by group, data/sharing.csv says which levels of a function
// share a kernel, data/includes.txt what a folder may include: folders and single files.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/registry.h"

namespace {

using namespace arko::test;
using names = std::set<std::string>;

std::vector<std::string> lines_of(const std::string& command) {
  std::vector<std::string> lines;
  std::FILE* pipe = popen(command.c_str(), "r");
  char line[1024];
  while (std::fgets(line, sizeof line, pipe)) lines.push_back(std::string(line, std::strcspn(line, "\n")));
  EXPECT_EQ(pclose(pipe), 0) << command;
  return lines;
}

// What stands between the first of `open` and the next of `close`.
std::string between(const std::string& line, const char* open, const char* close) {
  const std::size_t first = line.find_first_of(open) + 1;
  return line.substr(first, line.find_first_of(close, first) - first);
}

names words_of(const std::string& line) {
  std::istringstream words(line);
  return {std::istream_iterator<std::string>(words), {}};
}

void expect_same(const names& found, const names& expected) {
  for (const std::string& name : found) EXPECT_TRUE(expected.contains(name)) << name << " is too many";
  for (const std::string& name : expected) EXPECT_TRUE(found.contains(name)) << name << " is missing";
}

std::map<std::string, names> groups_of_exports() {
  std::map<std::string, names> groups;
  std::string group;
  for (const std::string& line : lines_of("cat " ARKO_SOURCE "/tests/exports/data/exports.txt"))
    if (line.starts_with("# "))
      group = line.substr(2);
    else
      groups[group].merge(words_of(line));
  return groups;
}

// The rows of the one list, planned ones included; a twin is a row of its own here.
struct listed_function {
  std::string name, sharing;
  bool has_kernels;
};
std::vector<listed_function> list() {
  std::vector<listed_function> all;
  const auto add = [&](const std::string& name, const char* sharing, const std::string& twin,
                       bool has_kernels) {
    all.push_back({name, sharing, has_kernels});
    if (twin != "none") all.push_back({name + "I", sharing, has_kernels});
  };
#define KERNELS(type, root, form, sharing, twin, ...) add(#type #root, #sharing, #twin, true);
#define PLANNED(type, root, form, sharing, twin) add(#type #root, #sharing, #twin, false);
#include "vector/functions.def"
  return all;
}

names entries_of(const std::string& f) {
  const bool single = f[0] == 's' || f[0] == 'c';
  return {"_zur" + f, "_zur" + f + "_HA", "_zur" + f + (single ? "_21" : "_50"),
          "_zur" + f + (single ? "_11" : "_26")};
}
names tables_of(const std::string& f) {
  return {"arko_zur_kernel_" + f + "_ttab", "arko_zur_kernel_" + f + "_ctab"};
}

TEST(list, names_every_function_once_and_which_levels_share_a_kernel) {
  names functions, sharing, expected;
  for (const listed_function& f : list()) {
    EXPECT_TRUE(sharing.insert(f.name + "," + f.sharing).second) << f.name;
    for (names some : {entries_of(f.name), tables_of(f.name)}) functions.merge(some);
  }
  for (const std::string& line : lines_of("sed 1d " ARKO_SOURCE "/tests/exports/data/sharing.csv"))
    expected.insert(line);
  expect_same(sharing, expected);
  auto groups = groups_of_exports();
  for (const char* group : {"kernel tables", "cost tables"}) groups["vector entries"].merge(groups[group]);
  expect_same(functions, groups["vector entries"]);
}

TEST(module, exports_what_it_has_and_nothing_else) {
  auto groups = groups_of_exports();
  names expected, optional, data = groups["data objects"], found;
  for (const auto& [group, members] : groups)
    (group.ends_with(", in part") ? optional : expected).insert(members.begin(), members.end());
  for (const listed_function& f : list()) {
    data.merge(tables_of(f.name));
    if (f.has_kernels) continue;
    for (const names& planned : {entries_of(f.name), tables_of(f.name)})
      for (const std::string& name : planned) expected.erase(name);
  }
  std::map<std::string, std::string> places;
  for (const std::string& line : lines_of("nm -D --defined-only " ARKO_ZUR_MODULE)) {
    std::istringstream fields(line);
    std::string place, kind, name;
    fields >> place >> kind >> name;
    if (name.starts_with("__odr_asan.") || optional.contains(name)) continue;
    places[name] = place;
    found.insert(name);
    EXPECT_EQ(kind == "D" || kind == "R", data.contains(name)) << name << ' ' << kind;
  }
  expect_same(found, expected);
  std::map<std::string, std::string> pairs;  // two names of one entry
  for (const std::string& name : groups["frame"])
    if (name.starts_with("_zur")) pairs[name] = "arko_zur_kernel_" + name.substr(4);
  for (const function& f : functions()) pairs["_zur" + f.name] = "_zur" + f.name + "_HA";
  for (const auto& [a, b] : pairs) EXPECT_EQ(places[a], places[b]) << a;
}

TEST(module, tables_share_kernels_as_listed_and_cost_the_same_then) {
  std::map<std::string, std::string> listed;
  for (const listed_function& f : list()) listed[f.name] = f.sharing;
  for (const function& f : functions()) {
    const std::string& sharing = listed[f.name];
    const auto expect_shared = [&](int a, int b, bool shared) {
      EXPECT_EQ(f.table[a] == f.table[b], shared) << f.name;
      EXPECT_TRUE(!shared || f.costs[a] == f.costs[b]) << f.name;
    };
    expect_shared(0, 1, sharing == "one" || sharing == "la_ha");
    expect_shared(0, 2, sharing == "one" || sharing == "la_ep");
    expect_shared(1, 2, sharing == "one");
    EXPECT_TRUE(f.table[0] && f.table[1] && f.table[2]) << f.name;
  }
}

TEST(module, needs_no_cxx_run_time) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer brings its run time";
#endif
  names needed;
  for (const std::string& line : lines_of("readelf -dW " ARKO_ZUR_MODULE))
    if (line.find("(NEEDED)") != line.npos) needed.insert(between(line, "[", "]"));
  EXPECT_TRUE(needed.contains("libarko_core.so.1"));
  for (const char* allowed : {"libc.so.6", "libm.so.6", "libarko_core.so.1", "ld-linux-x86-64.so.2"})
    needed.erase(allowed);
  EXPECT_EQ(needed, names());
}

// Entries that copy a complex scalar may be a call, and those of pack set a flag; all others are a jump through
// the slot or to the kernel. With arguments on the stack clang++ loads the slot into a register first.
TEST(module, forwarders_are_one_jump) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__)
  GTEST_SKIP() << "only the optimised build without sanitizers is looked at";
#endif
  names jumping;
  std::string entry;
  for (const std::string& line : lines_of("objdump -d --no-show-raw-insn " ARKO_ZUR_MODULE)) {
    if (line.ends_with(">:")) {
      entry = between(line, "<", ">");
      if (entry.ends_with("_HA")) entry.resize(entry.size() - 3);  // one of two names of one entry
    } else if (!entry.empty() && line.find("endbr64") == line.npos) {
      const bool loads = line.find("\tmov ") != line.npos && line.find("(%rip),%rax") != line.npos;
      if (line.find("\tjmp ") != line.npos || line.find("\tbnd jmp ") != line.npos) jumping.insert(entry);
      if (!loads) entry.clear();
    }
  }
  names expected;
  for (const function& f : functions())
    if (f.how->inputs && !f.name.starts_with("zPowx")) expected.merge(entries_of(f.name));
  std::erase_if(expected,
                [&](const std::string& name) { return name.ends_with("_HA") || jumping.contains(name); });
  EXPECT_EQ(expected, names());
}

TEST(source, includes_go_one_way) {
  const names rooms = {"arko",  "core", "frame", "vector", "rng",   "distributions",
                       "stats", "fit",  "tests", "bench",  "tools", "examples"};
  for (const std::string& row : lines_of("cat " ARKO_SOURCE "/tests/exports/data/includes.txt")) {
    const std::string folder = row.substr(0, row.find(' '));
    const names allowed = words_of(row.substr(folder.size()));
    for (const std::string& line : lines_of("grep -r '^#include ' " ARKO_SOURCE "/" + folder)) {
      const std::string path = between(line, "<\"", ">\""), room = path.substr(0, path.find('/'));
      // All others are the system's, or tables that the build makes.
      EXPECT_TRUE(!rooms.contains(room) || allowed.contains(room) || allowed.contains(path)) << line;
    }
  }
}

// One source of a kernel serves every width of registers: what one width has of its own stands in
// vector/lanes.h.
TEST(source, kernels_name_no_width) {
  EXPECT_GT(lines_of("ls " ARKO_SOURCE "/vector/*/*.cpp").size(), 10u);
  for (const std::string& line : lines_of("grep -rE "
                                          "'_mm[0-9]*_[a-z]|__m(64|128|256|512)|intrin[.]h|vector_size|__"
                                          "builtin_ia32|__AVX|__SSE' " ARKO_SOURCE "/vector/*/ || true"))
    ADD_FAILURE() << line;
}

}  // namespace
