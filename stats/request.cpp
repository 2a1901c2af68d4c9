#include "stats/request.h"

#include <iterator>

namespace kov {
namespace {

struct row {
  std::uint64_t estimate;
  void* SSTask::*field;
  status missing;
  slots blocks, pass,
      sums;  // needed by fast; by one pass and given mean; from sums, where none means impossible
};

constexpr row rows[] = {
    {KOV_SS_EST_MEAN, &SSTask::mean, KOV_SS_ERR_MEAN, {mean}, {mean}, {mean, sum1}},
    {KOV_SS_EST_RAW2, &SSTask::raw2, KOV_SS_ERR_RAW2, {raw2}, {raw2}, {raw2, sum2}},
    {KOV_SS_EST_RAW3, &SSTask::raw3, KOV_SS_ERR_RAW3, {raw3}, {raw3}, {raw3, sum3}},
    {KOV_SS_EST_RAW4, &SSTask::raw4, KOV_SS_ERR_RAW4, {raw4}, {raw4}, {raw4, sum4}},
    {KOV_SS_EST_CENTRAL2,
     &SSTask::central2,
     KOV_SS_ERR_CENTRAL2,
     {mean, raw2, central2},
     {mean, raw2, central2},
     {central2, csum2}},
    {KOV_SS_EST_CENTRAL3,
     &SSTask::central3,
     KOV_SS_ERR_CENTRAL3,
     {mean, raw2, raw3, central3},
     {mean, raw2, raw3, central3},
     {central3, csum3}},
    {KOV_SS_EST_CENTRAL4,
     &SSTask::central4,
     KOV_SS_ERR_CENTRAL4,
     {mean, raw2, raw3, raw4, central4},
     {mean, raw2, raw3, raw4, central4},
     {central4, csum4}},
    {KOV_SS_EST_COV, &SSTask::cov, KOV_SS_ERR_COV, {mean, cov}, {mean, cov}, {cov, cp}},
    {KOV_SS_EST_COR, &SSTask::cor, KOV_SS_ERR_COR, {mean, cor}, {mean, cor}, {cor, cp}},
    {KOV_SS_EST_KURTOSIS,
     &SSTask::kurtosis,
     KOV_SS_ERR_KURTOSIS,
     {mean, raw2, raw3, raw4, central2, central4, kurtosis},
     {mean, raw2, raw3, raw4, central2, central4, kurtosis},
     {mean, central2, central4, kurtosis}},
    {KOV_SS_EST_SKEWNESS,
     &SSTask::skewness,
     KOV_SS_ERR_SKEWNESS,
     {mean, raw2, raw3, central2, central3, skewness},
     {mean, raw2, raw3, central2, central3, skewness},
     {mean, central2, central3, skewness}},
    {KOV_SS_EST_VARIATION,
     &SSTask::variation,
     KOV_SS_ERR_VARIATION,
     {mean, raw2, central2, variation},
     {mean, raw2, central2, variation},
     {mean, central2, variation}},
    {KOV_SS_EST_SUM1, &SSTask::sum1, KOV_SS_ERR_SUM1, {sum1}, {sum1}, {}},
    {KOV_SS_EST_SUM2, &SSTask::sum2, KOV_SS_ERR_SUM2, {sum2}, {sum2}, {}},
    {KOV_SS_EST_SUM3, &SSTask::sum3, KOV_SS_ERR_SUM3, {sum3}, {sum3}, {}},
    {KOV_SS_EST_SUM4, &SSTask::sum4, KOV_SS_ERR_SUM4, {sum4}, {sum4}, {}},
    {KOV_SS_EST_CSUM2, &SSTask::csum2, KOV_SS_ERR_CSUM2, {mean, raw2, csum2}, {mean, csum2}, {}},
    {KOV_SS_EST_CSUM3, &SSTask::csum3, KOV_SS_ERR_CSUM3, {mean, raw2, raw3, csum3}, {mean, csum3}, {}},
    {KOV_SS_EST_CSUM4, &SSTask::csum4, KOV_SS_ERR_CSUM4, {mean, raw2, raw3, raw4, csum4}, {mean, csum4}, {}},
    {KOV_SS_EST_CP, &SSTask::cp, KOV_SS_ERR_CP, {mean, cp}, {mean, cp}, {}},
};
static_assert(std::size(rows) == slot_count);

bool read_method(std::uint64_t flags, method& m) {
  switch (flags & (KOV_SS_FAST | KOV_SS_ONE_PASS | KOV_SS_GIVEN_MEAN)) {
    case 0:
      m = method::from_sums;
      return (flags & (KOV_SS_FROM_SUMS | KOV_SS_FROM_SUMS_2)) != 0;
    case KOV_SS_FAST:
      m = method::fast;
      return true;
    case KOV_SS_ONE_PASS:
      m = method::one_pass;
      return true;
    case KOV_SS_GIVEN_MEAN:
      m = method::given_mean;
      return true;
    default:
      return false;
  }
}

}  // namespace

status make_request(const SSTask& task, std::uint64_t estimates, std::uint64_t flags, request& r) {
  r = {};
  if (!read_method(flags, r.method)) return KOV_SS_ERR_METHOD;
  for (std::uint32_t s = 0; s < slot_count; s++) {
    if (!(estimates & rows[s].estimate)) continue;
    const slots needed = r.method == method::fast        ? rows[s].blocks
                         : r.method == method::from_sums ? rows[s].sums
                                                         : rows[s].pass;
    if (!needed.has(static_cast<slot>(s))) return KOV_SS_ERR_METHOD;
    r.asked |= {static_cast<slot>(s)};
    r.needed |= needed;
  }
  for (std::uint32_t s = 0; s < slot_count; s++)
    if (r.needed.has(static_cast<slot>(s)) && !(task.*rows[s].field)) return rows[s].missing;
  return KOV_SS_OK;
}

}  // namespace kov
