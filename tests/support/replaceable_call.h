#pragma once

#include <functional>
#include <type_traits>
#include <utility>

namespace support {

template <class Signature>
class ReplaceableCall;

/**
 * A library call of the code under test that a test may replace: the linker's --wrap leads the call here.
 * Constant-initialised, since calls are made before and after main too.
 */
template <class Result, class... Arguments>
class ReplaceableCall<Result(Arguments...)> {
 public:
  using Function = std::function<Result(Arguments...)>;

  explicit constexpr ReplaceableCall(Result (*realCall)(Arguments...)) : real(realCall) {}

  /** The call as the code under test makes it. */
  Result operator()(Arguments... arguments) const {
    return replacement_ == nullptr ? real(arguments...) : (*replacement_)(arguments...);
  }

  /** The call as the library makes it. */
  Result (*const real)(Arguments...);

  /** Null takes the library's call again. `replacement` must live until then. */
  void replaceBy(const Function* replacement) { replacement_ = replacement; }

 private:
  const Function* replacement_ = nullptr;
};

/** Replaces a call during a scope. */
template <class Signature>
class Replaced {
 public:
  Replaced(ReplaceableCall<Signature>& call, std::type_identity_t<std::function<Signature>> replacement)
      : call_(call), replacement_(std::move(replacement)) {
    call_.replaceBy(&replacement_);
  }
  Replaced(const Replaced&) = delete;
  Replaced& operator=(const Replaced&) = delete;
  ~Replaced() { call_.replaceBy(nullptr); }

 private:
  ReplaceableCall<Signature>& call_;
  std::function<Signature> replacement_;
};

}  // namespace support
