/*
 * Makes the system calls that handling a device needs, and does nothing else: what the daemon takes beyond this is its
 * own. Usage: usb_rx_bench_calls WORKER
 */

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "bench/contenders/uevents.h"

static const char* worker;
static int child_exits[2];

static void note_child_exit(int number) {
  (void)number;
  const int before = errno;
  while (write(child_exits[1], "", 1) == -1 && errno == EINTR) {
  }
  errno = before;
}

static int wait_for(const int* sources, int count, struct timeval* time_out) {
  fd_set readable;
  int highest = -1;
  FD_ZERO(&readable);
  for (int i = 0; i < count; ++i) {
    FD_SET(sources[i], &readable);
    highest = sources[i] > highest ? sources[i] : highest;
  }
  return select(highest + 1, &readable, NULL, NULL, time_out) > 0;
}

static int is_readable(int source) {
  struct timeval at_once = {0, 0};
  return wait_for(&source, 1, &at_once);
}

static void become_worker(const char* path, pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) {
    _exit(EXIT_SUCCESS);
  }
  signal(SIGPIPE, SIG_DFL);
  signal(SIGHUP, SIG_DFL);
  signal(SIGCHLD, SIG_DFL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, NULL);
  execl(worker, worker, "eth1", "transmitter", "5000", path, (char*)NULL);
  _exit(EXIT_FAILURE);
}

static void start_worker(const char* path) {
  const pid_t parent = getpid();
  if (fork() == 0) {
    become_worker(path, parent);
  }
}

static int read_attribute(const char* device, const char* name, char* content, size_t size) {
  char path[path_limit + 32];
  snprintf(path, sizeof path, "%s/%s", device, name);
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file == -1) {
    return 0;
  }
  size_t length = 0;
  ssize_t count = 0;
  while ((count = read(file, content + length, size - 1 - length)) > 0) {
    length += (size_t)count;
  }
  content[length] = '\0';
  close(file);
  return 1;
}

static int resolve(const char* link, char* path, size_t size) {
  char before[path_limit];
  return getcwd(before, sizeof before) != NULL && chdir(link) == 0 && getcwd(path, size) != NULL &&
         chdir(before) == 0;
}

static int is_of_usb(const char* device) {
  char link[path_limit + 32];
  char target[path_limit];
  snprintf(link, sizeof link, "%s/subsystem", device);
  const ssize_t length = readlink(link, target, sizeof target - 1);
  if (length <= 0) {
    return 0;
  }
  target[length] = '\0';
  const char* name = strrchr(target, '/');
  return name != NULL && strcmp(name, "/usb") == 0;
}

static int is_usb_device(const char* device) {
  char content[4096];
  return is_of_usb(device) && read_attribute(device, "uevent", content, sizeof content) &&
         strstr(content, "DEVTYPE=usb_device") != NULL &&
         read_attribute(device, "bDeviceClass", content, sizeof content) &&
         read_attribute(device, "descriptors", content, sizeof content);
}

static void handle_device(const char* link) {
  char device[path_limit];
  if (resolve(link, device, sizeof device) && is_usb_device(device)) {
    start_worker(device);
  }
}

static void handle_event(int source) {
  static struct uevent event;
  const ssize_t size = recv(source, NULL, 0, MSG_PEEK | MSG_TRUNC);
  const ssize_t length = recvfrom(source, event.text, sizeof event.text - 1, 0, NULL, NULL);
  if (size <= 0 || length <= 0) {
    return;
  }
  event.length = (size_t)length;
  event.text[length] = '\0';
  const char* devpath = added_device(&event);
  if (devpath != NULL) {
    char link[path_limit];
    snprintf(link, sizeof link, "/sys%s", devpath);
    handle_device(link);
  }
}

static void look_after_workers(void) {
  char meaningless;
  while (is_readable(child_exits[0]) && read(child_exits[0], &meaningless, 1) == 1) {
  }
  while (waitpid(-1, NULL, WNOHANG) > 0) {
  }
}

static void handle_present_devices(void) {
  static const char folder[] = "/sys/bus/usb/devices";
  DIR* devices = opendir(folder);
  if (devices == NULL) {
    return;
  }
  for (const struct dirent* entry = readdir(devices); entry != NULL; entry = readdir(devices)) {
    if (entry->d_name[0] != '.') {
      char link[path_limit];
      snprintf(link, sizeof link, "%s/%s", folder, entry->d_name);
      handle_device(link);
    }
  }
  closedir(devices);
}

static void serve(const int* sources, int count) {
  while (1) {
    struct timeval long_time = {1000000, 0};
    if (!wait_for(sources, count, &long_time)) {
      continue;
    }
    if (is_readable(sources[0])) {
      handle_event(sources[0]);
    }
    for (int i = 1; i < count; ++i) {
      if (is_readable(sources[i])) {
        look_after_workers();
      }
    }
  }
}

int main(int argc, char** argv) {
  /* Nobody connects: there are pipes in the place of the daemon's sockets for clients. */
  int clients[2];
  int link[2];
  if (argc != 2 || pipe2(child_exits, O_CLOEXEC) == -1 || pipe2(clients, O_CLOEXEC) == -1 ||
      pipe2(link, O_CLOEXEC) == -1) {
    fputs("Usage: usb_rx_bench_calls WORKER\n", stderr);
    return EXIT_FAILURE;
  }
  worker = argv[1];
  const int sources[] = {open_uevent_socket(), child_exits[0], clients[0], link[0]};
  signal(SIGPIPE, SIG_IGN);
  signal(SIGHUP, note_child_exit);
  signal(SIGCHLD, note_child_exit);
  handle_present_devices();
  serve(sources, sizeof sources / sizeof *sources);
}
