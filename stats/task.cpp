// Tasks: created, edited, deleted. Only addresses are stored, so one set of entries serves both precisions.
#include "stats/task.h"

#include <array>
#include <cstring>
#include <initializer_list>

#include "core/block.h"
#include "stats/open.h"

using std::int32_t;

namespace kov { namespace {

// ---- Creation

status create(void** task, const SSTask& fields) {
  if (!task) return KOV_SS_ERR_NULL_TASK;
  *task = nullptr;
  if (const status s = open(fields, {checks::dimension}); s != KOV_SS_OK) return s;
  if (fields.obs)
    if (const status s = open(fields, {checks::storage, checks::one_layout, checks::count}); s != KOV_SS_OK)
      return s;
  arko::block<SSTask> record;
  if (!record) return KOV_SS_ERR_NO_MEMORY;
  *record.get() = fields;
  *task = record.release();
  return KOV_SS_OK;
}

// ---- Edits

enum kind : std::uint8_t { none, real, integer };

struct attribute {
  kind is;
  std::uint16_t offset;
  status missing;
};

constexpr int attribute_count = 80;  // by code; 0 is none

constexpr auto attributes = [] {
  std::array<attribute, attribute_count> table{};
#define INTEGER(field, code, missing) table[code] = {integer, offsetof(SSTask, field), missing};
#define REAL(field, code, missing) table[code] = {real, offsetof(SSTask, field), missing};
#define INTERNAL(type, field)
#include "stats/fields.def"
  return table;
}();

void store(void* task, const attribute& a, const void* value) {
  std::memcpy(static_cast<char*>(task) + a.offset, &value, sizeof value);
}

status edit(void* task, kind is, std::int64_t code, const void* value) {
  if (!task) return KOV_SS_ERR_NULL_TASK;
  if (code < 0 || code >= attribute_count) return KOV_SS_ERR_ATTRIBUTE;
  const attribute& a = attributes[static_cast<std::size_t>(code)];
  if (a.is != is) return KOV_SS_ERR_ATTRIBUTE;
  if (!value) return a.missing;
  store(task, a, value);
  return KOV_SS_OK;
}

struct setting {
  std::size_t code;
  const void* value;
};

// The values that are not null.
status edit(void* task, std::initializer_list<setting> settings) {
  if (!task) return KOV_SS_ERR_NULL_TASK;
  for (const setting& s : settings)
    if (s.value) store(task, attributes[s.code], s.value);
  return KOV_SS_OK;
}

}  // namespace
}  // namespace kov

using namespace kov;

#define NEW_TASK(p, T)                                                                                    \
  KOV_EXPORT int32_t __kov##p##SSNewTask(void** task, const int32_t* obs_dim, const int32_t* obs_count,   \
                                         const int32_t* obs_storage, const T* obs, const T* weights,      \
                                         const int32_t* indices, int32_t wide) {                          \
    SSTask fields{};                                                                                      \
    fields.wide_ints = wide, fields.tag = task_tag, fields.is_double = sizeof(T) == sizeof(double);       \
    fields.obs_dim = obs_dim, fields.obs_count = obs_count, fields.obs_storage = obs_storage;             \
    fields.obs = const_cast<T*>(obs), fields.weights = const_cast<T*>(weights), fields.indices = indices; \
    return create(task, fields);                                                                          \
  }
NEW_TASK(d, double)
NEW_TASK(s, float)

KOV_EXPORT int32_t __kovdSSEditTask(void* task, std::int64_t attribute, const double* value) {
  return edit(task, real, attribute, value);
}

KOV_EXPORT int32_t __koviSSEditTask(void* task, std::int64_t attribute, const void* value) {
  return edit(task, integer, attribute, value);
}

KOV_EXPORT int32_t __kovdSSEditMoments(void* task, double* mean, double* raw2, double* raw3, double* raw4,
                                       double* central2, double* central3, double* central4) {
  return edit(task, {{KOV_SS_MEAN, mean},
                     {KOV_SS_RAW2, raw2},
                     {KOV_SS_RAW3, raw3},
                     {KOV_SS_RAW4, raw4},
                     {KOV_SS_CENTRAL2, central2},
                     {KOV_SS_CENTRAL3, central3},
                     {KOV_SS_CENTRAL4, central4}});
}

