// A generic worker that ends at once: of a device named "failing" as failed (it will be started anew), of any
// other as one that cannot configure its device (it will not).

#include <string_view>

int main(int argc, char** argv) {
  constexpr int failed = 1;
  constexpr int cannotConfigure = 5;
  const std::string_view device = argc > 0 ? argv[argc - 1] : "";
  return device.ends_with("/failing") ? failed : cannotConfigure;
}
