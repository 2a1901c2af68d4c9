// The built module and the source tree against the lists of data/: names, tables, forwarders, dependencies.
//
// data/exports.txt has the names of the whole export surface by group, data/sharing.csv says which levels of
// a function share a kernel.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/registry.h"

namespace {

using namespace arko::test;
namespace fs = std::filesystem;
using names = std::set<std::string>;

const fs::path data = fs::path(ARKO_SOURCE) / "tests/exports/data";

std::vector<std::string> lines_of(const std::string& command) {
  std::vector<std::string> lines;
  std::FILE* pipe = popen(command.c_str(), "r");
  char line[1024];
  while (std::fgets(line, sizeof line, pipe)) lines.push_back(std::string(line, std::strcspn(line, "\n")));
  EXPECT_EQ(pclose(pipe), 0) << command;
  return lines;
}

// What stands between the first `open` and the next `close`.
std::string between(const std::string& line, char open, char close) {
  const std::size_t first = line.find(open) + 1;
  return line.substr(first, line.find(close, first) - first);
}

// Names of the first that the second has not.
names without(names first, const names& second) {
  std::erase_if(first, [&](const std::string& name) { return second.contains(name); });
  return first;
}
void expect_same(const names& found, const names& expected) {
  EXPECT_EQ(without(found, expected), names());
  EXPECT_EQ(without(expected, found), names());
}

// data/exports.txt: names by group.
std::map<std::string, names> listed() {
  std::map<std::string, names> groups;
  std::ifstream file(data / "exports.txt");
  std::string group;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("# "))
      group = line.substr(2, line.find(" (") - 2);
    else if (!line.starts_with("#"))
      groups[group].insert(line.substr(0, line.find(' ')));
  }
  return groups;
}

struct symbol {
  std::string address;
  char kind;
};
std::map<std::string, symbol> exported() {
  std::map<std::string, symbol> symbols;
  for (const std::string& line : lines_of("nm -D --defined-only " ARKO_ZUR_MODULE)) {
    std::istringstream fields(line);
    std::string address, name;
    char kind;
    fields >> address >> kind >> name;
    if (!name.starts_with("__odr_asan.")) symbols[name] = {address, kind};
  }
  return symbols;
}

// The rows of the one list, planned ones included; a twin is a row of its own here.
struct listed_function {
  std::string name, sharing;
  bool has_kernels;
};
std::vector<listed_function> list() {
  struct {
    const char *type, *root, *sharing, *twin;
    bool has_kernels;
  } const rows[] = {
#define KERNELS(type, root, form, sharing, twin, ...) {#type, #root, #sharing, #twin, true},
#define PLANNED(type, root, form, sharing, twin) {#type, #root, #sharing, #twin, false},
#include "vector/functions.def"
  };
  EXPECT_EQ(std::size(rows), 232u);
  std::vector<listed_function> all;
  for (const auto& row : rows) {
    const std::string name = std::string(row.type) + row.root;
    all.push_back({name, row.sharing, row.has_kernels});
    if (std::strcmp(row.twin, "none") != 0) all.push_back({name + "I", row.sharing, row.has_kernels});
  }
  return all;
}

names entry_names(const std::string& f) {
  const bool single = f[0] == 's' || f[0] == 'c';
  return {"_zur" + f, "_zur" + f + "_HA", "_zur" + f + (single ? "_21" : "_50"),
          "_zur" + f + (single ? "_11" : "_26")};
}

TEST(list, names_every_function_once) {
  names entries, tables, costs;
  for (const listed_function& f : list()) {
    entries.merge(entry_names(f.name));
    tables.insert("arko_zur_kernel_" + f.name + "_ttab");
    costs.insert("arko_zur_kernel_" + f.name + "_ctab");
  }
  auto groups = listed();
  EXPECT_EQ(list().size(), 440u);
  EXPECT_EQ(entries.size(), 1760u);
  expect_same(entries, groups["vector entries"]);
  expect_same(tables, groups["kernel tables"]);
  expect_same(costs, groups["cost tables"]);
}

