/*
 * The least that starts a worker for each device: receive, fork, exec. It trusts the event, and does not look after its
 * workers. Usage: usb_rx_bench_bare WORKER [PREFIX COUNT]
 *
 * With PREFIX and COUNT the devices PREFIX1 to PREFIXCOUNT are there at its start.
 */

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <unistd.h>

#include "bench/contenders/uevents.h"

static void start_worker(const char* worker, const char* path) {
  if (fork() == 0) {
    execl(worker, worker, "eth1", "transmitter", "5000", path, (char*)NULL);
    _exit(EXIT_FAILURE);
  }
}

static void start_known(const char* worker, const char* prefix, int count) {
  char path[path_limit];
  for (int number = 1; number <= count; ++number) {
    snprintf(path, sizeof path, "%s%d", prefix, number);
    start_worker(worker, path);
  }
}

static void handle(const struct uevent* event, const char* worker) {
  const char* devpath = added_device(event);
  if (devpath != NULL && has_item(event, "DEVTYPE=usb_device")) {
    char path[path_limit];
    snprintf(path, sizeof path, "/sys%s", devpath);
    start_worker(worker, path);
  }
}

static void serve(int source, const char* worker) {
  static struct uevent event;
  while (1) {
    const ssize_t length = recv(source, event.text, sizeof event.text - 1, 0);
    if (length > 0) {
      event.length = (size_t)length;
      event.text[length] = '\0';
      handle(&event, worker);
    }
  }
}

int main(int argc, char** argv) {
  if (argc != 2 && argc != 4) {
    fputs("Usage: usb_rx_bench_bare WORKER [PREFIX COUNT]\n", stderr);
    return EXIT_FAILURE;
  }
  const char* worker = argv[1];
  const int source = open_uevent_socket();
  signal(SIGCHLD, SIG_IGN);
  if (argc == 4) {
    start_known(worker, argv[2], atoi(argv[3]));
  }
  serve(source, worker);
}