KOV_EXPORT int32_t __kovdSSEditSums(void* task, double* sum1, double* sum2, double* sum3, double* sum4,
                                    double* csum2, double* csum3, double* csum4) {
  return edit(task, {{KOV_SS_SUM1, sum1},
                     {KOV_SS_SUM2, sum2},
                     {KOV_SS_SUM3, sum3},
                     {KOV_SS_SUM4, sum4},
                     {KOV_SS_CSUM2, csum2},
                     {KOV_SS_CSUM3, csum3},
                     {KOV_SS_CSUM4, csum4}});
}

KOV_EXPORT int32_t __kovdSSEditCovCor(void* task, double* mean, double* cov, const int32_t* cov_storage,
                                      double* cor, const int32_t* cor_storage) {
  return edit(task, {{KOV_SS_MEAN, mean},
                     {KOV_SS_COV, cov},
                     {KOV_SS_COV_STORAGE, cov_storage},
                     {KOV_SS_COR, cor},
                     {KOV_SS_COR_STORAGE, cor_storage}});
}

KOV_EXPORT int32_t __kovdSSEditCP(void* task, double* mean, double* sum1, double* cp,
                                  const int32_t* cp_storage) {
  return edit(task,
              {{KOV_SS_MEAN, mean}, {KOV_SS_SUM1, sum1}, {KOV_SS_CP, cp}, {KOV_SS_CP_STORAGE, cp_storage}});
}

KOV_EXPORT int32_t __kovdSSEditPartialCovCor(void* task, const int32_t* partial_indices, const double* cov,
                                             const int32_t* cov_storage, const double* cor,
                                             const int32_t* cor_storage, double* partial_cov,
                                             const int32_t* partial_cov_storage, double* partial_cor,
                                             const int32_t* partial_cor_storage) {
  return edit(task, {{KOV_SS_PARTIAL_INDICES, partial_indices},
                     {KOV_SS_COV, cov},
                     {KOV_SS_COV_STORAGE, cov_storage},
                     {KOV_SS_COR, cor},
                     {KOV_SS_COR_STORAGE, cor_storage},
                     {KOV_SS_PARTIAL_COV, partial_cov},
                     {KOV_SS_PARTIAL_COV_STORAGE, partial_cov_storage},
                     {KOV_SS_PARTIAL_COR, partial_cor},
                     {KOV_SS_PARTIAL_COR_STORAGE, partial_cor_storage}});
}

KOV_EXPORT int32_t __kovdSSEditQuantiles(void* task, const int32_t* quant_count, const double* quant_orders,
                                         double* quants, double* order_stats,
                                         const int32_t* order_stats_storage) {
  return edit(task, {{KOV_SS_QUANT_COUNT, quant_count},
                     {KOV_SS_QUANT_ORDERS, quant_orders},
                     {KOV_SS_QUANTS, quants},
                     {KOV_SS_ORDER_STATS, order_stats},
                     {KOV_SS_ORDER_STATS_STORAGE, order_stats_storage}});
}

KOV_EXPORT int32_t __kovdSSEditStreamQuantiles(void* task, const int32_t* sq_count, const double* sq_orders,
                                               double* sq_quants, const int32_t* sq_param_count,
                                               const double* sq_params) {
  return edit(task, {{KOV_SS_SQ_COUNT, sq_count},
                     {KOV_SS_SQ_ORDERS, sq_orders},
                     {KOV_SS_SQ_QUANTS, sq_quants},
                     {KOV_SS_SQ_PARAM_COUNT, sq_param_count},
                     {KOV_SS_SQ_PARAMS, sq_params}});
}

KOV_EXPORT int32_t __kovdSSEditPooledCovariance(void* task, const int32_t* group_indices, double* pooled_mean,
                                                double* pooled_cov, const int32_t* group_cov_indices,
                                                double* group_means, double* group_cov) {
  return edit(task, {{KOV_SS_GROUP_INDICES, group_indices},
                     {KOV_SS_POOLED_MEAN, pooled_mean},
                     {KOV_SS_POOLED_COV, pooled_cov},
                     {KOV_SS_GROUP_COV_INDICES, group_cov_indices},
                     {KOV_SS_GROUP_MEANS, group_means},
                     {KOV_SS_GROUP_COV, group_cov}});
}

