// A generic worker that ends at once, as one that cannot configure its device: it is not started anew.

int main() {
  constexpr int cannotConfigure = 5;
  return cannotConfigure;
}
