/*
 * The worker of all contenders. Its first system call reads the clock: that is when the worker has started. It reports
 * that moment and its device, and rests until it is let through the gate, where there is one.
 *
 * On x86-64 it does without a C library, whose start would be measured, too.
 */

#include <fcntl.h>
#include <sys/syscall.h>
#include <time.h>

#include "bench/contenders/worker_report.h"

#ifdef __x86_64__

static long call(long number, long first, long second, long third) {
  long result = number;
  register long fourth __asm__("r10") = 0;
  __asm__ volatile("syscall"
                   : "+a"(result)
                   : "D"(first), "S"(second), "d"(third), "r"(fourth)
                   : "rcx", "r11", "memory");
  return result;
}

#else

#include <unistd.h>

static long call(long number, long first, long second, long third) {
  return syscall(number, first, second, third, 0L);
}

#endif

static void copy_device(char* to, const char* from) {
  for (int i = 0; i < worker_report_path - 1 && from[i] != '\0'; ++i) {
    to[i] = from[i];
  }
}

static int begins_with(const char* text, const char* beginning) {
  while (*beginning != '\0' && *text == *beginning) {
    ++text;
    ++beginning;
  }
  return *beginning == '\0';
}

/* The last argument, or DEVPATH in the environment where there is none. */
static const char* device_of(int argc, char** argv, char** environment) {
  static const char devpath[] = "DEVPATH=";
  if (argc > 1) {
    return argv[argc - 1];
  }
  for (char** variable = environment; *variable != 0; ++variable) {
    if (begins_with(*variable, devpath)) {
      return *variable + sizeof devpath - 1;
    }
  }
  return "";
}

static void rest_at_gate(void) {
  const long gate = call(SYS_openat, AT_FDCWD, (long)BENCH_GATE, O_RDONLY);
  char passage;
  if (gate >= 0) {
    call(SYS_read, gate, (long)&passage, 1);
  }
}

/* Returns the status of a worker that is not started anew. */
static int work(int argc, char** argv, char** environment) {
  const int cannot_configure = 5;
  struct {
    long seconds;
    long nanoseconds;
  } now;
  call(SYS_clock_gettime, CLOCK_MONOTONIC, (long)&now, 0);

  static struct worker_report report;
  report.nanoseconds = now.seconds * 1000000000LL + now.nanoseconds;
  copy_device(report.device, device_of(argc, argv, environment));
  const long reports = call(SYS_openat, AT_FDCWD, (long)BENCH_REPORTS, O_WRONLY);
  call(SYS_write, reports, (long)&report, sizeof report);
  rest_at_gate();
  return cannot_configure;
}

#ifdef __x86_64__

void begin(long* stack) __attribute__((noreturn, used));

void begin(long* stack) {
  const int argc = (int)stack[0];
  char** argv = (char**)(stack + 1);
  const int status = work(argc, argv, argv + argc + 1);
  while (1) {
    call(SYS_exit_group, status, 0, 0);
  }
}

__asm__(".globl _start\n_start:\n  mov %rsp, %rdi\n  and $-16, %rsp\n  call begin\n");

#else

int main(int argc, char** argv, char** environment) {
  return work(argc, argv, environment);
}

#endif