TEST(list, tells_which_levels_share_a_kernel) {
  std::map<std::string, std::string> expected, told;
  std::map<std::string, int> counts;
  std::ifstream file(data / "sharing.csv");
  std::string line;
  for (std::getline(file, line); std::getline(file, line);) {
    const std::size_t comma = line.find(',');
    expected[line.substr(0, comma)] = line.substr(comma + 1);
  }
  const std::map<std::string, std::string> words = {
      {"one", "all_same"}, {"la_ha", "LA_HA_same"}, {"la_ep", "LA_EP_same"}, {"three", "all_different"}};
  for (const listed_function& f : list()) told[f.name] = words.at(f.sharing), counts[f.sharing]++;
  EXPECT_EQ(told, expected);
  EXPECT_EQ(counts, (std::map<std::string, int>{{"one", 214}, {"la_ha", 48}, {"la_ep", 30}, {"three", 148}}));
}

TEST(module, exports_what_it_has_and_nothing_else) {
  const auto symbols = exported();
  auto groups = listed();
  names expected = groups["frame"], data_names;
  ASSERT_EQ(expected.size(), 21u);
  for (const function& f : functions()) {
    expected.merge(entry_names(f.name));
    for (const char* suffix : {"_ttab", "_ctab"}) {
      data_names.insert("arko_zur_kernel_" + f.name + suffix);
      expected.insert("arko_zur_kernel_" + f.name + suffix);
    }
  }
  for (const names& data_objects : {groups.extract("data objects").mapped()}) {
    expected.insert(data_objects.begin(), data_objects.end());
    data_names.insert(data_objects.begin(), data_objects.end());
  }
  for (const char* complete :
       {"streams: records, registry, chunks, helpers", "streams: congruential generators",
        "streams: shift-register generators", "streams: counter-based and hardware generators",
        "streams: persistence", "distributions: uniform family", "statistics: task", "statistics: moments",
        "fitting: task", "fitting: search", "fitting: construction", "fitting: interpolation",
        "fitting: integration"})
    expected.merge(groups.extract(complete).mapped());
  names vector_names, others;  // those of the other groups may be there in part
  for (const auto& [group, members] : groups)
    (group == "vector entries" || group == "kernel tables" || group == "cost tables" || group == "frame"
         ? vector_names
         : others)
        .insert(members.begin(), members.end());
  names found;
  for (const auto& [name, symbol] : symbols) {
    if (!vector_names.contains(name) && others.contains(name)) continue;
    found.insert(name);
    EXPECT_EQ(symbol.kind == 'D' || symbol.kind == 'R', data_names.contains(name))
        << name << ' ' << symbol.kind;
  }
  expect_same(found, expected);
  for (const function& f : functions())
    EXPECT_EQ(symbols.at("_zur" + f.name).address, symbols.at("_zur" + f.name + "_HA").address) << f.name;
}

TEST(module, tables_share_kernels_as_listed) {
  std::size_t checked = 0;
  for (const listed_function& l : list()) {
    if (!l.has_kernels) continue;
    for (const function& f : functions()) {
      if (f.name != l.name) continue;
      const auto& [la, ha, ep] = f.table;
      EXPECT_TRUE(la && ha && ep) << f.name;
      EXPECT_EQ(la == ha, l.sharing == "one" || l.sharing == "la_ha") << f.name;
      EXPECT_EQ(la == ep, l.sharing == "one" || l.sharing == "la_ep") << f.name;
      EXPECT_EQ(ha == ep, l.sharing == "one") << f.name;
      checked++;
    }
  }
  EXPECT_EQ(checked, functions().size());
}

TEST(module, cost_rows) {
  const std::map<std::string, std::vector<float>> known = {
      {"sSqr", {0.400f, 0.400f, 0.400f}},       {"sAdd", {0.960f, 0.960f, 0.960f}},
      {"sSqrt", {2.580f, 5.410f, 2.040f}},      {"sExp", {6.460f, 7.160f, 4.246f}},
      {"dExp", {11.220f, 17.910f, 8.810f}},     {"sLn", {7.846f, 9.361f, 5.173f}},
      {"dLn", {18.090f, 18.090f, 11.360f}},     {"dPow", {53.790f, 53.790f, 34.392f}},
      {"dLGamma", {319.79f, 319.79f, 319.79f}}, {"sPackI", {1111, 1111, 1111}}};
  std::map<std::string, std::vector<float>> costs;
  for (const function& f : functions()) {
    const float* c = f.costs;
    costs[f.name] = {c[0], c[1], c[2]};
    for (int i = 0; i < 3; i++) {
      EXPECT_TRUE(c[i] >= 0.4f && c[i] <= 1260.85f) << f.name;
      for (int j = 0; j < i; j++) EXPECT_TRUE(f.table[i] != f.table[j] || c[i] == c[j]) << f.name;
    }
    const auto& twins = f.strided ? costs[f.name.substr(0, f.name.size() - 1)] : costs[f.name];
    EXPECT_EQ(costs[f.name], twins) << f.name;
    EXPECT_EQ(costs[f.name], known.contains(f.name) ? known.at(f.name) : twins) << f.name;
  }
}

