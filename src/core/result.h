#pragma once

#include <cassert>
#include <string>
#include <utility>
#include <variant>

namespace kvx {

enum class ErrorCode { kNotFound, kDamaged, kBusy, kDenied, kInvalid, kClosed, kIo };

/// What went wrong: a code to branch on and one sentence that can be shown to the operator as it stands.
struct Error {
  ErrorCode code = ErrorCode::kIo;
  std::string message;
};

/// A value, or the error that kept it from being there.
template <class T>
class [[nodiscard]] Result {
 public:
  Result(T value) : state_(std::move(value)) {}      // NOLINT: implicit, so that `return value;` reads naturally
  Result(Error error) : state_(std::move(error)) {}  // NOLINT
  bool ok() const { return state_.index() == 0; }
  explicit operator bool() const { return ok(); }
  T& value() { return assert(ok()), std::get<0>(state_); }
  const T& value() const { return assert(ok()), std::get<0>(state_); }
  T& operator*() { return value(); }
  const T& operator*() const { return value(); }
  T* operator->() { return &value(); }
  const T* operator->() const { return &value(); }
  const Error& error() const { return assert(!ok()), std::get<1>(state_); }

 private:
  std::variant<T, Error> state_;
};

/// Success, or an error.
using Status = Result<std::monostate>;
inline Status Ok() {
  return std::monostate{};
}

}  // namespace kvx
