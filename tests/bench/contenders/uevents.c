#include "bench/contenders/uevents.h"

#include <linux/netlink.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>

/* As many as wait for the daemon may wait here: what a contender loses cannot be compared. */
static void enlarge_receive_buffer(int source) {
  const int bytes = 16 * 1024 * 1024;
  if (setsockopt(source, SOL_SOCKET, SO_RCVBUFFORCE, &bytes, sizeof bytes) == -1) {
    setsockopt(source, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes);
  }
}

int open_uevent_socket(void) {
  const int source = socket(PF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT);
  const struct sockaddr_nl kernel = {.nl_family = AF_NETLINK, .nl_groups = 1};
  if (source == -1 || bind(source, (const struct sockaddr*)&kernel, sizeof kernel) == -1) {
    perror("the uevent socket");
    exit(EXIT_FAILURE);
  }
  enlarge_receive_buffer(source);
  return source;
}

const char* added_device(const struct uevent* event) {
  static const char add[] = "add@";
  const size_t length = sizeof add - 1;
  return strncmp(event->text, add, length) == 0 ? event->text + length : NULL;
}

int has_item(const struct uevent* event, const char* item) {
  const char* end = event->text + event->length;
  for (const char* each = event->text; each < end; each += strlen(each) + 1) {
    if (strcmp(each, item) == 0) {
      return 1;
    }
  }
  return 0;
}
