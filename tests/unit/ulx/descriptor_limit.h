#pragma once

#include <sys/resource.h>

#include "support/descriptors.h"

/** Lets `count` more descriptors be opened, during a scope. */
class DescriptorLimit {
 public:
  explicit DescriptorLimit(int count) {
    getrlimit(RLIMIT_NOFILE, &old_);
    support::limitFurtherDescriptors(count);
  }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;
  ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &old_); }

 private:
  rlimit old_{};
};