TEST(module, needs_no_cxx_run_time) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "a sanitizer brings its run time";
#endif
  const names allowed = {"libc.so.6", "libm.so.6", "libarko_core.so.1", "ld-linux-x86-64.so.2"};
  int count = 0;
  for (const std::string& line : lines_of("readelf -dW " ARKO_ZUR_MODULE)) {
    if (line.find("(NEEDED)") == line.npos) continue;
    EXPECT_TRUE(allowed.contains(between(line, '[', ']'))) << line;
    count++;
  }
  EXPECT_GT(count, 0);
}

// Entries that copy a complex scalar may be a call, and those of pack set a flag; all others are a jump through
// the slot or to the kernel. With arguments on the stack clang++ loads the slot into a register first.
TEST(module, forwarders_are_one_jump) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__)
  GTEST_SKIP() << "only the optimised build without sanitizers is looked at";
#endif
  names forwarders;
  for (const function& f : functions())
    if (f.how->inputs && f.name.substr(0, 5) != "zPowx") forwarders.merge(entry_names(f.name));
  names jumping;
  std::string entry;
  for (const std::string& line : lines_of("objdump -d --no-show-raw-insn " ARKO_ZUR_MODULE)) {
    if (line.ends_with(">:")) {
      entry = between(line, '<', '>');
    } else if (!entry.empty() && line.find("endbr64") == line.npos) {
      const bool loads = line.find("\tmov ") != line.npos && line.find("(%rip),%rax") != line.npos;
      if (line.find("\tjmp ") != line.npos || line.find("\tbnd jmp ") != line.npos) jumping.insert(entry);
      if (!loads) entry.clear();
    }
  }
  // Two names of one entry: the listing shows one of them.
  for (const function& f : functions())
    for (const char* suffix : {"", "_HA"})
      if (jumping.contains("_zur" + f.name) || jumping.contains("_zur" + f.name + "_HA"))
        jumping.insert("_zur" + f.name + suffix);
  for (const std::string& name : forwarders) EXPECT_TRUE(jumping.contains(name)) << name;
}

// Folders include each other one way only.
TEST(source, includes_go_one_way) {
  const std::map<std::string, names> allowed = {
      {"include", {"arko"}},
      {"core", {"arko/core.h", "core"}},
      {"frame", {"arko", "frame"}},
      {"vector", {"arko", "frame", "vector"}},
      {"rng", {"arko", "core/block.h", "rng"}},
      {"distributions", {"arko", "frame", "vector/functions.h", "rng", "distributions"}},
      {"stats",
       {"arko", "core/block.h", "frame/kernel_guard.h", "vector/functions.h", "rng", "distributions",
        "stats"}},
      {"fit", {"arko", "core/block.h", "fit"}}};
  const names rooms = {"arko",  "core", "frame", "vector", "rng",   "distributions",
                       "stats", "fit",  "tests", "bench",  "tools", "examples"};
  int seen = 0;
  for (const auto& [folder, may] : allowed)
    for (const auto& file : fs::recursive_directory_iterator(fs::path(ARKO_SOURCE) / folder)) {
      if (!file.is_regular_file()) continue;
      std::ifstream text(file.path());
      for (std::string line; std::getline(text, line);) {
        if (!line.starts_with("#include ")) continue;
        const std::string path = line[9] == '"' ? between(line, '"', '"') : between(line, '<', '>');
        const std::string room = path.substr(0, path.find('/'));
        if (!rooms.contains(room)) continue;  // the system's, or a table that the build makes
        EXPECT_TRUE(may.contains(room) || may.contains(path)) << file.path() << ": " << line;
        seen++;
      }
    }
  EXPECT_GT(seen, 30);
}

}  // namespace