KOV_EXPORT int32_t __kovdSSEditMissingVals(void* task, const int32_t* mv_param_count, const double* mv_params,
                                           const int32_t* mv_init_count, const double* mv_init,
                                           const int32_t* mv_prior_count, const double* mv_prior,
                                           const int32_t* mv_sim_count, double* mv_sim,
                                           const int32_t* mv_est_count, double* mv_est) {
  return edit(task, {{KOV_SS_MV_PARAM_COUNT, mv_param_count},
                     {KOV_SS_MV_PARAMS, mv_params},
                     {KOV_SS_MV_INIT_COUNT, mv_init_count},
                     {KOV_SS_MV_INIT, mv_init},
                     {KOV_SS_MV_PRIOR_COUNT, mv_prior_count},
                     {KOV_SS_MV_PRIOR, mv_prior},
                     {KOV_SS_MV_SIM_COUNT, mv_sim_count},
                     {KOV_SS_MV_SIM, mv_sim},
                     {KOV_SS_MV_EST_COUNT, mv_est_count},
                     {KOV_SS_MV_EST, mv_est}});
}

KOV_EXPORT int32_t __kovdSSEditRCov(void* task, const int32_t* robust_cov_storage,
                                    const int32_t* robust_param_count, const double* robust_params,
                                    double* robust_mean, double* robust_cov) {
  return edit(task, {{KOV_SS_ROBUST_COV_STORAGE, robust_cov_storage},
                     {KOV_SS_ROBUST_PARAM_COUNT, robust_param_count},
                     {KOV_SS_ROBUST_PARAMS, robust_params},
                     {KOV_SS_ROBUST_MEAN, robust_mean},
                     {KOV_SS_ROBUST_COV, robust_cov}});
}

KOV_EXPORT int32_t __kovdSSEditOutDetect(void* task, const int32_t* outlier_param_count,
                                         const double* outlier_params, double* outlier_weights) {
  return edit(task, {{KOV_SS_OUTLIER_PARAM_COUNT, outlier_param_count},
                     {KOV_SS_OUTLIER_PARAMS, outlier_params},
                     {KOV_SS_OUTLIER_WEIGHTS, outlier_weights}});
}

KOV_EXPORT int32_t __kovdSSEditMtxParametrz(void* task, const double* cor, const int32_t* cor_storage,
                                            double* param_matrix, const int32_t* param_storage) {
  return edit(task, {{KOV_SS_COR, cor},
                     {KOV_SS_COR_STORAGE, cor_storage},
                     {KOV_SS_PARAM_MATRIX, param_matrix},
                     {KOV_SS_PARAM_STORAGE, param_storage}});
}

// The single entries are the double ones: an address is an address.
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wattribute-alias"
#endif
#define SINGLE(name) KOV_EXPORT decltype(__kovs##name) __kovs##name [[gnu::alias("__kovd" #name)]]
SINGLE(SSEditTask);
SINGLE(SSEditMoments);
SINGLE(SSEditSums);
SINGLE(SSEditCovCor);
SINGLE(SSEditCP);
SINGLE(SSEditPartialCovCor);
SINGLE(SSEditQuantiles);
SINGLE(SSEditStreamQuantiles);
SINGLE(SSEditPooledCovariance);
SINGLE(SSEditMissingVals);
SINGLE(SSEditRCov);
SINGLE(SSEditOutDetect);
SINGLE(SSEditMtxParametrz);

// ---- The end

KOV_EXPORT int32_t __kovSSDeleteTask(void** task) {
  if (!task || !*task) return KOV_SS_ERR_NULL_TASK;
  SSTask& record = task_of(*task);
  arko_serv_deallocate(record.saved_mean);
  if (record.cleanup_count) record.cleanup_fn(&record);
  arko_serv_deallocate(&record);
  *task = nullptr;
  return KOV_SS_OK;
}
