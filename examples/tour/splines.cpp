// Natural, Akima and Hyman splines through two tables: values, derivatives, integrals.
#include <arko/fit.h>

#include <cstdio>

#include "examples/thread_services.h"
#include "examples/tour/tour.h"

namespace tour {
namespace {

using arko::examples::thread_services;

// A cubic spline through the points of a table.
class spline {
 public:
  spline(const std::vector<double>& x, const std::vector<double>& y, std::int64_t type)
      : coefficients_(4 * (x.size() - 1)) {
    const auto n = static_cast<std::int64_t>(x.size());
    done(arko_df_kernel_dNewTask1D(&task_, n, x.data(), FIT_X_IRREGULAR, 1, y.data(), FIT_Y_NOHINT, 0),
         "NewTask1D");
    done(arko_df_kernel_dEditPPSpline1D(task_, FIT_ORDER_CUBIC, type, FIT_BC_FREE_END, nullptr, FIT_IC_NONE,
                                        nullptr, coefficients_.data(), FIT_C_NOHINT),
         "EditPPSpline1D");
    const auto construct = type == FIT_TYPE_NATURAL ? arko_df_kernel_dDFNaturalCubicSpline1D
                           : type == FIT_TYPE_AKIMA ? arko_df_kernel_dDFAkimaCubicSpline1D
                                                    : arko_df_kernel_dDFHymanCubicSpline1D;
    done(construct(task_, 0, 0, thread_services::get()), "Spline1D");
  }
  spline(const spline&) = delete;
  ~spline() { arko_df_kernel_DeleteTask(&task_); }

  // Value and first derivative at ascending sites, pair after pair.
  std::vector<double> at(const std::vector<double>& sites) const {
    const std::int32_t wanted[] = {1, 1};
    std::vector<double> r(2 * sites.size());
    done(arko_df_kernel_dDFInterpolate1D(task_, 0, 0, static_cast<std::int64_t>(sites.size()), sites.data(),
                                         FIT_SITE_SORTED, 2, wanted, nullptr, r.data(), FIT_R_NOHINT, nullptr,
                                         nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                         nullptr, thread_services::get()),
         "DFInterpolate1D");
    return r;
  }
  double integral(double from, double to) const {
    double r;
    done(arko_df_kernel_dDFIntegrate1D(task_, 0, 1, &from, FIT_SITE_NOHINT, &to, FIT_SITE_NOHINT, nullptr,
                                       nullptr, &r, FIT_R_NOHINT, nullptr, nullptr, nullptr, nullptr, nullptr,
                                       nullptr, nullptr, nullptr, thread_services::get()),
         "DFIntegrate1D");
    return r;
  }

 private:
  void* task_ = nullptr;
  std::vector<double> coefficients_;
};

constexpr struct {
  const char* name;
  std::int64_t type;
} types[] = {{"natural", FIT_TYPE_NATURAL}, {"Akima", FIT_TYPE_AKIMA}, {"Hyman", FIT_TYPE_HYMAN}};

void fit(const std::string& data, const std::string& pictures, const char* file, const frame& around,
         const std::vector<double>& sites) {
  const std::vector<column> table = read_table(data + "/" + file + ".csv");
  const std::vector<double>&x = table[0].values, &y = table[1].values;
  std::printf("  %s by %s, %zu points; at", table[1].name.c_str(), table[0].name.c_str(), x.size());
  for (const double s : sites) std::printf(" %g", s);
  std::printf(" value (slope), and the integral over all\n");

  std::vector<double> grid(2001), curve(grid.size());
  for (std::size_t i = 0; i < grid.size(); i++)
    grid[i] =
        x.front() + (x.back() - x.front()) * static_cast<double>(i) / static_cast<double>(grid.size() - 1);
  std::vector<series> all = {{"", "points pt 7 ps 0.5 lc rgb 'black'", x, y}};
  for (const auto& t : types) {
    const spline s(x, y, t.type);
    const std::vector<double> r = s.at(sites);
    std::printf("    %-8s", t.name);
    for (std::size_t i = 0; i < sites.size(); i++) std::printf(" %10.6g (%8.4g)", r[2 * i], r[2 * i + 1]);
    std::printf("  %.8g\n", s.integral(x.front(), x.back()));
    const std::vector<double> values = s.at(grid);
    for (std::size_t i = 0; i < grid.size(); i++) curve[i] = values[2 * i];
    all.push_back({t.name, "lines", grid, curve});
  }
  draw(pictures, file, around, all);
}

}  // namespace

void splines(const std::string& data, const std::string& pictures) {
  std::printf("Splines\n");
  fit(data, pictures, "mercury_pressure",
      {"Vapour pressure of mercury", "temperature, degrees C", "pressure, mm of mercury",
       "set logscale y\nset key left"},
      {50, 190, 350});
  fit(data, pictures, "nile", {"The Nile at Aswan", "year", "flow, 10^8 cubic metres a year", ""},
      {1898.5, 1913.5, 1964.5});
}

}  // namespace tour
