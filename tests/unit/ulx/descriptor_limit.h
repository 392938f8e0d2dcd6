#pragma once

#include <sys/resource.h>

#include <cerrno>

#include "unit/ulx/caught.h"

/** Lets no descriptor with the number `limit` or a higher one be opened, during a scope. */
class DescriptorLimit {
 public:
  explicit DescriptorLimit(int limit) {
    // The sanitizer needs descriptors when it meets a class for the first time; it meets this one here.
    textCaught([] { ulx::throwErrno("", EMFILE); });
    getrlimit(RLIMIT_NOFILE, &old_);
    const rlimit lower{.rlim_cur = static_cast<rlim_t>(limit), .rlim_max = old_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &lower);
  }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;
  ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &old_); }

 private:
  rlimit old_{};
};
