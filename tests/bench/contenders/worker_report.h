/* What a worker of the measurements writes into the pipe of reports, in one piece. For C and C++. */
#ifndef BENCH_CONTENDERS_WORKER_REPORT_H
#define BENCH_CONTENDERS_WORKER_REPORT_H

// NOLINTBEGIN: plain C
enum { worker_report_path = 120 };

struct worker_report {
  long long nanoseconds; /* on the monotonic clock */
  char device[worker_report_path];
};
// NOLINTEND

#endif
