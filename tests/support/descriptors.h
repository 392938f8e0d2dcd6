#pragma once

#include <set>

namespace support {

/** The numbers of this process's open descriptors, as far as select can watch them. */
[[nodiscard]] std::set<int> openDescriptors();

/** The number that the next descriptor to be opened will have. */
[[nodiscard]] int nextDescriptor();

[[nodiscard]] bool isOpen(int fd);
/** Whether executed programs do not get it. */
[[nodiscard]] bool isCloseOnExec(int fd);

/** From now on this process, a child of the test, can open `count` more descriptors. */
void limitFurtherDescriptors(int count);

}  // namespace support
