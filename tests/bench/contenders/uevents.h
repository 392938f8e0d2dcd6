/* What the programs that are compared with the daemon know of uevents. */
#ifndef BENCH_CONTENDERS_UEVENTS_H
#define BENCH_CONTENDERS_UEVENTS_H

#include <stddef.h>

enum { uevent_limit = 8192, path_limit = 512 };

struct uevent {
  size_t length;
  char text[uevent_limit]; /* ACTION@DEVPATH and items, each ended by a null byte */
};

/* A socket that receives the kernel's uevents; ends the program where there is none. */
int open_uevent_socket(void);

/* The device's path below /sys where a device was added; null for any other event. */
const char* added_device(const struct uevent* event);

/* Whether the event has the item, "NAME=value". */
int has_item(const struct uevent* event, const char* item);

#endif
