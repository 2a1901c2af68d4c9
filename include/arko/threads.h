/*
 * arko/threads.h - the parallelism that a caller lends to statistics and data fitting. The library starts no
 * threads of its own: what can be done in parallel goes through the caller's record of five functions.
 */
#ifndef ARKO_THREADS_H
#define ARKO_THREADS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A task: its number, the number of the thread it runs on, the count of threads, the context. */
typedef void (*TaskBody)(int32_t task, int32_t thread, int32_t thread_count, void* context);
/* What each thread of a region runs: its number, a spare word, the count of threads, the context. */
typedef void (*RegionBody)(int32_t thread, int32_t spare, int32_t thread_count, void* context);

/*
 * Threads are numbered from 0 to thread_count - 1, and no two calls that run at the same time have the same
 * number. All functions return when everything they were asked to run has returned. Results do not depend on
 * which thread runs a task, nor on the order.
 */
struct DFThreadServices {
  /*
   * Calls body once for each task from 0 to task_count - 1, on up to thread_count threads; with a thread_count of 0,
   * on up to as many as the function thread_count tells.
   */
  void (*parallel_for)(int32_t task_count, int32_t thread_count, void* context, TaskBody body);
  void (*parallel_groups)(int32_t task_count, int32_t thread_count, void* context, TaskBody body);
  /* Calls body once on each of thread_count threads. */
  void (*parallel_region)(int32_t thread_count, void* context, RegionBody body);
  /* Called within a body: calls function with the same arguments while no other thread is in one. */
  void (*critical)(int32_t task, int32_t thread, int32_t thread_count, void* context, TaskBody function);
  /* How many threads may be used, at least 1. */
  int32_t (*thread_count)(void);
};

/* A record for callers without threads: everything runs on the calling thread, one task after the other. */
static inline void arko_serial_for(int32_t task_count, int32_t thread_count, void* context, TaskBody body) {
  int32_t task;
  (void)thread_count;
  for (task = 0; task < task_count; task++) body(task, 0, 1, context);
}
static inline void arko_serial_region(int32_t thread_count, void* context, RegionBody body) {
  int32_t thread;
  for (thread = 0; thread < thread_count; thread++) body(thread, 0, thread_count, context);
}
static inline void arko_serial_critical(int32_t task, int32_t thread, int32_t thread_count, void* context,
                                        TaskBody function) {
  function(task, thread, thread_count, context);
}
static inline int32_t arko_serial_count(void) { return 1; }
static inline const struct DFThreadServices* arko_serial_services(void) {
  static const struct DFThreadServices serial = {arko_serial_for, arko_serial_for, arko_serial_region,
                                                 arko_serial_critical, arko_serial_count};
  return &serial;
}

#ifdef __cplusplus
}
#endif
#endif
