/* What an OSAL in a library of its own counted.
 *
 * Room: tests. Plain C99, also valid C++.
 */
#ifndef MESH_FIB6_TESTS_RUNTIME_LATE_OSAL_H
#define MESH_FIB6_TESTS_RUNTIME_LATE_OSAL_H

typedef struct late_osal_counts {
  unsigned allocations, cache_allocations, releases, flag_questions, log_lines;
} late_osal_counts;

#endif
