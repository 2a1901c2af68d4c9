// The tour: what arko does for its users and how well, on real data, by its public headers alone.
//
//   tour DATA PICTURES            the whole tour, with the files of the folder DATA
//   tour FILE.csv [COLUMN...]     statistics of a file's columns, by name or number; of all that hold numbers
#include "examples/tour/tour.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace tour {

void done(std::int32_t status, const char* entry) {
  if (status) throw std::runtime_error(std::string(entry) + ": status " + std::to_string(status));
}

void draw(const std::string& pictures, const std::string& name, const frame& around,
          const std::vector<series>& all) {
  const std::string path = pictures + "/" + name + ".svg", script = pictures + "/" + name + ".gnuplot";
  std::FILE* file = std::fopen(script.c_str(), "w");
  if (!file) throw std::runtime_error(script + ": cannot be written");
  std::fprintf(file,
               "set terminal svg size 720,400 background rgb 'white'\nset output '%s'\nset title '%s'\n"
               "set xlabel '%s'\nset ylabel '%s'\n%s\nplot",
               path.c_str(), around.title.c_str(), around.x_axis.c_str(), around.y_axis.c_str(),
               around.settings.c_str());
  for (std::size_t i = 0; i < all.size(); i++)
    std::fprintf(file, "%s '-' with %s title '%s'", i ? "," : "", all[i].style.c_str(), all[i].name.c_str());
  std::fprintf(file, "\n");
  for (const series& s : all) {
    for (std::size_t i = 0; i < s.x.size(); i++) std::fprintf(file, "%.9g %.9g\n", s.x[i], s.y[i]);
    std::fprintf(file, "e\n");
  }
  std::fclose(file);
  if (std::system(("gnuplot '" + script + "'").c_str()))
    throw std::runtime_error("gnuplot failed on " + script);
  std::printf("  picture: %s\n", path.c_str());
}

}  // namespace tour

int main(int argc, char** argv) try {
  using namespace tour;
  if (argc >= 2 && !std::filesystem::is_directory(argv[1])) {
    statistics(read_table(argv[1], {argv + 2, argv + argc}));
    return 0;
  }
  if (argc != 3) throw std::runtime_error("usage: tour DATA PICTURES | tour FILE.csv [COLUMN...]");
  std::filesystem::create_directories(argv[2]);
  vector_mathematics(argv[1]);
  streams(argv[2]);
  geyser(argv[1], argv[2]);
  splines(argv[1], argv[2]);
  return 0;
} catch (const std::exception& e) {
  std::fprintf(stderr, "tour: %s\n", e.what());
  return 1;
}
