#include "distributions/guard.h"

namespace kov {
namespace {

template <class T> struct floors_of;
template <> struct floors_of<double> {
  static constexpr double log = -744.4400719213812;  // of 2^-1074
  static constexpr double erf_inv = 5.8635847487551676;
};
template <> struct floors_of<float> {
  static constexpr double log = -103.2789306640625;  // of 2^-149
  static constexpr double erf_inv = 3.832507f;
};

std::int32_t replace(ZurErrorContext* report, double result) {
  report->Res1 = report->Res2 = result;
  return 0;
}

template <class T> std::int32_t log_floor(ZurErrorContext* report) {
  return replace(report, floors_of<T>::log);
}
template <class T> std::int32_t pole_floor(ZurErrorContext* report) {
  return report->Code == ZUR_STATUS_SINGULARITY ? replace(report, floors_of<T>::log) : 0;
}
template <class T> std::int32_t gauss_floor(ZurErrorContext* report) {
  if (report->Code != ZUR_STATUS_DOMAIN && report->Code != ZUR_STATUS_SINGULARITY) return 0;
  if (report->Code == ZUR_STATUS_SINGULARITY && report->Arg1 == 0) return replace(report, floors_of<T>::log);
  return replace(report, report->Arg1 < 0 ? -floors_of<T>::erf_inv : floors_of<T>::erf_inv);
}

}  // namespace

std::int32_t LogFloorD(ZurErrorContext* report) { return log_floor<double>(report); }
std::int32_t LogFloorS(ZurErrorContext* report) { return log_floor<float>(report); }
std::int32_t PoleFloorD(ZurErrorContext* report) { return pole_floor<double>(report); }
std::int32_t PoleFloorS(ZurErrorContext* report) { return pole_floor<float>(report); }
std::int32_t GaussFloorD(ZurErrorContext* report) { return gauss_floor<double>(report); }
std::int32_t GaussFloorS(ZurErrorContext* report) { return gauss_floor<float>(report); }

}  // namespace kov
